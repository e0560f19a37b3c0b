#pragma once
/// \file
/// Tracing: named facilities with levels 0-9.
///
///     VEX_TRACE(Controller::ferrolink, 8) << "HubstoreService::" << "handleClosed"
///                                         << " closed: " << closed();
///
/// The macro tests the level before anything else: when the level is off the
/// statement is one branch on a plain integer and the stream arguments are not
/// evaluated. When it is on, the pieces are joined exactly as given (no blank
/// added or removed) and the line goes to the process-wide sink: standard error
/// by default, or whatever traceSinkIs() installed (a tool's own output, or a
/// CapturingTraceSink in tests).
///
/// Levels are enabled per facility by API (levelsIs) or, at start-up, by the
/// environment variable `VEX_TRACE`: blank-separated items `FACILITY/LEVELS`,
/// where LEVELS is a comma list of levels and ranges, e.g.
/// `VEX_TRACE="Ferrolink/5,7-8"`.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <hubstore/foundations/framework/string.h>

namespace Vex {

class Entity;

/// A trace facility: its name and the levels enabled for it. Facilities are
/// long-lived objects (the library's is Controller::ferrolink).
class TraceHandle {
 public:
  /// A facility named `facility` (not copied: a literal), with the levels that
  /// `VEX_TRACE` gives it at construction, or none.
  explicit TraceHandle(const char* facility);
  /// Not copyable: trace lines refer to their facility.
  ///@{
  TraceHandle(const TraceHandle&) = delete;
  TraceHandle& operator=(const TraceHandle&) = delete;
  ///@}

  /// The facility's name, as trace lines show it.
  const char* facility() const { return facility_; }
  /// Whether `level` (0-9) is enabled.
  bool enabled(int level) const { return (levels_ >> level) & 1u; }
  /// The enabled levels, bit n for level n.
  std::uint32_t levels() const { return levels_; }
  /// Enables the levels of `mask`, bit n for level n; bits above 9 are ignored.
  void levelsIs(std::uint32_t mask) { levels_ = mask & 0x3ffu; }

 private:
  const char* facility_;
  std::uint32_t levels_ = 0;
};

/// Parses "5", "5,7", "0-8", "off" into a level mask; nullopt when malformed.
std::optional<std::uint32_t> parseTraceLevels(std::string_view text);

/// The text of one trace line, joined from its pieces exactly as given.
class TraceStream {
 public:
  /// Appends a piece: texts as they are, `bool` as "true"/"false", numbers in
  /// decimal.
  ///@{
  TraceStream& operator<<(const char* text) {
    text_ += text;
    return *this;
  }
  TraceStream& operator<<(std::string_view text) {
    text_ += text;
    return *this;
  }
  TraceStream& operator<<(const String& text) {
    text_ += text.view();
    return *this;
  }
  TraceStream& operator<<(bool value) {
    text_ += value ? "true" : "false";
    return *this;
  }
  TraceStream& operator<<(unsigned value) { return *this << static_cast<unsigned long long>(value); }
  TraceStream& operator<<(unsigned long value) { return *this << static_cast<unsigned long long>(value); }
  TraceStream& operator<<(unsigned long long value) {
    text_ += std::to_string(value);
    return *this;
  }
  TraceStream& operator<<(int value) {
    text_ += std::to_string(value);
    return *this;
  }
  ///@}
  /// The entity printer: the entity's full name, or "null".
  TraceStream& operator<<(const Entity* entity);
  /// The line so far.
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

/// Where trace lines go. The default writes `FACILITY/LEVEL TEXT` lines to
/// standard error.
class TraceSink {
 public:
  /// Sinks are destroyed through this base.
  virtual ~TraceSink() = default;
  /// Receives one enabled line of `handle` at `level`; `text` is valid only
  /// for the call.
  virtual void traceLine(const TraceHandle& handle, int level, std::string_view text) = 0;
};

/// Installs the sink (not owned); null restores standard error.
void traceSinkIs(TraceSink* sink);
/// The installed sink, or the standard error one.
TraceSink* traceSink();

/// Collects trace lines for tests, formatted "LEVEL TEXT".
class CapturingTraceSink : public TraceSink {
 public:
  /// Keeps the line as "LEVEL TEXT"; the facility is not kept.
  void traceLine(const TraceHandle& handle, int level, std::string_view text) override;
  /// The lines collected since construction or the last clear().
  const std::vector<std::string>& lines() const { return lines_; }
  /// Forgets the lines collected.
  void clear() { lines_.clear(); }

 private:
  std::vector<std::string> lines_;
};

/// One trace line under construction, the temporary that VEX_TRACE builds;
/// emitted by the destructor.
class TraceHelper {
 public:
  /// Starts a line of `handle` (which must outlive it) at `level`, whether or
  /// not the level is enabled: the caller tested it.
  TraceHelper(const TraceHandle& handle, int level) : handle_(handle), level_(level) {}
  /// Not copyable: each line is emitted once.
  ///@{
  TraceHelper(const TraceHelper&) = delete;
  TraceHelper& operator=(const TraceHelper&) = delete;
  ///@}
  /// Sends the line to the installed sink.
  ~TraceHelper();
  /// A line when `level` is enabled, nothing otherwise.
  static std::optional<TraceHelper> createIfEnabled(const TraceHandle& handle, int level);
  /// The stream that collects the line's pieces.
  TraceStream& stream() { return stream_; }

 private:
  const TraceHandle& handle_;
  int level_;
  TraceStream stream_;
};

}  // namespace Vex

/// Traces one line of facility `handle` at `level`; stream the pieces after
/// it with `<<`. One statement: when the level is off, nothing after the
/// level test is evaluated.
// `switch` keeps the macro one statement that an enclosing if/else cannot
// capture.
#define VEX_TRACE(handle, level)          \
  switch (0)                              \
  case 0:                                 \
  default:                                \
    if (!(handle).enabled(level)) {       \
    } else                                \
      ::Vex::TraceHelper((handle), (level)).stream()
