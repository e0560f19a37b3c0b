#include <hubstore/foundations/framework/owner_link.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include <hubstore/foundations/framework/test_record.h>

namespace Vex::testing {
namespace {

struct Owner {
  std::string name;
  OwnerLinks links;
};

struct Member : Mortal {
  Member(Owner* owner, std::string name, std::vector<std::string>* log)
      : Mortal(std::move(name), log), owner_(owner, owner ? &owner->links : nullptr, this, &Member::ownerGone) {}
  Owner* owner() const { return owner_.get(); }
  std::function<void()> onOwnerGone;
  void ownerGone() {
    // The owner is still there to be used while its members let go.
    log_->push_back(name_ + " lets go of " + owner_->name);
    if (onOwnerGone) onOwnerGone();
  }
  OwnerLink<Owner, Member> owner_;
};

struct OwnerLink : ::testing::Test {
  Log log;
  Owner owner{"o", {}};
  Ptr<Member> a = make<Member>(&owner, "a", &log);
  Ptr<Member> b = make<Member>(&owner, "b", &log);
  Ptr<Member> c = make<Member>(&owner, "c", &log);
};

TEST_F(OwnerLink, SurvivorsAreToldInLinkOrderThenReadNull) {
  b = nullptr;  // a member that dies first just unlinks
  owner.links.ownerGone();
  EXPECT_EQ(log, (Log{"b dies", "a lets go of o", "c lets go of o"}));
  EXPECT_EQ(std::pair(a->owner(), c->owner()), (std::pair<Owner*, Owner*>()));
  EXPECT_TRUE(owner.links.empty());
  EXPECT_EQ(make<Member>(nullptr, "d", &log)->owner(), nullptr);
}

TEST_F(OwnerLink, AHandlerMayReleaseItsOwnMemberOrAnotherOne) {
  // a drops the last reference to itself and to c: a dies after its call,
  // c is never told.
  a->onOwnerGone = [&] {
    a = nullptr;
    c = nullptr;
  };
  owner.links.ownerGone();
  EXPECT_EQ(log, (Log{"a lets go of o", "c dies", "a dies", "b lets go of o"}));
  EXPECT_EQ(b->owner(), nullptr);
}

}  // namespace
}  // namespace Vex::testing
