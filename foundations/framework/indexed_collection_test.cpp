#include <hubstore/foundations/framework/indexed_collection.h>

#include <gtest/gtest.h>

#include <hubstore/foundations/framework/test_record.h>

namespace Vex::testing {
namespace {

TEST(IndexedCollection, LookupsFollowEveryChangeAndIterationStaysInKeyOrder) {
  {
    Ptr<Counter> owner = Counter::CounterIs("root");
    IndexedCollection<Name, Counter> c(owner.get(), "items");
    for (const char* k : {"c", "a", "b"}) c.newMember(k, Counter::CounterIs(k));
    Ptr<Counter> replacement = Counter::CounterIs("b2");
    c.newMember("b", replacement);
    EXPECT_EQ(c.memberRaw("b"), replacement.get());
    EXPECT_EQ(replacement->fullName(), "root/items/b2");
    EXPECT_EQ(c.deleteMember("a")->name(), "a");
    EXPECT_FALSE(c.member("a"));
    EXPECT_FALSE(c.deleteMember("a"));
    std::vector<std::string> keys;
    for (auto it = c.begin(); it != c.end(); ++it) keys.push_back(it.key().stdString());
    EXPECT_EQ(keys, (std::vector<std::string>{"b", "c"}));
    EXPECT_EQ(c.ordered().count(), 2u);
  }
  EXPECT_EQ(Counter::staticType().liveCount(), 0);
}

TEST(IndexedCollection, LookupsStayRightThroughGrowthAndRemovalsInAnyOrder) {
  IndexedCollection<Name, Counter> c;
  std::vector<std::string> keys;
  for (int i = 0; i < 200; ++i) keys.push_back("k" + std::to_string(i * 7919 % 1000));
  for (const auto& k : keys) c.newMember(k, Counter::CounterIs(k.c_str()));
  for (std::size_t i = 0; i < keys.size(); i += 3) c.deleteMember(keys[i]);
  for (std::size_t i = 0; i < keys.size(); ++i) {
    Counter* found = c.memberRaw(keys[i]);
    if (i % 3 == 0) {
      EXPECT_EQ(found, nullptr) << keys[i];
    } else {
      ASSERT_NE(found, nullptr) << keys[i];
      EXPECT_EQ(found->name().stdString(), keys[i]);
    }
  }
  EXPECT_EQ(c.count(), 133u);
}

// A member's last reference dies inside deleteAll; from its destructor it
// looks members up, as a group does through its service.
class LookingMember : public Counter {
 public:
  LookingMember(const char* name, IndexedCollection<Name, Counter>* home, std::vector<std::string>* seen)
      : Counter(name), home_(home), seen_(seen) {}
  ~LookingMember() override {
    for (const char* k : {"a", "b"}) seen_->push_back(home_->memberRaw(k) ? k : "-");
  }

 private:
  IndexedCollection<Name, Counter>* home_;
  std::vector<std::string>* seen_;
};

TEST(IndexedCollection, AMemberDyingInDeleteAllFindsOnlyTheMembersLeft) {
  std::vector<std::string> seen;
  {
    IndexedCollection<Name, Counter> c;
    c.newMember("a", make<LookingMember>("a", &c, &seen));
    c.newMember("b", make<LookingMember>("b", &c, &seen));
  }
  EXPECT_EQ(seen, (std::vector<std::string>{"-", "b", "-", "-"}));
}

}  // namespace
}  // namespace Vex::testing
