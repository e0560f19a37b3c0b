#include "tools/sim/command_reference.h"

#include <algorithm>


namespace hubstore::sim {
namespace {

constexpr std::size_t kWidth = 79;

}  // namespace

std::string commandList() {
  constexpr std::size_t kNameColumn = 32;
  std::string out;
  for (const VerbSection& section : verbSections()) {
    if (!out.empty()) out += '\n';
    out += std::string(section.title) + '\n';
    for (const Verb& verb : section.verbs) {
      std::string line = "  " + std::string(verb.name);
      line.resize(std::max(line.size() + 1, kNameColumn + 2), ' ');
      out += line + std::string(verb.summary) + '\n';
    }
  }
  return out + "\n'help COMMAND' shows one command: its words, what it does, an example.\n";
}

std::string commandHelp(const Verb& verb) {
  return synopsis(verb) + '\n' + wrapText(verb.details, kWidth, "    ") + "    example: " + std::string(verb.example) +
         '\n';
}

std::string markdownReference() {
  std::string out;
  for (const VerbSection& section : verbSections()) {
    out += "### " + std::string(section.title) + "\n\n";
    for (const Verb& verb : section.verbs) {
      out += "#### `" + synopsis(verb) + "`\n\n";
      out += wrapText(verb.details, kWidth, "") + '\n';
      out += "    " + std::string(verb.example) + "\n\n";
    }
  }
  out.pop_back();  // one line break ends the text
  return out;
}

std::string wrapText(std::string_view text, std::size_t width, std::string_view indent) {
  std::string out;
  std::string line(indent);
  bool lineEmpty = true;
  while (!text.empty()) {
    const std::size_t start = text.find_first_not_of(' ');
    if (start == std::string_view::npos) break;
    text.remove_prefix(start);
    const std::size_t end = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(end);
    if (!lineEmpty && line.size() + 1 + word.size() > width) {
      out += line + '\n';
      line = indent;
      lineEmpty = true;
    }
    if (!lineEmpty) line += ' ';
    line += word;
    lineEmpty = false;
  }
  if (!lineEmpty) out += line + '\n';
  return out;
}

}  // namespace hubstore::sim
