#include <hubstore/foundations/framework/flat_value_map.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <hubstore/foundations/framework/string.h>

namespace Vex {
namespace {

TEST(FlatValueMap, ReportsChangesAndKeepsKeyOrderWhateverTheOrderOfWrites) {
  FlatValueMap<String, bool> m;
  for (const char* k : {"c", "a", "d", "b"}) EXPECT_TRUE(m.valueIs(k, true));
  EXPECT_FALSE(m.valueIs("b", true));
  EXPECT_TRUE(m.valueIs("b", false));
  EXPECT_FALSE(*m.value("b"));
  EXPECT_EQ(m.value("e"), nullptr);
  std::vector<std::string> keys;
  for (const auto& [key, value] : m.entries()) keys.push_back(key.stdString());
  EXPECT_EQ(keys, (std::vector<std::string>{"a", "b", "c", "d"}));
  EXPECT_TRUE(m.valueDel("a"));
  EXPECT_FALSE(m.valueDel("a"));
  EXPECT_EQ(m.count(), 3u);
}

TEST(FlatValueMap, IterationSurvivesRemovalsAndSeesLaterAdditionsOnly) {
  FlatValueMap<std::uint32_t, bool> m;
  for (std::uint32_t k : {10u, 20u, 30u, 40u}) m.valueIs(k, true);
  std::vector<std::uint32_t> visited;
  for (auto it = m.begin(); it != m.end(); ++it) {
    visited.push_back(it->key);
    if (it->key == 20) {
      m.valueDel(20);  // the current entry
      m.valueDel(30);  // the next one
      m.valueIs(15, true);  // behind the iterator
      m.valueIs(25, true);
    }
    if (it->key == 40) m.valueIs(50, true);  // an append
  }
  EXPECT_EQ(visited, (std::vector<std::uint32_t>{10, 20, 25, 40, 50}));
  for (auto it = m.begin(); it != m.end(); ++it) m.clear();
  EXPECT_TRUE(m.empty());
}

}  // namespace
}  // namespace Vex
