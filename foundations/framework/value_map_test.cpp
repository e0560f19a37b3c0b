// The contract ValueMap and FlatValueMap share, as one typed suite over the
// two, and ValueMap's firstMissingKey.
#include <hubstore/foundations/framework/value_map.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include <hubstore/foundations/framework/flat_value_map.h>
#include <hubstore/foundations/framework/string.h>

namespace Vex {
namespace {

template <class M>
class ValueMapContract : public ::testing::Test {};
using ValueMaps = ::testing::Types<ValueMap<std::uint32_t, bool>, FlatValueMap<std::uint32_t, bool>>;
struct ValueMapName {
  template <class M>
  static std::string GetName(int i) {
    return std::array{"ValueMap", "FlatValueMap"}[i];
  }
};
TYPED_TEST_SUITE(ValueMapContract, ValueMaps, ValueMapName);

TYPED_TEST(ValueMapContract, ReportsChangesAndKeepsKeyOrderWhateverTheOrderOfWrites) {
  TypeParam m;
  for (std::uint32_t k : {3u, 1u, 4u, 2u}) EXPECT_TRUE(m.valueIs(k, true));
  EXPECT_FALSE(m.valueIs(2, true));
  EXPECT_TRUE(m.valueIs(2, false));
  EXPECT_FALSE(*m.value(2));
  EXPECT_EQ(m.value(5), nullptr);
  std::vector<std::uint32_t> keys;
  for (const auto& [key, value] : m.entries()) keys.push_back(key);
  EXPECT_EQ(keys, (std::vector<std::uint32_t>{1, 2, 3, 4}));
  EXPECT_TRUE(m.valueDel(1));
  EXPECT_FALSE(m.valueDel(1));
  EXPECT_EQ(m.count(), 3u);
}

TYPED_TEST(ValueMapContract, IterationSurvivesRemovalsAndSeesLaterAdditionsOnly) {
  TypeParam m;
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
  visited.clear();
  for (auto it = m.begin(); it != m.end(); ++it) {
    visited.push_back(it->key);
    if (it->key == 15) m.clear();
  }
  EXPECT_EQ(visited, (std::vector<std::uint32_t>{10, 15}));
  EXPECT_TRUE(m.empty());
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
