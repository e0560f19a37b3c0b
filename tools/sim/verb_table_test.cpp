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

// One pass over every verb: what it promises of itself and what the tool
// says of it. With --store a process owns the configuration from its first
// `service`, `set`, `unset` or `restart`, and the status from its first mount
// machinery command or `leaderGenId`; a hook runs only the agent's and the
// mount machinery's commands, and the report `explain` and `whenDel`.
TEST(VerbTable, EveryVerbParsesItsExampleIsFoundOnceAndSaysWhatItWritesAndWhereItRuns) {
  const std::set<std::string_view> configWriters = {"service", "set", "unset", "restart"};
  std::set<std::string_view> names;
  std::string text = commandList();
  for (const VerbSection& section : verbSections()) {
    const bool machinery = section.title.starts_with("The mount machinery");
    for (const Verb& verb : section.verbs) {
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
      EXPECT_EQ(verb.writes, configWriters.count(verb.name)            ? Writes::config
                             : machinery || verb.name == "leaderGenId" ? Writes::status
                                                                       : Writes::nothing);
      const bool hookMayRun =
          machinery || section.title.starts_with("The agent") || verb.name == "explain" || verb.name == "whenDel";
      EXPECT_EQ(verb.hookMayRun, hookMayRun);
      EXPECT_EQ(parseScenario("t", "when m1 doMountsComplete g1 " + std::string(verb.example)).errors.empty(),
                hookMayRun);
    }
  }
  EXPECT_EQ(findVerb("frobnicate"), nullptr);
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80u) << line;
}

}  // namespace
}  // namespace hubstore::sim
