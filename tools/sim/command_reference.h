#pragma once
// What each scenario command does, in the words a newcomer reads: a one-line
// summary, a paragraph, an example. Everything the tool says about its
// commands is printed from here: the list of `hubstore-sim --help` and of
// `help`, the entry of `help COMMAND`, and the command reference of
// docs/scenarios.md (`hubstore-sim --reference`, checked by a test). A
// command's words (its synopsis) come from the parser, which checks them.
//
//   if (const CommandEntry* entry = findCommand("groupClosed")) std::cout << commandHelp(*entry);

#include <span>
#include <string>
#include <string_view>

namespace hubstore::sim {

struct CommandEntry {
  std::string_view name;
  std::string_view summary;  // fits the list's line: lower case, no period
  std::string_view details;  // one paragraph; `code` is marked with backquotes
  std::string_view example;  // one scenario line
};

struct CommandSection {
  std::string_view title;
  std::span<const CommandEntry> entries;
};

// Every command of the language, grouped as a reader meets them.
std::span<const CommandSection> commandSections();

const CommandEntry* findCommand(std::string_view name);

// The sections' titles, and under each one line per command: name, summary.
std::string commandList();

// One command's entry for a terminal: the synopsis, the paragraph wrapped to
// fit 80 columns, the example.
std::string commandHelp(const CommandEntry& entry);

// The whole reference as Markdown: a heading per section and per command.
std::string markdownReference();

// `text` broken at blanks into lines of at most `width` characters (a longer
// word stands alone), each line starting with `indent`.
std::string wrapText(std::string_view text, std::size_t width, std::string_view indent);

}  // namespace hubstore::sim
