#include <hubstore/foundations/framework/string.h>

#include <gtest/gtest.h>

#include <tuple>

namespace Vex {
namespace {

TEST(String, NullAndEmptyAreKeptApart) {
  const String null;
  const String empty("");
  // Null: not equal to empty, sorts before it, reads as "".
  EXPECT_EQ(std::tuple(null.isNull(), empty.isNull(), null == empty, null < empty, std::string(null.c_str())),
            std::tuple(true, false, false, true, std::string()));
  EXPECT_TRUE(String(static_cast<const char*>(nullptr)).isNull());
}

}  // namespace
}  // namespace Vex
