// The records share their cores; what tells them apart is the attribute each
// change is reported under, which the stores and the mount machinery read.
#include <hubstore/foundations/records/service_config_record.h>

#include <hubstore/testing/world.h>

namespace Controller::testing {
namespace {

using ConfigRecords = World;

TEST_F(ConfigRecords, EachChangeIsReportedUnderItsOwnAttribute) {
  watch("mount", mountConfig);
  watch("publish", publishConfig);
  mountConfig->warmIs(true);
  publishConfig->readyIs(true);
  publishConfig->readyIs(true);  // unchanged: not reported
  const auto mountGroup = mountConfig->mountGroupConfigIs("g");
  const auto publishGroup = publishConfig->publishGroupConfigIs("g");
  watch("mount g", mountGroup);
  watch("publish g", publishGroup);
  for (const auto& group : {Vex::Ptr<GroupConfigRecord>(mountGroup), Vex::Ptr<GroupConfigRecord>(publishGroup)}) {
    group->versionFilterIs(mountConfig->versionFilterIs("V"));
    group->systemFilterIs(mountConfig->systemFilterIs("L"));
  }
  publishConfig->readyIs(false);
  EXPECT_EQ(writes, (Log{"mount warm", "publish ready", "mount mountGroupConfig", "publish publishGroupConfig",
                         "mount versionFilter", "mount g versionFilter", "mount systemFilter", "mount g systemFilter",
                         "publish g versionFilter", "publish g systemFilter", "publish ready"}));
  EXPECT_EQ(std::tuple(mountConfig->warm(), publishConfig->ready(), publishGroup->versionFilter()),
            std::tuple(true, false, mountGroup->versionFilter()));
}

}  // namespace
}  // namespace Controller::testing
