#include <hubstore/foundations/framework/string.h>

#include <gtest/gtest.h>

namespace Vex {
namespace {

TEST(String, NullAndEmptyAreKeptApart) {
  String null;
  String empty("");
  EXPECT_TRUE(null.isNull());
  EXPECT_FALSE(empty.isNull());
  EXPECT_FALSE(null == empty);
  EXPECT_TRUE(null < empty);
  EXPECT_STREQ(null.c_str(), "");
  EXPECT_TRUE(String(static_cast<const char*>(nullptr)).isNull());
}

}  // namespace
}  // namespace Vex
