#include <hubstore/mountgroup/mount_group_report.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include <hubstore/mountgroup/test_mount_group.h>

namespace Controller::testing {
namespace {

using Wait = MountGroupReport::Wait;

using Report = MountGroupWorld;

TEST_F(Report, SaysCompleteExactlyWhenTheCheckReportsAndChangesNothing) {
  // Every state a group can be in as far as completion goes, one code each,
  // read digit by digit: closed, a mounter, the group status present, the
  // shape (0 whole, 1 publish status unwatched, 2 mount configuration only,
  // 3 publish configuration only, 4 neither), then for controller mount a0,
  // publish mount /p0, a1 and /p1 each: absent, present, or present with its
  // path prefix or publish status.
  constexpr int kStates = 2 * 2 * 2 * 5 * 81;
  int completeStates = 0;
  for (int code = 0; code < kStates; ++code) {
    SCOPED_TRACE(code);
    int rest = code;
    auto digit = [&rest](int base) {
      const int value = rest % base;
      rest /= base;
      return value;
    };
    const bool closed = digit(2);
    group = service->serviceMountGroupIs("g1", digit(2) ? mounter : nullptr);
    if (digit(2)) publishStatus->publishGroupStatusIs("g1");
    const int shape = digit(5);
    for (const std::string i : {"0", "1"}) {
      const int mount = digit(3);
      const int publish = digit(3);
      if (mount > 0) group->controllerMountIs("a" + i, "/db/a" + i, "T", "F");
      if (mount > 1) mountStatus->mountedPathPrefixIs("a" + i, "/mnt/a" + i);
      if (publish > 0) group->publishMountIs("/p" + i, "/sw/p" + i, "T");
      if (publish > 1) publishStatus->publishGroupStatusIs("g1")->publishStatusIs("/p" + i);
    }
    if (closed) close();
    // Taken away after closing, which needs both configurations.
    const Vex::Ptr<ServiceMountGroupConfig> mountGroupConfig = group->mountGroupConfig();
    const Vex::Ptr<ServicePublishGroupConfig> publishGroupConfig = group->publishGroupConfig();
    if (shape == 1) group->publishStatusDel();
    if (shape == 2 || shape == 4) group->publishGroupConfigIs(nullptr);
    if (shape == 3 || shape == 4) group->mountGroupConfigIs(nullptr);

    for (const auto& record : std::initializer_list<Vex::Ptr<const Vex::PtrInterface>>{
             mountConfig, publishConfig, mountGroupConfig, publishGroupConfig, mountStatus, publishStatus}) {
      watch("", record);
    }
    traceOn("0-9");
    hooks.clear();
    const MountGroupReport report = group->completionReport();
    EXPECT_EQ(traces().size() + hooks.size() + writes.size(), 0u) << "a report traces, tells and writes nothing";
    watchDelAll();

    group->doCheckMountAndPublishStatus();
    const char* reported = "5 doCheckMountAndPublishStatus : publish/mount complete for g1";
    EXPECT_EQ(report.complete(), std::ranges::count(traces(), std::string(reported)) > 0);
    EXPECT_EQ(report.toldToMounter(), std::ranges::count(hooks, "doMountsComplete g1") > 0);
    // Complete exactly when nothing but the initial switch mounts is awaited.
    const auto initialSwitchMounts = [](Wait wait) { return wait == Wait::initialSwitchMounts; };
    EXPECT_EQ(report.complete(), std::ranges::all_of(report.waitsFor(), initialSwitchMounts));
    completeStates += report.complete();
    if (shape == 0) {
      // The records alone say the same, but for what only the agent knows.
      const MountGroupReport fromRecords = MountGroupReport::ofRecords(
          {mountConfig.get(), publishConfig.get(), mountStatus.get(), publishStatus.get()}, "g1");
      std::vector<Wait> recordWaits = report.waitsFor();
      std::erase_if(recordWaits, [](Wait wait) { return wait == Wait::close || wait == Wait::versionWhiteList; });
      EXPECT_EQ(fromRecords.waitsFor(), recordWaits);
      EXPECT_TRUE(!closed || fromRecords.complete() == report.complete()) << "closed, the records decide alike";
    }

    trace.levelsIs("off");
    group->mountGroupConfigIs(mountGroupConfig);
    group->publishGroupConfigIs(publishGroupConfig);
    group = nullptr;
    service->serviceMountGroupDel("g1");
    service->versionWhiteListDel("v");
    for (const char* remote : {"a0", "a1"}) mountStatus->mountedPathPrefixDel(remote);
    publishStatus->publishGroupStatusDel("g1");
  }
  EXPECT_GT(completeStates, 0);
  EXPECT_LT(completeStates, kStates);
}

// The report's text at each step of a group's life is pinned by the
// explain_waits and explain_completes scenarios, with the sim's limit of ten.
TEST_F(Report, ListsAtMostTheLimitInKeyOrderAndCountsEveryState) {
  group = service->serviceMountGroupIs("g1", mounter);
  for (const char* remote : {"c", "a", "b"}) group->controllerMountIs(remote, "/db", "T", "F");
  mountStatus->mountedPathPrefixIs("b", "/mnt/b");
  group->publishMountIs("/p2", "/sw", "T");
  group->publishMountIs("/p1", "/sw", "T");
  publishStatus->publishGroupStatusIs("g1")->publishStatusIs("/p1");
  mountStatus->systemStatusIs("00:00:00:00:00:03")->serviceMountGroupStatusIs("g1", mountStateFailed);
  mountStatus->systemStatusIs("00:00:00:00:00:02")->serviceMountGroupStatusIs("g1", mountStateMounting);
  mountStatus->systemStatusIs("00:00:00:00:00:05")->serviceMountGroupStatusIs("g1", mountStateUnknown);
  const MountGroupReport report = group->completionReport(1);
  EXPECT_EQ(report.waitsFor(),
            (std::vector<Wait>{Wait::close, Wait::versionWhiteList, Wait::pathPrefix, Wait::publishedPaths,
                               Wait::initialSwitchMounts}));
  const std::string text = report.text();
  EXPECT_NE(text.find("controller mounts: 3, without a mounted path prefix: 2: a and 1 more\n"), std::string::npos);
  EXPECT_NE(text.find("publish mounts: 2, without a publish status: 1: /p2\n"), std::string::npos);
  EXPECT_NE(text.find("switches: 3: unknown 1, mounting 1, mounted 0, unmounted 0, failed 1\n"
                      "switches not mounted: 3: 00:00:00:00:00:02 mounting and 2 more\n"),
            std::string::npos)
      << text;
}

TEST_F(Report, AGroupTheServiceLetGoTellsNobodyAndAnOrphanNeverCompletes) {
  closedGroupIs();
  mountStatus->initialMountsCompleteIs("g1", true);
  mountStatus->systemStatusIs("00:00:00:00:00:01")->serviceMountGroupStatusIs("g1", mountStateMounted);
  service->serviceMountGroupDel("g1");
  hooks.clear();
  group->doCheckMountAndPublishStatus();
  MountGroupReport report = group->completionReport();
  EXPECT_FALSE(report.toldToMounter());
  EXPECT_EQ(hooks, Log{}) << "the check, too, tells nobody";
  EXPECT_EQ(report.summary(), "group g1: complete; not held by its service, nobody is told");

  service = nullptr;
  report = group->completionReport();
  EXPECT_EQ(report.waitsFor(), std::vector<Wait>{Wait::service});
  EXPECT_EQ(report.switches(), 0u) << "an orphan reads no service record";
  EXPECT_EQ(report.summary(), "group g1: orphaned; its service is gone, it never completes");
}

TEST_F(Report, AClosedGroupWithoutAMountStatusWaitsForOneWhereTheCheckWouldAbort) {
  closedGroupIs();
  group->controllerMountIs("a", "/db/a", "T", "F");
  mountStatus->mountedPathPrefixIs("a", "/mnt/a");
  group->mountStatusDel();
  const MountGroupReport report = group->completionReport();
  EXPECT_EQ(report.waitsFor(), (std::vector<Wait>{Wait::mountStatus, Wait::initialSwitchMounts}));
  EXPECT_NE(report.text().find("controller mounts: 1, without a mounted path prefix: 1 (no mount status): a\n"),
            std::string::npos);
}

TEST(MountGroupReportText, NamesEveryFactAndQuotesWhatWouldNotReadBack) {
  MountGroupReport report;
  report.groupName = "my group";
  report.closed = true;
  report.versionWhiteList = "";
  report.hasPublishGroupConfig = true;
  report.publishMounts = 3;
  report.withoutPublishStatus = {{"/a,b", "/c"}, 3};
  report.initialMountsComplete = true;
  report.switchesNotMounted = {{{"sw;1", mountStateFailed}}, 1};
  report.switchesByState[mountStateFailed] = 1;
  EXPECT_EQ(report.text(),
            "group \"my group\": not complete; waits for the service publish status\n"
            "closed: true\n"
            "version allow-list: \"\"\n"
            "controller mounts: no mount group configuration\n"
            "publish mounts: 3, without a publish status: 3: \"/a,b\", /c and 1 more\n"
            "publish group status: no publish status\n"
            "mounter: none\n"
            "initial switch mounts: complete\n"
            "switches: 1: unknown 0, mounting 0, mounted 0, unmounted 0, failed 1\n"
            "switches not mounted: 1: \"sw;1\" failed\n");
  EXPECT_EQ(reportQuoted("a\"b\\c"), "\"a\\\"b\\\\c\"");

  MountGroupReport empty;
  empty.groupName = "g";
  empty.closed = true;
  empty.initialMountsComplete = true;
  EXPECT_EQ(empty.summary(), "group g: not complete; waits for a group configuration");
}

}  // namespace
}  // namespace Controller::testing
