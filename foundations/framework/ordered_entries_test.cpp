// The contract every ordered container shares, whatever its storage and
// whatever it holds: one typed suite over the collections and the value maps.
#include <hubstore/foundations/framework/ordered_entries.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <hubstore/foundations/framework/flat_collection.h>
#include <hubstore/foundations/framework/flat_value_map.h>
#include <hubstore/foundations/framework/indexed_collection.h>
#include <hubstore/foundations/framework/test_record.h>
#include <hubstore/foundations/framework/value_map.h>

namespace Vex::testing {
namespace {

// Runs one change and tells whether it did what it says: "+k" adds k (a
// counter named k, or the value k), "-k" removes k, "?k" finds k's own member
// or value, "*" drops everything.
template <class C>
bool change(C& c, const std::string& what) {
  const Name key(what.substr(1).c_str());
  if constexpr (requires { c.deleteAll(); }) {
    if (what == "*") c.deleteAll();
    if (what[0] == '+') c.newMember(key, Counter::CounterIs(key.stdString().c_str()));
    if (what[0] == '?') return c.memberRaw(key) && c.memberRaw(key)->name() == key;
    return what[0] != '-' || c.deleteMember(key);
  } else {
    if (what == "*") c.clear();
    if (what[0] == '?') return c.value(key) && *c.value(key) == key;
    return what[0] == '+' ? c.valueIs(key, key) : what[0] != '-' || c.valueDel(key);
  }
}

template <class C>
using OrderedContract = ContainerTest<C>;
using Containers = ::testing::Types<Collection<Name, Counter>, FlatCollection<Name, Counter>,
                                    IndexedCollection<Name, Counter>, ValueMap<Name, Name>, FlatValueMap<Name, Name>>;
TYPED_TEST_SUITE(OrderedContract, Containers, ContainerName);

TYPED_TEST(OrderedContract, IteratesInKeyOrderThroughRemovalsAndAdditionsOnEitherSide) {
  TypeParam c;
  for (const char* k : {"+d", "+b", "+e", "+a", "+c", "+g"}) change(c, k);
  // What the container undergoes while the iterator stands on a key.
  const std::vector<std::pair<std::string, std::vector<std::string>>> script = {
      {"b", {"+a0", "+bb"}},  // additions only, before and after the current key
      {"bb", {"-bb"}},  // the current key only
      {"c", {"-c", "-d", "+cc"}},  // the current key, the next, and an addition
      {"e", {"-g", "+f"}},  // after the last removal, the addition is an append
      {"f", {"+h"}},  // an append
      {"h", {"*"}},
  };
  std::vector<std::string> visited;
  for (auto it = c.begin(); it != c.end(); ++it) {
    visited.push_back(it.key().stdString());
    for (const auto& [at, changes] : script) {
      if (at != visited.back()) continue;
      for (const std::string& what : changes) EXPECT_TRUE(change(c, what)) << what;
    }
  }
  EXPECT_EQ(visited, (std::vector<std::string>{"a", "b", "bb", "c", "cc", "e", "f", "h"}));
  EXPECT_TRUE(c.empty());
}

TYPED_TEST(OrderedContract, LookupsStayRightThroughGrowthAndRemovalsInAnyOrder) {
  TypeParam c;
  std::vector<std::string> keys;
  for (int i = 0; i < 200; ++i) keys.push_back("k" + std::to_string(i * 7919 % 1000));
  for (const auto& k : keys) change(c, "+" + k);
  for (std::size_t i = 0; i < keys.size(); i += 3) EXPECT_TRUE(change(c, "-" + keys[i]));
  EXPECT_FALSE(change(c, "-" + keys[0]));
  for (std::size_t i = 0; i < keys.size(); ++i) EXPECT_EQ(change(c, "?" + keys[i]), i % 3 != 0) << keys[i];
  EXPECT_EQ(c.count(), 133u);
}

}  // namespace
}  // namespace Vex::testing
