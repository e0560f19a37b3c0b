#include <hubstore/foundations/framework/string.h>

#include <gtest/gtest.h>

#include <map>

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

TEST(String, CopiesShareTheBufferAndConcatenationMakesANewString) {
  String a("switch");
  String b = a;
  EXPECT_EQ(a.c_str(), b.c_str());
  String joined = "a " + a;
  EXPECT_EQ(joined, "a switch");
  EXPECT_EQ(a, "switch");
  EXPECT_EQ(a + "es", "switches");
  String embedded("x\0y", 3);
  EXPECT_EQ(embedded.size(), 3u);
  EXPECT_FALSE(embedded == String("x"));
}

TEST(String, OrdersByBytesAsCollectionKeys) {
  std::map<Name, int> m{{"b", 2}, {"a", 1}, {"ab", 3}};
  std::string order;
  for (auto& [k, v] : m) order += k.stdString() + ",";
  EXPECT_EQ(order, "a,ab,b,");
}

}  // namespace
}  // namespace Vex
