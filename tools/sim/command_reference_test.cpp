#include "tools/sim/command_reference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <vector>

#include "tools/sim/scenario_parser.h"
#include "tools/sim/simulator.h"

namespace hubstore::sim {
namespace {

std::vector<const CommandEntry*> allEntries() {
  std::vector<const CommandEntry*> entries;
  for (const CommandSection& section : commandSections()) {
    for (const CommandEntry& entry : section.entries) entries.push_back(&entry);
  }
  return entries;
}

TEST(CommandReference, NamesEachCommandOfTheParserAndTheSimulatorOnce) {
  std::vector<std::string> names;
  for (const CommandEntry* entry : allEntries()) {
    names.emplace_back(entry->name);
    EXPECT_TRUE(Simulator::knows(entry->name)) << entry->name;
    EXPECT_EQ(findCommand(entry->name), entry);
  }
  std::sort(names.begin(), names.end());
  EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
  EXPECT_EQ(names, commandNames());
  EXPECT_EQ(findCommand("frobnicate"), nullptr);
}

TEST(CommandReference, EachExampleIsALineOfItsOwnCommand) {
  for (const CommandEntry* entry : allEntries()) {
    const ParseResult parsed = parseScenario("example", entry->example);
    EXPECT_EQ(parsed.errors, std::vector<std::string>{}) << entry->name;
    ASSERT_EQ(parsed.commands.size(), 1u) << entry->name;
    EXPECT_EQ(parsed.commands[0].verb, entry->name);
  }
}

TEST(CommandReference, TheListAndEveryEntryFitATerminal) {
  std::string text = commandList();
  for (const CommandEntry* entry : allEntries()) {
    const std::string help = commandHelp(*entry);
    EXPECT_EQ(help.rfind(*commandSynopsis(entry->name) + "\n", 0), 0u) << help;
    EXPECT_NE(help.find("    example: " + std::string(entry->example) + "\n"), std::string::npos) << help;
    EXPECT_NE(text.find("\n  " + std::string(entry->name) + " "), std::string::npos) << entry->name;
    text += help;
  }
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80u) << line;
}

TEST(CommandReference, WrappingBreaksAtBlanksAndLetsALongWordStandAlone) {
  EXPECT_EQ(wrapText("aa bb  cc dddddddddd e", 8, "> "), "> aa bb\n> cc\n> dddddddddd\n> e\n");
  EXPECT_EQ(wrapText("  ", 8, "> "), "");
}

}  // namespace
}  // namespace hubstore::sim
