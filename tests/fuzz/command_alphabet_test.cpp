#include "tests/fuzz/command_alphabet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "tools/sim/scenario_parser.h"

namespace hubstore::fuzz {
namespace {

std::vector<std::uint8_t> randomBytes(std::mt19937& random, std::size_t size) {
  std::vector<std::uint8_t> bytes(size);
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
  return bytes;
}

std::uint8_t slotOf(std::string_view line) {
  const auto& templates = commandTemplates();
  const auto found = std::find(templates.begin(), templates.end(), line);
  EXPECT_NE(found, templates.end()) << line;
  return static_cast<std::uint8_t>(found - templates.begin());
}

TEST(CommandAlphabet, OneByteChoosesTheCommandAndOneEachChoiceAmongSeveral) {
  const std::uint8_t mounter = slotOf("mounter {mounter}");
  const std::uint8_t list = slotOf("switchWhiteList {switchList}");
  const std::uint8_t records = slotOf("records");
  EXPECT_EQ(decode(std::vector<std::uint8_t>{mounter, 0, list, 1}), "mounter m1\nswitchWhiteList L2\n");
  // Choices wrap around, and so do the commands; a command without choices
  // reads no more.
  const auto wrapped = static_cast<std::uint8_t>(mounter + commandTemplates().size());
  EXPECT_EQ(decode(std::vector<std::uint8_t>{wrapped, 3, records, list, 1}),
            "mounter m2\nrecords\nswitchWhiteList L2\n");
  // A command whose bytes run out is dropped.
  EXPECT_EQ(decode(std::vector<std::uint8_t>{records, list}), "records\n");
}

// The alphabet follows the verb table: a verb is in it with each count of its
// optional words.
TEST(CommandAlphabet, SaysEachCountOfAVerbsOptionalWords) {
  for (const char* line : {"reportMountStates", "systemStatus {sys}",
                           "systemStatus {sys} {group}={state} {group}={state}", "serviceMountGroupStatus {sys} {group}",
                           "records leaderGenId={genId}"}) {
    slotOf(line);
  }
}

TEST(CommandAlphabet, EveryDecodedLineParsesExceptAllowListEntriesForTheMalformedSwitch) {
  std::mt19937 random(7);
  std::size_t lines = 0;
  for (int input = 0; input < 500; ++input) {
    const std::string scenario = decode(randomBytes(random, 200));
    const sim::ParseResult parsed = sim::parseScenario("x", scenario);
    lines += parsed.commands.size();
    for (const std::string& error : parsed.errors) {
      EXPECT_NE(error.find("00:1c:73:zz:00:01"), std::string::npos) << error;
    }
  }
  EXPECT_GT(lines, 10000u);
}

TEST(CommandAlphabet, EncodingADecodedScenarioGivesBytesThatDecodeToIt) {
  std::mt19937 random(11);
  for (int input = 0; input < 300; ++input) {
    const std::string scenario = decode(randomBytes(random, 300));
    const Encoding encoding = encode(scenario);
    EXPECT_TRUE(encoding.droppedLines.empty()) << encoding.droppedLines.front();
    EXPECT_EQ(decode(encoding.bytes), scenario);
  }
}

TEST(CommandAlphabet, EncodingRenamesForeignNamesConsistentlyAndLeavesOutWhatItCannotSay) {
  const Encoding encoding = encode(
      "# a seed\n"
      "group g1 m1\n"
      "group inventory   m1   # two blanks, a comment\n"
      "groupClosed inventory true\n"
      "set mountConfig.mountGroupConfig[inventory].mountConfig[/interfaces] = vexcType=Route vexcFlags=ro "
      "hubstorePath=/db/x\n"
      "echo hello\n"
      "systemStatus 00:1c:73:00:00:01 g1=mounted g2=mounted g3=failed\n");
  EXPECT_EQ(decode(encoding.bytes),
            "group g1 m1\n"
            "group g2 m1\n"
            "groupClosed g2 true\n"
            "set mountConfig.mountGroupConfig[g2].mountConfig[/r/a] = vexcType=T vexcFlags=ro hubstorePath=/db/a\n");
  EXPECT_EQ(encoding.droppedLines,
            (std::vector<std::string>{"echo hello", "systemStatus 00:1c:73:00:00:01 g1=mounted g2=mounted g3=failed"}));
}

}  // namespace
}  // namespace hubstore::fuzz
