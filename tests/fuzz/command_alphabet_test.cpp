#include "tests/fuzz/command_alphabet.h"

#include <gtest/gtest.h>

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

TEST(CommandAlphabet, OneByteChoosesTheCommandAndOneEachChoiceAmongSeveral) {
  EXPECT_EQ(decode(std::vector<std::uint8_t>{24, 0, 46, 1}), "mounter m1\nswitchWhiteList L2\n");
  // Choices wrap around; a slot with nothing in it reads no more.
  EXPECT_EQ(decode(std::vector<std::uint8_t>{24 + 64, 3, 63, 1}), "mounter m2\nrecords\n");
  // A command whose bytes run out is dropped.
  EXPECT_EQ(decode(std::vector<std::uint8_t>{1, 48, 0}), "records\n");
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
