// What the collections add to the ordered containers' contract (see
// ordered_entries_test.cpp): members' parents and members' deaths, as one
// typed suite over Collection, FlatCollection and IndexedCollection.
#include <hubstore/foundations/framework/collection.h>

#include <gtest/gtest.h>

#include <hubstore/foundations/framework/flat_collection.h>
#include <hubstore/foundations/framework/indexed_collection.h>
#include <hubstore/foundations/framework/test_record.h>

namespace Vex::testing {
namespace {

template <class C>
using CollectionContract = ContainerTest<C>;
using Collections =
    ::testing::Types<Collection<Name, Counter>, FlatCollection<Name, Counter>, IndexedCollection<Name, Counter>>;
TYPED_TEST_SUITE(CollectionContract, Collections, ContainerName);

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
    EXPECT_EQ(std::pair(c.memberRaw("m"), c.count()), std::pair(second.get(), std::size_t{1}));
  }
  EXPECT_EQ(second->parent(), nullptr);  // the dying collection let go
}

// Looks its collection up from its destructor, as a group does through its
// service while the service's collection lets it go.
template <class C>
struct LookingMember : Counter {
  LookingMember(const char* name, const C* home, std::vector<std::string>* seen)
      : Counter(name), home(home), seen(seen) {}
  ~LookingMember() override {
    for (const char* k : {"a", "b"}) {
      if (home->memberRaw(k)) seen->push_back(name().stdString() + " finds " + k);
    }
  }
  const C* home;
  std::vector<std::string>* seen;
};

TYPED_TEST(CollectionContract, AMemberDyingInDeleteAllFindsOnlyTheMembersLeft) {
  std::vector<std::string> seen;
  {
    TypeParam c;
    for (const char* k : {"a", "b"}) c.newMember(k, make<LookingMember<TypeParam>>(k, &c, &seen));
  }
  // The first to die finds the other, alive; the last finds nobody.
  EXPECT_TRUE(seen == std::vector<std::string>{"a finds b"} || seen == std::vector<std::string>{"b finds a"})
      << ::testing::PrintToString(seen);
}

}  // namespace
}  // namespace Vex::testing
