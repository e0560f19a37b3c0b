#pragma once
/// \class Vex::MetricsText
/// Numbers in the Prometheus text exposition format, the format that monitoring
/// systems scrape.
///
///     Vex::MetricsText metrics;
///     metrics.family("hubstore_hook_calls_total", Vex::MetricsText::counter, "Hook calls, by hook.");
///     metrics.sample("hubstore_hook_calls_total", {{"hook", "doMountsComplete"}}, std::uint64_t{3});
///     std::string text = metrics.text();
///       # HELP hubstore_hook_calls_total Hook calls, by hook.
///       # TYPE hubstore_hook_calls_total counter
///       hubstore_hook_calls_total{hook="doMountsComplete"} 3
///
/// Samples follow their family's header, all samples of one family together;
/// the writer escapes help texts and label values and writes numbers in
/// their shortest exact form, so the text round-trips.

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace Vex {

class MetricsText {
 public:
  /// A metric family's type, as its TYPE line names it.
  enum Type { counter, gauge, summary };
  /// One label of a sample: the name is written as given, the value escaped.
  struct Label {
    std::string_view name;  ///< a label name: letters, digits and '_'
    std::string_view value; ///< any text
  };

  /// Starts a family: its HELP and TYPE lines. The samples that follow, up to
  /// the next family, belong to it.
  void family(std::string_view name, Type type, std::string_view help);
  /// One sample line: `name{labels} value`. For a summary, `name` carries its
  /// suffix (`_sum`, `_count`).
  ///@{
  void sample(std::string_view name, std::initializer_list<Label> labels, double value);
  void sample(std::string_view name, std::initializer_list<Label> labels, std::uint64_t value);
  ///@}
  /// Everything written so far; each line ended by a newline.
  const std::string& text() const { return text_; }

 private:
  void labels(std::initializer_list<Label> labels);

  std::string text_;
};

}  // namespace Vex
