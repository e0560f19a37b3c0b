#include <hubstore/service/service_report.h>

#include <gtest/gtest.h>

#include <hubstore/service/hubstore_service.h>
#include <hubstore/testing/world.h>

namespace Controller {
namespace {

using ServiceReportTest = testing::World;

TEST_F(ServiceReportTest, SummarisesEachGroupInNameOrderAndCountsTheFleet) {
  auto service = serviceIs("svcA");
  auto versions = service->versionWhiteListIs("v");
  auto complete = service->serviceMountGroupIs("b", mounter);
  auto open = service->serviceMountGroupIs("a", mounter);
  open->controllerMountIs("/r", "/db/r", "T", "F");
  publishStatus->publishGroupStatusIs("b");
  mountStatus->initialMountsCompleteIs("b", true);
  complete->versionWhiteListIs(versions);
  complete->closedIs(true);
  auto first = mountStatus->systemStatusIs("00:00:00:00:00:01");
  first->serviceMountGroupStatusIs("a", mountStateMounting);
  first->serviceMountGroupStatusIs("b", mountStateMounted);
  // A group no one declared still counts in the fleet.
  mountStatus->systemStatusIs("00:00:00:00:00:02")->serviceMountGroupStatusIs("z", mountStateFailed);
  mountStatus->systemStatusIs("00:00:00:00:00:03");
  service->closedIs(true);

  ServiceReport report = service->completionReport();
  ASSERT_EQ(report.groups.size(), 2u);
  EXPECT_EQ(report.groups[0].groupName, "a");
  EXPECT_EQ(report.switches, 3u);
  EXPECT_EQ(report.groupStatuses(), 3u);
  EXPECT_EQ(report.text(),
            "service svcA: closed true, warm true, ready false\n"
            "group a: not complete; waits for closing, a version allow-list (closing requires one), "
            "mounted path prefixes, its publish group status, initial switch mounts\n"
            "group b: complete\n"
            "switches: 3, group statuses: 3: unknown 0, mounting 1, mounted 1, unmounted 0, failed 1\n");

  service->publishMountsSynchronizedIs(true);
  EXPECT_TRUE(service->completionReport().ready);
}

}  // namespace
}  // namespace Controller
