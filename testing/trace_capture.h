#pragma once
/// \class Controller::testing::TraceCapture
/// Collects the library's trace lines for
/// the length of a scope, as "LEVEL TEXT":
///
///     TraceCapture trace("5,7-8");          // these levels of Ferrolink, from now
///     group->closedIs(true);
///     EXPECT_EQ(trace.lines().back(), "5 doCheckMountAndPublishStatus : no mounter");
///
/// It installs itself as the trace sink and restores the previous sink and
/// levels when it goes. Levels are written as VEX_TRACE writes them.

#include <cstdint>
#include <string>
#include <vector>

#include <hubstore/foundations/framework/trace.h>

namespace Controller::testing {

class TraceCapture {
 public:
  /// Installs itself as the sink with these levels of Ferrolink enabled.
  /// Raises std::invalid_argument for malformed levels.
  explicit TraceCapture(const std::string& levels = "off");
  /// Restores the previous sink and levels.
  ~TraceCapture();
  /// Not copyable: it is the installed sink.
  ///@{
  TraceCapture(const TraceCapture&) = delete;
  TraceCapture& operator=(const TraceCapture&) = delete;
  ///@}

  /// Enables these levels instead and forgets the lines so far.
  void levelsIs(const std::string& levels);
  /// The lines captured, "LEVEL TEXT".
  const std::vector<std::string>& lines() const { return sink_.lines(); }
  /// Forgets the lines captured.
  void clear() { sink_.clear(); }

 private:
  Vex::CapturingTraceSink sink_;
  Vex::TraceSink* previousSink_;
  std::uint32_t previousLevels_;
};

}  // namespace Controller::testing
