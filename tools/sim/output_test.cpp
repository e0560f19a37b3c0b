#include "tools/sim/output.h"

#include <gtest/gtest.h>

#include <string>

namespace hubstore::sim {
namespace {

// The kinds and fields of --json lines are pinned in sim_command_line_test.cpp.
TEST(JsonString, EscapesWhatJsonRequiresAndPassesOtherBytesThrough) {
  EXPECT_EQ(jsonString(std::string("q\"b\\n\nt\tr\r\x01\x1f\x7f", 13) + "\xc3\xa9"),
            "\"q\\\"b\\\\n\\nt\\tr\\r\\u0001\\u001f\x7f\xc3\xa9\"");
  EXPECT_EQ(jsonString(""), "\"\"");
}

}  // namespace
}  // namespace hubstore::sim
