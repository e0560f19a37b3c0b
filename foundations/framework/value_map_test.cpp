// What the value maps add to the ordered containers' contract (see
// ordered_entries_test.cpp): writes report whether they changed the map; and
// firstMissingKey.
#include <hubstore/foundations/framework/value_map.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include <hubstore/foundations/framework/flat_value_map.h>
#include <hubstore/foundations/framework/string.h>

namespace Vex {
namespace {

// The rule lives above the storage: one storage proves it.
TEST(ValueMap, ReportsOnlyWritesThatChangeTheMap) {
  FlatValueMap<std::uint32_t, bool> m;
  for (std::uint32_t k : {3u, 1u, 2u}) EXPECT_TRUE(m.valueIs(k, true));
  EXPECT_FALSE(m.valueIs(2, true));
  EXPECT_TRUE(m.valueIs(2, false));
  EXPECT_EQ(m.entries(), (std::vector<std::pair<std::uint32_t, bool>>{{1, true}, {2, false}, {3, true}}));
}

TEST(ValueMap, FirstMissingKeyWalksBothMapsAndFindsTheFirstGapInKeyOrder) {
  ValueMap<String, bool> wanted;
  ValueMap<String, int> held;
  for (const char* k : {"b", "d", "f"}) wanted.valueIs(k, true);
  EXPECT_EQ(*firstMissingKey(wanted, held), "b");
  // Many keys between the wanted ones: the walk falls back to lookups.
  for (int i = 0; i < 40; ++i) held.valueIs("c" + std::to_string(i), i);
  for (const char* k : {"a", "b", "d", "e"}) held.valueIs(k, 0);
  EXPECT_EQ(*firstMissingKey(wanted, held), "f");
  held.valueIs("f", 0);
  EXPECT_EQ(firstMissingKey(wanted, held), nullptr);
  held.valueDel("d");
  EXPECT_EQ(*firstMissingKey(wanted, held), "d");
  // The null string sorts before every other, the empty one included.
  wanted.valueIs(String(), true);
  held.valueIs("", 0);
  EXPECT_TRUE(firstMissingKey(wanted, held)->isNull());
}

}  // namespace
}  // namespace Vex
