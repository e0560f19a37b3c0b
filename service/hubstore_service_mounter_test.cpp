#include <hubstore/service/hubstore_service_mounter.h>

#include <gtest/gtest.h>

#include <hubstore/testing/world.h>

namespace Controller::testing {
namespace {

using Mounter = World;

TEST_F(Mounter, DefaultsThrowForCompletionAndOnlyTraceTheOtherHooks) {
  auto base = Vex::make<HubstoreServiceMounter>();
  try {
    base->doMountsComplete("g1", em);
    ADD_FAILURE() << "no exception";
  } catch (const Vex::InternalException& e) {
    EXPECT_STREQ(e.what(),
                 "HubstoreServiceMounter::doMountsRegisterationComplete, you must implement this function in the "
                 "derived class");
  }
  auto id = SystemId::fromString("00:1C:73:00:00:01");
  base->doHandleControllerMountState(id, "g1", mountStateMounted, em);
  base->doInitialSwitchMountsComplete("g1", em);
  EXPECT_TRUE(traces().empty());  // tracing off: no effect at all

  traceOn("8");
  base->doHandleControllerMountState(id, "g1", mountStateFailed, em);
  base->doInitialSwitchMountsComplete("g1", em);
  EXPECT_EQ(traces(), (Log{"8 HubstoreServiceMounter::doHandleControllerMountState systemId: 00:1c:73:00:00:01 "
                           "groupName: g1 mountState: failed",
                           "8 HubstoreServiceMounter::doInitialSwitchMountsComplete groupName: g1"}));
}

TEST_F(Mounter, ReflectionListsTheHooksInOrderAndInvokesTheOverride) {
  const auto& attributes = HubstoreServiceMounter::staticType().attributes();
  ASSERT_EQ(attributes.size(), 3u);
  EXPECT_STREQ(attributes[0].name, "doMountsComplete");
  EXPECT_STREQ(attributes[1].name, "doHandleControllerMountState");
  std::vector<std::string> arguments(attributes[1].arguments.begin(), attributes[1].arguments.end());
  EXPECT_EQ(arguments, (std::vector<std::string>{"systemId", "groupName", "mountState", "em"}));
  EXPECT_STREQ(attributes[2].name, "doInitialSwitchMountsComplete");

  Vex::invoke(*mounter, "doInitialSwitchMountsComplete", {{"groupName", Vex::String("g1")}, {"em", em}});
  Vex::invoke(*mounter, "doHandleControllerMountState",
              {{"systemId", SystemId::fromString("00:00:00:00:00:02")},
               {"groupName", Vex::String("g2")},
               {"mountState", mountStateMounting},
               {"em", em}});
  EXPECT_EQ(hooks, (Log{"doInitialSwitchMountsComplete g1",
                        "doHandleControllerMountState 00:00:00:00:00:02 g2 mounting"}));
  EXPECT_THROW(Vex::invoke(*mounter, "doMountsComplete", {{"groupName", Vex::String("g1")}}),
               Vex::InternalException);  // `em` missing
  EXPECT_THROW(Vex::invoke(*mounter, "doMountsComplete", {{"groupName", 7}, {"em", em}}), Vex::InternalException);
  EXPECT_EQ(hooks.size(), 2u);
}

}  // namespace
}  // namespace Controller::testing
