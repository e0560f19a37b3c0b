#include <hubstore/foundations/framework/flat_collection.h>

#include <gtest/gtest.h>

#include <hubstore/foundations/framework/test_record.h>

namespace Vex::testing {
namespace {

std::vector<std::string> keysOf(const FlatCollection<Name, Counter>& c) {
  std::vector<std::string> keys;
  for (auto it = c.begin(); it != c.end(); ++it) keys.push_back(it.key().stdString());
  return keys;
}

TEST(FlatCollection, IteratesInKeyOrderThroughRemovalsAndAdditionsOnEitherSide) {
  {
    FlatCollection<Name, Counter> c;
    for (const char* k : {"d", "b", "e", "a", "c"}) c.newMember(k, Counter::CounterIs(k));
    EXPECT_EQ(keysOf(c), (std::vector<std::string>{"a", "b", "c", "d", "e"}));

    std::vector<std::string> visited;
    for (auto it = c.begin(); it != c.end(); ++it) {
      visited.push_back(it.key().stdString());
      if (it.key() == "b") {
        EXPECT_EQ(c.deleteMember("b"), *it);  // the iterator still holds the member
        c.deleteMember("d");
        c.newMember("bb", Counter::CounterIs("bb"));  // after the current key: visited
        c.newMember("a0", Counter::CounterIs("a0"));  // before it: not
      }
      if (it.key() == "e") c.newMember("f", Counter::CounterIs("f"));  // an append
    }
    EXPECT_EQ(visited, (std::vector<std::string>{"a", "b", "bb", "c", "e", "f"}));
    EXPECT_EQ(keysOf(c), (std::vector<std::string>{"a", "a0", "bb", "c", "e", "f"}));
    EXPECT_EQ(c.memberRaw("c")->name(), "c");
    EXPECT_FALSE(c.member("d"));
    EXPECT_FALSE(c.deleteMember("d"));
  }
  EXPECT_EQ(Counter::staticType().liveCount(), 0);
}

TEST(FlatCollection, MembersKnowTheirParentAndAReplacedOneLetsGo) {
  Ptr<Counter> owner = Counter::CounterIs("root");
  Ptr<Counter> first = Counter::CounterIs("m");
  Ptr<Counter> second = Counter::CounterIs("m2");
  {
    FlatCollection<Name, Counter> c(owner.get(), "items");
    c.newMember("m", first);
    EXPECT_EQ(first->fullName(), "root/items/m");
    c.newMember("m", second);
    EXPECT_EQ(first->parent(), nullptr);
    EXPECT_EQ(c.memberRaw("m"), second.get());
    EXPECT_EQ(c.count(), 1u);
  }
  EXPECT_EQ(second->parent(), nullptr);  // the dying collection let go
}

}  // namespace
}  // namespace Vex::testing
