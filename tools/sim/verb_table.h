#pragma once
// The verbs of the scenario language, one row each: its words, the section a
// reader meets it in, the summary, help paragraph and example the tool prints,
// how the simulator runs it, and which side of the records it writes. The
// parser, `--help`, `help VERB`, the reference of docs/scenarios.md
// (`hubstore-sim --reference`, checked by a test), the simulator's dispatch and
// the fuzzer's alphabet are all read from these rows, so a new verb is one row.
//
//   {.name = "groupClosed",
//    .words = fixed({G, BOOL}),
//    .summary = "close group G",
//    .details = "Calls the group's `closedIs(BOOL)`. ...",
//    .example = "groupClosed g1 true",
//    .run = [](Simulator& sim, const Command& c) { sim.group(c.args[0])->closedIs(c.args[1] == "true"); },
//    .hookMayRun = true},
//
// The rows live beside the code that runs them, one file per section
// (world_verbs.cpp, machinery_verbs.cpp, agent_verbs.cpp, tool_verbs.cpp), as
// static members of Simulator so that a row's `run` reaches the world.

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace hubstore::sim {

class Simulator;
struct Command;
struct Word;

// What a word must be; the parser checks it (word_forms.h).
enum class Arg {
  Word,
  Bool,
  State,
  EthernetAddress,
  U32,
  RecordType,
  Levels,
  LeaderGenId,
  GroupState,
  CommandName,
};

struct Param {
  std::string_view name;  // as the synopsis writes it: "G", "STATE", "leaderGenId=ID"
  Arg kind = Arg::Word;
};

// Parses the words after the verb of a verb whose words depend on one
// another (scenario_forms.h); returns the error if there is one.
using WordsParser = std::optional<std::string> (*)(std::span<const Word>, Command&);

// The words after the verb. params[required..] are optional; when variadic
// the last one repeats. A verb parsed by its own WordsParser has no params
// but a synopsis.
struct Words {
  std::vector<Param> params;
  std::size_t required = 0;
  bool variadic = false;
  WordsParser parser = nullptr;
  std::string_view synopsis = {};
};

// The words most verbs take, by the names the synopses give them.
namespace verb_params {
inline const Param G{"G"}, SYS{"SYS"}, REMOTE{"REMOTE"}, H{"HUBSTOREPATH"}, TYPE{"TYPE"}, L{"L"}, V{"V"};
inline const Param BOOL{"BOOL", Arg::Bool};
}  // namespace verb_params

inline Words fixed(std::vector<Param> params) {
  const std::size_t n = params.size();
  return {std::move(params), n};
}
inline Words lastOptional(std::vector<Param> params) {
  const std::size_t n = params.size();
  return {std::move(params), n - 1};
}
inline Words lastRepeated(std::vector<Param> params) {
  const std::size_t n = params.size();
  return {std::move(params), n - 1, true};
}
inline Words parsedBy(WordsParser parser, std::string_view synopsis) { return {{}, 0, false, parser, synopsis}; }

// The side of the records a verb writes: with --store, the process owns that
// side from the verb's first run (record_store.h).
enum class Writes { nothing, config, status };

using RunVerb = void (*)(Simulator&, const Command&);

struct Verb {
  std::string_view name;
  Words words;
  std::string_view summary;  // fits the list's line: lower case, no period
  std::string_view details;  // one paragraph; `code` is marked with backquotes
  std::string_view example;  // one scenario line
  // Null only for `repeat`, whose commands run one by one as it expands.
  RunVerb run = nullptr;
  Writes writes = Writes::nothing;
  // An agent or mount machinery command (or `explain`): a hook may run it.
  bool hookMayRun = false;
};

struct VerbSection {
  std::string_view title;
  std::span<const Verb> verbs;
};

// Every verb, grouped as a reader meets them.
std::span<const VerbSection> verbSections();

const Verb* findVerb(std::string_view name);

// The verb's words as its errors and its help name them, e.g.
// "mountState SYS G STATE", "records [leaderGenId=ID]".
std::string synopsis(const Verb& verb);

}  // namespace hubstore::sim
