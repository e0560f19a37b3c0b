#include <hubstore/foundations/framework/collection.h>

#include <gtest/gtest.h>

#include <hubstore/foundations/framework/test_record.h>
#include <hubstore/foundations/framework/value_map.h>

namespace Vex::testing {
namespace {

std::vector<std::string> keysOf(const Collection<Name, Counter>& c) {
  std::vector<std::string> keys;
  for (auto it = c.begin(); it != c.end(); ++it) keys.push_back(it.key().stdString());
  return keys;
}

TEST(Collection, IteratesInKeyOrderAndSurvivesDeletionOfTheCurrentAndOtherMembers) {
  {
    Collection<Name, Counter> c;
    for (const char* k : {"d", "b", "e", "a", "c"}) c.newMember(k, Counter::CounterIs(k));
    EXPECT_EQ(keysOf(c), (std::vector<std::string>{"a", "b", "c", "d", "e"}));

    std::vector<std::string> visited;
    for (auto it = c.begin(); it != c.end(); ++it) {
      visited.push_back(it.key().stdString());
      if (it.key() == "b") {
        EXPECT_EQ(c.deleteMember("b"), *it);  // the iterator still holds the member
        c.deleteMember("d");
        c.newMember("bb", Counter::CounterIs("bb"));  // sorts after the current key: visited
      }
    }
    EXPECT_EQ(visited, (std::vector<std::string>{"a", "b", "bb", "c", "e"}));
    EXPECT_EQ(keysOf(c), (std::vector<std::string>{"a", "bb", "c", "e"}));
  }
  EXPECT_EQ(Counter::staticType().liveCount(), 0);
}

TEST(Collection, MembersAddedWithoutARemovalAreVisitedOnlyAfterTheCurrentKey) {
  {
    Collection<Name, Counter> c;
    for (const char* k : {"a", "c", "e"}) c.newMember(k, Counter::CounterIs(k));
    std::vector<std::string> visited;
    for (auto it = c.begin(); it != c.end(); ++it) {
      visited.push_back(it.key().stdString());
      if (it.key() == "c") {
        c.newMember("b", Counter::CounterIs("b"));  // behind the iterator
        c.newMember("d", Counter::CounterIs("d"));
        c.newMember("f", Counter::CounterIs("f"));
      }
    }
    EXPECT_EQ(visited, (std::vector<std::string>{"a", "c", "d", "e", "f"}));
  }
  EXPECT_EQ(Counter::staticType().liveCount(), 0);
}

TEST(Collection, EntityMembersKnowTheirParentOnlyWhileTheyAreMembers) {
  Ptr<Counter> owner = Counter::CounterIs("root");
  Ptr<Counter> member = Counter::CounterIs("m");
  {
    Collection<Name, Counter> c(owner.get(), "items");
    c.newMember("m", member);
    EXPECT_EQ(member->fullName(), "root/items/m");
    c.deleteMember("m");
    EXPECT_EQ(member->parent(), nullptr);
    c.newMember("m", member);
  }
  EXPECT_EQ(member->parent(), nullptr);  // the dying collection let go
}

TEST(ValueMap, ReportsChangesAndIteratesRobustly) {
  ValueMap<std::uint32_t, bool> m;
  EXPECT_TRUE(m.valueIs(3, true));
  EXPECT_FALSE(m.valueIs(3, true));
  EXPECT_TRUE(m.valueIs(3, false));
  m.valueIs(1, true);
  m.valueIs(2, true);
  std::vector<std::uint32_t> visited;
  for (auto it = m.begin(); it != m.end(); ++it) {
    visited.push_back(it->key);
    m.valueDel(it->key);
  }
  EXPECT_EQ(visited, (std::vector<std::uint32_t>{1, 2, 3}));
  EXPECT_TRUE(m.empty());
  EXPECT_FALSE(m.valueDel(1));

  // Removing the next entry, or clearing, while the iterator stands still.
  for (std::uint32_t k : {1u, 2u, 3u, 4u}) m.valueIs(k, true);
  visited.clear();
  for (auto it = m.begin(); it != m.end(); ++it) {
    visited.push_back(it->key);
    if (it->key == 1) m.valueDel(2);
    if (it->key == 3) m.clear();
  }
  EXPECT_EQ(visited, (std::vector<std::uint32_t>{1, 3}));
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
}  // namespace Vex::testing
