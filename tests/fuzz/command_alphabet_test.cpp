#include "tests/fuzz/command_alphabet.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "tools/sim/scenario_parser.h"

namespace hubstore::fuzz {
namespace {

// Every decoded line parses (but an allow-list entry for the malformed
// switch), and encoding the scenario gives bytes that decode to it.
TEST(CommandAlphabet, DecodedScenariosParseAndEncodeBack) {
  std::mt19937 random(7);
  std::size_t lines = 0;
  for (int input = 0; input < 500; ++input) {
    std::vector<std::uint8_t> bytes(200);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    const std::string scenario = decode(bytes);
    const sim::ParseResult parsed = sim::parseScenario("x", scenario);
    lines += parsed.commands.size();
    for (const std::string& error : parsed.errors) {
      EXPECT_NE(error.find("00:1c:73:zz:00:01"), std::string::npos) << error;
    }
    const Encoding encoding = encode(scenario);
    EXPECT_TRUE(encoding.droppedLines.empty()) << encoding.droppedLines.front();
    EXPECT_EQ(decode(encoding.bytes), scenario);
  }
  EXPECT_GT(lines, 10000u);
}

}  // namespace
}  // namespace hubstore::fuzz
