// Parser of the scenario files that hubstore-sim runs.
//
// A scenario is a list of commands, one per line. parseScenario() reads a whole
// file before anything runs, so that every syntax error of the file is reported
// at once; the executor then walks ParseResult::commands in order. Everything
// whose form is fixed is checked here: the verb, the word count, BOOL, STATE,
// N, LEVELS, the record TYPE, the Ethernet address of an allow-list entry, the
// LHS / VALUE of set and unset, the HOOK and inner command of `when`, and the
// COMMAND of `help`; the braces of a `repeat` and its COMMAND at its first
// and last values. What is left to the executor is whether the named objects
// exist. A repeat's commands are made as it runs (forEachRepeated). The verbs
// and their words are the verb table's (verb_table.h), the LHS of set and
// unset the configuration schema's (config_schema.h).
//
//   ParseResult r = parseScenario("basic.scn", text);
//   for (const std::string& e : r.errors) std::cerr << e << '\n';
//   if (!r.errors.empty()) return 2;
//   for (const Command& c : r.commands) run(c);
//
// Words: blanks (space, tab, CR, VT, FF) separate words; `#` opens a comment
// where a word begins. Double quotes may sit anywhere in a word and only stop
// blanks and `#` from acting (`vexcType="a b"` is the one word
// `vexcType=a b`); inside quotes `\"` and `\\` are escapes and any other
// backslash is kept as written. `""` is the empty word. Where a word has
// structure (a path's `.`, `[`, `]`; the `=` of NAME=VALUE words) only
// unquoted characters count, so a quoted key may hold any of them:
// mountConfig.mountGroupConfig["a b"].mountConfig["x]y"].
//
// Limitation: a text holding a line break cannot be written in a scenario, so
// quoteIfNeeded() cannot give it a form that parses back.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/sim/config_schema.h"
#include "tools/sim/mounter_hook.h"

namespace hubstore::sim {

class Repetition;
struct Verb;

struct Command {
  std::string file;
  int line = 0;  // 1-based
  std::string verb;  // e.g. "controllerMount"
  const Verb* definition = nullptr;  // the verb's row in the table
  // The words as written, one blank between them, without the comment: what
  // the command is called in messages.
  std::string source;

  // The words after the verb, quotes removed; empty for set and unset.
  std::vector<std::string> args;

  // set and unset: the LHS, checked against the lines `dump` prints.
  ConfigPath lhs;

  // set: the VALUE, checked against the LHS.
  ConfigValueKind valueKind{};
  // RecordType: the type name, or "none" on a root (`publishConfig = none`:
  //   the record is absent).
  // Scalar: the text. Bool: "true" or "false".
  // record: the TYPE with its namespace, e.g. "Controller::ServiceMountConfig".
  std::string scalar;
  // Filter: the place of the bound filter record. Neither this nor
  // detachedName is set for `none`.
  std::optional<ConfigPath> filter;
  // Filter written `detached L`: a filter record named L that is not a member
  // of its configuration's collection.
  std::optional<std::string> detachedName;
  // NAME=VALUE words split at their first unquoted `=`:
  //   set with a Fields VALUE: in the order dump prints them, e.g.
  //     {"vexcType", T}, {"vexcFlags", F}, {"hubstorePath", P};
  //   records leaderGenId=ID: {"leaderGenId", ID};
  //   systemStatus SYS G=STATE ...: one {G, STATE} per word after SYS.
  std::vector<std::pair<std::string, std::string>> fields;

  // mounter M throwing HOOK, when M HOOK G ...: the hook named.
  std::optional<MounterHook> hook;
  // when: the command that the hook runs, parsed as a line of its own that
  // carries the file and line of its `when`. args are then {M, HOOK, G}.
  std::shared_ptr<const Command> action;

  // repeat: what it repeats, expanded as it runs (forEachRepeated). args are
  // empty.
  std::shared_ptr<const Repetition> repetition;
  // A command that a repeat expanded, or the action of a `when` that one
  // expanded: its variables' values, e.g. "i=4, g=2".
  std::string bindings;
};

struct ParseResult {
  std::vector<Command> commands;  // only the lines that parsed
  std::vector<std::string> errors;  // "FILE:LINE: error: MESSAGE", by line
};

// Parses a whole scenario, whose first line is numbered firstLine (a session
// that reads one line at a time counts on). A line with an error yields no
// command; parsing goes on with the next line.
ParseResult parseScenario(std::string_view fileName, std::string_view text, int firstLine = 1);

// Calls `visit` with each command that the `repeat` command `repeat` stands
// for, in order, until it returns false. Each is parsed from its expanded
// words and carries the file and line of its repeat, the words as its
// source and its bindings. The parser checked the first and the last command;
// one between them that does not parse (a value that made a word invalid at
// that value only) ends the expansion: its error is returned, as
// repeatedCommandError() words it.
std::optional<std::string> forEachRepeated(const Command& repeat, const std::function<bool(const Command&)>& visit);

// `message` about a command that a repeat expanded, naming the command and
// its bindings: "in 'mountState 00:1c:73:00:00:05 g1 mounted' (i=4): MESSAGE".
std::string repeatedCommandError(const Command& command, std::string_view message);

// A KEY or VALUE as dump prints it: quoted when empty, when it holds a blank,
// `"`, `=`, `[`, `]` or `\`, or when it begins with `#`; inside the quotes `"`
// and `\` are escaped. The parser reads the result back as `text`.
std::string quoteIfNeeded(std::string_view text);

// An LHS as dump prints it, keys through quoteIfNeeded().
std::string formatConfigPath(const ConfigPath& path);

}  // namespace hubstore::sim
