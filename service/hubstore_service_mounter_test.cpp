#include <hubstore/service/hubstore_service_mounter.h>

#include <gtest/gtest.h>

#include <hubstore/testing/world.h>

namespace Controller::testing {
namespace {

using Mounter = World;

// The defaults (completion throws, the other hooks trace) are pinned by the
// completion and mount_states scenarios.
TEST_F(Mounter, ReflectionListsTheHooksInOrderAndInvokesTheOverride) {
  const auto& attributes = HubstoreServiceMounter::staticType().attributes();
  Log names;
  for (const auto& attribute : attributes) names.push_back(attribute.name);
  ASSERT_EQ(names, (Log{"doMountsComplete", "doHandleControllerMountState", "doInitialSwitchMountsComplete"}));
  EXPECT_EQ(Log(attributes[1].arguments.begin(), attributes[1].arguments.end()),
            (Log{"systemId", "groupName", "mountState", "em"}));

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
