#include "tools/sim/timeline.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <sstream>

#include "tools/sim/output.h"
#include "tools/sim/simulator.h"

namespace hubstore::sim {
namespace {

using Lines = std::vector<std::string>;

// Runs `text` in a fresh simulated world, recording into `timeline`; its
// transcript goes nowhere.
int run(Timeline& timeline, const std::string& text) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> sink(std::tmpfile(), std::fclose);
  Output out(sink.get());
  Simulator simulator(out);
  simulator.timelineIs(&timeline);
  ParseResult parsed = parseScenario("t.scn", text);
  EXPECT_EQ(parsed.errors, std::vector<std::string>{});
  return simulator.run(parsed.commands, sink.get());
}

// What the timeline holds besides its steps, a line each: "change STEP SYSTEM
// GROUP STATE" (STATE -1 for no status), "hook STEP HOOK GROUP SYSTEM" and
// "error STEP MESSAGE".
Lines recorded(const Timeline& timeline) {
  Lines out;
  for (const Timeline::Change& c : timeline.changes()) {
    out.push_back("change " + std::to_string(c.step) + " " + c.system + " " + c.group + " " + std::to_string(c.state));
  }
  for (const Timeline::Hook& hook : timeline.hooks()) {
    out.push_back("hook " + std::to_string(hook.step) + " " + std::string(mounterHookName(hook.call.hook)) + " " +
                  hook.call.group + (hook.call.system.empty() ? "" : " " + hook.call.system));
  }
  for (const Timeline::Error& e : timeline.errors()) out.push_back("error " + std::to_string(e.step) + " " + e.message);
  return out;
}

const std::string kWorld = "agent agentB\nrecords\nmounter m1\nservice svcA\n";

TEST(TimelineRecording, KeepsEachStepsStateChangesWhoeverWroteThem) {
  Timeline timeline;
  const int status = run(timeline, kWorld +
                                       "group g1 m1\n"
                                       "systemStatus 00:1c:73:00:00:01 g1=mounting g2=unknown\n"  // step 5
                                       "mountState 00:1c:73:00:00:01 g1 mounting\n"               // unchanged
                                       // A hook's command writes another switch within the step.
                                       "when m1 doHandleControllerMountState g1 systemStatus 00:1c:73:00:00:02 g2=failed\n"
                                       "mountState  00:1c:73:00:00:01  g1 mounted\n"  // step 8
                                       "whenDel m1\n"
                                       "serviceMountGroupStatusDel 00:1c:73:00:00:02 g2\n"  // step 10
                                       "serviceMountGroupStatus 00:1c:73:00:00:02 g3 mounted\n"
                                       "systemStatusDel 00:1c:73:00:00:01\n"  // step 12
                                       "records\n"                            // the status records anew
                                       "groupDel nothing\n");
  EXPECT_EQ(status, 1);
  EXPECT_EQ(recorded(timeline),
            (Lines{"change 5 00:1c:73:00:00:01 g1 1", "change 5 00:1c:73:00:00:01 g2 0",
                     "change 8 00:1c:73:00:00:01 g1 2", "change 8 00:1c:73:00:00:02 g2 4",
                     "change 10 00:1c:73:00:00:02 g2 -1", "change 11 00:1c:73:00:00:02 g3 2",
                     "change 12 00:1c:73:00:00:01 g1 -1", "change 12 00:1c:73:00:00:01 g2 -1",
                     "change 13 00:1c:73:00:00:02 g3 -1", "hook 5 doHandleControllerMountState g1 00:1c:73:00:00:01",
                     "hook 8 doHandleControllerMountState g1 00:1c:73:00:00:01",
                     "error 14 t.scn:15: error: unknown group nothing"}));
  ASSERT_EQ(timeline.steps().size(), 15u) << "the step that could not run is kept";
  EXPECT_EQ(std::to_string(timeline.steps()[8].line) + " " + timeline.steps()[8].text,
            "9 mountState 00:1c:73:00:00:01 g1 mounted");
  EXPECT_EQ(timeline.groups(), (std::set<std::string>{"g1", "g2", "g3"}));
}

TEST(TimelineRecording, MarksCompletionsAndExceptionsOnTheirStep) {
  Timeline timeline;
  run(timeline, kWorld +
                    "mounter d default\nversionWhiteList v\ngroup g1 m1\ngroup g2 d\n"
                    "groupVersionWhiteList g1 v\ngroupVersionWhiteList g2 v\npublishGroupStatus g1\n"
                    "publishGroupStatus g2\ninitialMountsComplete g1 true\n"
                    "groupClosed g1 true\n"    // step 13
                    "groupClosed g2 true\n");  // step 14: the default mounter throws
  EXPECT_EQ(recorded(timeline), (Lines{"hook 13 doMountsComplete g1", "hook 13 doInitialSwitchMountsComplete g1",
                                       "error 14 Vex::InternalException: HubstoreServiceMounter::"
                                       "doMountsRegisterationComplete, you must implement this function in the "
                                       "derived class"}));
}

TEST(TimelinePage, PutsTheDataInThePageWhereNoScriptEndCanHide) {
  Timeline timeline;
  run(timeline, kWorld + "echo </script><script>alert(1)</script>\n"
                         "systemStatus 00:1C:73:00:00:01 g1=mounted\ngroup g1 m1\n"
                         "mountState 00:1C:73:00:00:01 g1 failed\n");
  std::ostringstream page;
  timeline.writeHtml(page, "a \"quoted\" <title>");
  const std::string html = page.str();
  EXPECT_EQ(html.rfind("<!doctype html>", 0), 0u);
  // The hook names the switch by its SystemId's spelling, lower case: it is
  // still switch 0; step 7, group 0, doHandleControllerMountState, failed.
  for (const char* data : {"\\u003c/script>\\u003cscript>alert(1)", "{\"title\":\"a \\\"quoted\\\" \\u003ctitle>\"",
                           "\"switches\":[\"00:1C:73:00:00:01\"]", "\"hooks\":[7,0,0,0,4]"}) {
    EXPECT_NE(html.find(data), std::string::npos) << data;
  }
  // No script end but the page's own, and nothing fetched.
  for (const char* absent : {"@TIMELINE_DATA@", "alert(1)</script>", "http"}) {
    EXPECT_EQ(html.find(absent), std::string::npos) << absent;
  }
}

}  // namespace
}  // namespace hubstore::sim
