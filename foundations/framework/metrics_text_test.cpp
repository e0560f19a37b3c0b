#include <hubstore/foundations/framework/metrics_text.h>

#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

namespace {

TEST(MetricsTextTest, WritesFamiliesAndSamplesEscapingTextsAndSpecialNumbers) {
  Vex::MetricsText metrics;
  metrics.family("hubstore_hook_calls_total", Vex::MetricsText::counter, "Hook calls, by hook.");
  metrics.sample("hubstore_hook_calls_total", {{"service", "svcA"}, {"hook", "doMountsComplete"}}, std::uint64_t{3});
  metrics.sample("hubstore_hook_calls_total", {}, std::uint64_t{18446744073709551615u});
  metrics.family("hubstore_hook_duration_seconds", Vex::MetricsText::summary, "Time in hooks.");
  metrics.sample("hubstore_hook_duration_seconds_sum", {}, 0.000125);
  // Label values may hold anything a group name holds; help texts may not
  // break their line.
  metrics.family("hubstore_g", Vex::MetricsText::gauge, "a \\ b\nc \"d\"");
  metrics.sample("hubstore_g", {{"group", "say \"hi\"\\\n"}}, std::numeric_limits<double>::infinity());
  metrics.sample("hubstore_g", {}, -std::numeric_limits<double>::infinity());
  metrics.sample("hubstore_g", {}, std::numeric_limits<double>::quiet_NaN());
  metrics.sample("hubstore_g", {}, 1e21);
  EXPECT_EQ(metrics.text(),
            "# HELP hubstore_hook_calls_total Hook calls, by hook.\n"
            "# TYPE hubstore_hook_calls_total counter\n"
            "hubstore_hook_calls_total{service=\"svcA\",hook=\"doMountsComplete\"} 3\n"
            "hubstore_hook_calls_total 18446744073709551615\n"
            "# HELP hubstore_hook_duration_seconds Time in hooks.\n"
            "# TYPE hubstore_hook_duration_seconds summary\n"
            "hubstore_hook_duration_seconds_sum 0.000125\n"
            "# HELP hubstore_g a \\\\ b\\nc \"d\"\n"
            "# TYPE hubstore_g gauge\n"
            "hubstore_g{group=\"say \\\"hi\\\"\\\\\\n\"} +Inf\n"
            "hubstore_g -Inf\n"
            "hubstore_g NaN\n"
            "hubstore_g 1e+21\n");
}

}  // namespace
