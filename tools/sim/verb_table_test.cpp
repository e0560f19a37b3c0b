#include "tools/sim/verb_table.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tools/sim/command_reference.h"
#include "tools/sim/scenario_parser.h"

namespace hubstore::sim {
namespace {

struct Row {
  std::string_view section;
  const Verb* verb;
};

std::vector<Row> allRows() {
  std::vector<Row> rows;
  for (const VerbSection& section : verbSections()) {
    for (const Verb& verb : section.verbs) rows.push_back({section.title, &verb});
  }
  return rows;
}

bool inSection(const Row& row, std::string_view prefix) { return row.section.substr(0, prefix.size()) == prefix; }

// One pass over every row: what each verb promises of itself and what the
// tool says of it.
TEST(VerbTable, EveryVerbParsesItsExampleIsFoundOnceAndItsHelpFitsATerminal) {
  std::set<std::string_view> names;
  std::string text = commandList();
  for (const Row& row : allRows()) {
    const Verb& verb = *row.verb;
    SCOPED_TRACE(std::string(verb.name));
    EXPECT_TRUE(names.insert(verb.name).second);
    EXPECT_EQ(findVerb(verb.name), &verb);
    const ParseResult parsed = parseScenario("example", verb.example);
    EXPECT_EQ(parsed.errors, std::vector<std::string>{});
    ASSERT_EQ(parsed.commands.size(), 1u);
    EXPECT_EQ(parsed.commands[0].definition, &verb);
    // Only a repeat runs otherwise: its commands one at a time.
    EXPECT_EQ(verb.run == nullptr, parsed.commands[0].repetition != nullptr);
    EXPECT_NE(text.find("\n  " + std::string(verb.name) + " "), std::string::npos);
    const std::string help = commandHelp(verb);
    EXPECT_EQ(help.rfind(synopsis(verb) + "\n", 0), 0u) << help;
    EXPECT_TRUE(help.ends_with("    example: " + std::string(verb.example) + "\n")) << help;
    text += help;
  }
  EXPECT_EQ(findVerb("frobnicate"), nullptr);
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80u) << line;
}

// With --store a process owns the configuration from its first `service`,
// `set`, `unset` or `restart`, and the status from its first mount machinery
// command or `leaderGenId`; a hook runs only the agent's and the mount
// machinery's commands, and the report `explain` and `whenDel`.
TEST(VerbTable, TheSideAVerbWritesAndWhetherAHookMayRunItFollowItsSection) {
  const std::set<std::string_view> configWriters = {"service", "set", "unset", "restart"};
  for (const Row& row : allRows()) {
    const Verb& verb = *row.verb;
    SCOPED_TRACE(std::string(verb.name));
    const bool machinery = inSection(row, "The mount machinery");
    const Writes side = configWriters.count(verb.name)                   ? Writes::config
                        : machinery || verb.name == "leaderGenId" ? Writes::status
                                                                  : Writes::nothing;
    EXPECT_EQ(verb.writes, side);
    const bool hookMayRun = machinery || inSection(row, "The agent") || verb.name == "explain" ||
                            verb.name == "whenDel";
    EXPECT_EQ(verb.hookMayRun, hookMayRun);
    const ParseResult asAction = parseScenario("t", "when m1 doMountsComplete g1 " + std::string(verb.example));
    EXPECT_EQ(asAction.errors.empty(), hookMayRun);
  }
}

}  // namespace
}  // namespace hubstore::sim
