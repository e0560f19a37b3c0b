#include "tools/sim/timeline.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>

#include "tools/sim/output.h"
#include "tools/sim/simulator.h"

namespace hubstore::sim {
namespace {

using Changes = std::vector<std::string>;

// Runs `text` in a fresh simulated world, recording into `timeline`.
int run(Timeline& timeline, const std::string& text) {
  std::FILE* sink = std::tmpfile();
  int status;
  {
    Output out(sink);
    Simulator simulator(out);
    simulator.timelineIs(&timeline);
    ParseResult parsed = parseScenario("t.scn", text);
    EXPECT_EQ(parsed.errors, std::vector<std::string>{});
    status = simulator.run(parsed.commands, sink);
  }
  std::fclose(sink);
  return status;
}

// "STEP SYSTEM GROUP STATE", STATE -1 for no status.
Changes changesOf(const Timeline& timeline) {
  Changes out;
  for (const Timeline::Change& c : timeline.changes()) {
    out.push_back(std::to_string(c.step) + " " + c.system + " " + c.group + " " + std::to_string(c.state));
  }
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
  EXPECT_EQ(changesOf(timeline), (Changes{"5 00:1c:73:00:00:01 g1 1", "5 00:1c:73:00:00:01 g2 0",
                                          "8 00:1c:73:00:00:01 g1 2", "8 00:1c:73:00:00:02 g2 4",
                                          "10 00:1c:73:00:00:02 g2 -1", "11 00:1c:73:00:00:02 g3 2",
                                          "12 00:1c:73:00:00:01 g1 -1", "12 00:1c:73:00:00:01 g2 -1",
                                          "13 00:1c:73:00:00:02 g3 -1"}));
  ASSERT_EQ(timeline.steps().size(), 15u) << "the step that could not run is kept";
  EXPECT_EQ(timeline.steps()[8].text, "mountState 00:1c:73:00:00:01 g1 mounted");
  EXPECT_EQ(timeline.steps()[8].line, 9);
  EXPECT_EQ(timeline.groups(), (std::set<std::string>{"g1", "g2", "g3"}));
  ASSERT_EQ(timeline.hooks().size(), 2u);
  EXPECT_EQ(timeline.hooks()[1].step, 8u);
  EXPECT_EQ(timeline.hooks()[1].call.system, "00:1c:73:00:00:01");
  ASSERT_EQ(timeline.errors().size(), 1u);
  EXPECT_EQ(timeline.errors()[0].step, 14u);
  EXPECT_EQ(timeline.errors()[0].message, "t.scn:15: error: unknown group nothing");
}

TEST(TimelineRecording, MarksCompletionsAndExceptionsOnTheirStep) {
  Timeline timeline;
  run(timeline, kWorld +
                    "mounter d default\nversionWhiteList v\ngroup g1 m1\ngroup g2 d\n"
                    "groupVersionWhiteList g1 v\ngroupVersionWhiteList g2 v\npublishGroupStatus g1\n"
                    "publishGroupStatus g2\ninitialMountsComplete g1 true\n"
                    "groupClosed g1 true\n"    // step 13
                    "groupClosed g2 true\n");  // step 14: the default mounter throws
  std::vector<std::string> hooks;
  for (const Timeline::Hook& hook : timeline.hooks()) {
    hooks.push_back(std::to_string(hook.step) + " " + std::string(mounterHookName(hook.call.hook)) + " " +
                    hook.call.group);
  }
  EXPECT_EQ(hooks, (std::vector<std::string>{"13 doMountsComplete g1", "13 doInitialSwitchMountsComplete g1"}));
  ASSERT_EQ(timeline.errors().size(), 1u);
  EXPECT_EQ(timeline.errors()[0].step, 14u);
  EXPECT_EQ(timeline.errors()[0].message.rfind("Vex::InternalException: ", 0), 0u) << timeline.errors()[0].message;
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
  EXPECT_EQ(html.find("@TIMELINE_DATA@"), std::string::npos);
  EXPECT_EQ(html.find("alert(1)</script>"), std::string::npos);
  EXPECT_NE(html.find("\\u003c/script>\\u003cscript>alert(1)"), std::string::npos);
  EXPECT_NE(html.find("{\"title\":\"a \\\"quoted\\\" \\u003ctitle>\""), std::string::npos);
  EXPECT_NE(html.find("\"switches\":[\"00:1C:73:00:00:01\"]"), std::string::npos);
  // The hook names the switch by its SystemId's spelling, lower case: it is
  // still switch 0; step 7, group 0, doHandleControllerMountState, failed.
  EXPECT_NE(html.find("\"hooks\":[7,0,0,0,4]"), std::string::npos) << html.substr(html.find("\"hooks\""), 60);
  EXPECT_EQ(html.find("http"), std::string::npos) << "the page fetches nothing";
}

}  // namespace
}  // namespace hubstore::sim
