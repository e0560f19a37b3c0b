// The contract Collection, FlatCollection and IndexedCollection share, as one
// typed suite over the three.
#include <hubstore/foundations/framework/collection.h>

#include <gtest/gtest.h>

#include <array>
#include <set>

#include <hubstore/foundations/framework/flat_collection.h>
#include <hubstore/foundations/framework/indexed_collection.h>
#include <hubstore/foundations/framework/test_record.h>

namespace Vex::testing {
namespace {

template <class C>
class CollectionContract : public ::testing::Test {
 protected:
  static std::vector<std::string> keysOf(const C& c) {
    std::vector<std::string> keys;
    for (auto it = c.begin(); it != c.end(); ++it) keys.push_back(it.key().stdString());
    return keys;
  }
  void TearDown() override { EXPECT_EQ(Counter::staticType().liveCount(), 0); }
};
using Collections =
    ::testing::Types<Collection<Name, Counter>, FlatCollection<Name, Counter>, IndexedCollection<Name, Counter>>;
struct CollectionName {
  template <class C>
  static std::string GetName(int i) {
    return std::array{"Collection", "FlatCollection", "IndexedCollection"}[i];
  }
};
TYPED_TEST_SUITE(CollectionContract, Collections, CollectionName);

TYPED_TEST(CollectionContract, IteratesInKeyOrderThroughRemovalsAndAdditionsOnEitherSide) {
  TypeParam c;
  for (const char* k : {"d", "b", "e", "a", "c"}) c.newMember(k, Counter::CounterIs(k));
  EXPECT_EQ(this->keysOf(c), (std::vector<std::string>{"a", "b", "c", "d", "e"}));
  std::vector<std::string> visited;
  for (auto it = c.begin(); it != c.end(); ++it) {
    visited.push_back(it.key().stdString());
    if (it.key() == "b") {  // additions while nothing was removed
      c.newMember("a0", Counter::CounterIs("a0"));  // before the current key: not visited
      c.newMember("bb", Counter::CounterIs("bb"));  // after it: visited
    }
    if (it.key() == "c") {
      EXPECT_EQ(c.deleteMember("c"), *it);  // the iterator still holds the member
      c.deleteMember("d");
      c.newMember("cc", Counter::CounterIs("cc"));
    }
    if (it.key() == "e") c.newMember("f", Counter::CounterIs("f"));  // an append
  }
  EXPECT_EQ(visited, (std::vector<std::string>{"a", "b", "bb", "c", "cc", "e", "f"}));
  EXPECT_EQ(this->keysOf(c), (std::vector<std::string>{"a", "a0", "b", "bb", "cc", "e", "f"}));
  EXPECT_EQ(c.memberRaw("e")->name(), "e");
  EXPECT_FALSE(c.member("d"));
  EXPECT_FALSE(c.deleteMember("d"));
}

TYPED_TEST(CollectionContract, MembersKnowTheirParentOnlyWhileTheyAreMembers) {
  Ptr<Counter> owner = Counter::CounterIs("root");
  Ptr<Counter> first = Counter::CounterIs("m");
  Ptr<Counter> second = Counter::CounterIs("m2");
  {
    TypeParam c(owner.get(), "items");
    c.newMember("m", first);
    EXPECT_EQ(first->fullName(), "root/items/m");
    c.deleteMember("m");
    EXPECT_EQ(first->parent(), nullptr);
    c.newMember("m", first);
    c.newMember("m", second);  // replaces `first`, which lets go
    EXPECT_EQ(first->parent(), nullptr);
    EXPECT_EQ(c.memberRaw("m"), second.get());
    EXPECT_EQ(c.count(), 1u);
  }
  EXPECT_EQ(second->parent(), nullptr);  // the dying collection let go
}

TYPED_TEST(CollectionContract, LookupsStayRightThroughGrowthAndRemovalsInAnyOrder) {
  TypeParam c;
  std::vector<std::string> keys;
  for (int i = 0; i < 200; ++i) keys.push_back("k" + std::to_string(i * 7919 % 1000));
  for (const auto& k : keys) c.newMember(k, Counter::CounterIs(k.c_str()));
  for (std::size_t i = 0; i < keys.size(); i += 3) c.deleteMember(keys[i]);
  for (std::size_t i = 0; i < keys.size(); ++i) {
    Counter* found = c.memberRaw(keys[i]);
    EXPECT_EQ(found ? found->name().stdString() : "", i % 3 ? keys[i] : "") << keys[i];
  }
  EXPECT_EQ(c.count(), 133u);
}

// Looks its collection up from its destructor, as a group does through its
// service while the service's collection lets it go.
template <class C>
class LookingMember : public Counter {
 public:
  LookingMember(const char* name, const C* home, std::set<std::string>* dead, std::vector<std::string>* seen)
      : Counter(name), home_(home), dead_(dead), seen_(seen) {}
  ~LookingMember() override {
    dead_->insert(name().stdString());
    for (const char* k : {"a", "b"}) {
      if (home_->memberRaw(k)) seen_->push_back(name().stdString() + " finds " + (dead_->count(k) ? "dead " : "") + k);
    }
  }

 private:
  const C* home_;
  std::set<std::string>* dead_;
  std::vector<std::string>* seen_;
};

TYPED_TEST(CollectionContract, AMemberDyingInDeleteAllFindsOnlyTheMembersLeft) {
  std::set<std::string> dead;
  std::vector<std::string> seen;
  {
    TypeParam c;
    for (const char* k : {"a", "b"}) c.newMember(k, make<LookingMember<TypeParam>>(k, &c, &dead, &seen));
  }
  EXPECT_EQ(dead.size(), 2u);
  // The first to die finds the other, alive; the last finds nobody.
  EXPECT_TRUE(seen == std::vector<std::string>{"a finds b"} || seen == std::vector<std::string>{"b finds a"})
      << ::testing::PrintToString(seen);
}

}  // namespace
}  // namespace Vex::testing
