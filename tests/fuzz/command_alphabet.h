#pragma once
// The fuzzer's language: scenario commands over a small alphabet of names,
// chosen by bytes.
//
// Every command is a template such as `allowedSwitch {L} {SYS} {BOOL}`
// whose placeholders name a kind: a list of alternatives, each either a plain
// word (`L1`) or a template of its own (`mountConfig.systemFilter[{L}]`).
// The templates come from the verb table (tools/sim/verb_table.h), in its
// order: each synopsis word names its kind (`G`, `M|none`), and a verb
// with optional words has one template per count of them. decode() reads one byte
// for the template (byte % the number of templates) and one byte per choice
// among two or more alternatives (byte % count), so every byte string is a
// scenario, and a mutation of one byte changes one choice:
//
//   decode({slot of "mounter {M}", 0})  ->  "mounter m1\n"
//
// A new verb moves the templates after it: the seed corpus is encoded from
// scenario text at every build, so it follows; a corpus of bytes kept
// elsewhere changes meaning.
//
// encode() is the inverse for scenario text: each line is matched against the
// templates and written as the bytes that decode to it. Names outside the
// alphabet are renamed consistently within the text, in order of first use,
// to the alphabet's names not yet taken (group `inventory` becomes g2 if g1
// was already seen); a line that no template matches (echo, quoting, three
// group states on one switch) is left out. The seed corpus is the project's
// scenarios run through encode().
//
// The alphabet: 3 switches in several spellings and one malformed name, 3
// groups, 2 mounters, 2 switch lists and 2 version lists, versions 0-3, 3
// remote paths, 3 controller database paths, 2 agents, 2 services; every
// verb of the scenario language except echo, the reports (explain,
// hookCounts, help), quit and repeat, whose commands are each one the
// alphabet has already. What a hook runs (`when M
// HOOK G COMMAND`) is any agent or mount machinery command but `service` and
// `groupClosed G true`, which could meet a fatal assertion at a moment the
// fuzzer's steering (fuzz_run.h) cannot see.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace hubstore::fuzz {

// The most commands one input decodes to: keeps each run short.
inline constexpr std::size_t kMaxCommands = 256;

// One scenario line per command, each ending in '\n'. A command whose bytes
// run out midway is dropped.
std::string decode(std::span<const std::uint8_t> bytes);

struct Encoding {
  std::vector<std::uint8_t> bytes;
  std::vector<std::string> droppedLines;  // as written, comments and blanks excluded
};

Encoding encode(std::string_view scenario);

// The command templates, one per value of a command's first byte.
const std::vector<std::string>& commandTemplates();

}  // namespace hubstore::fuzz
