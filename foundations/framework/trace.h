#pragma once
// Tracing: named facilities with levels 0-9.
//
//   VEX_TRACE(Controller::ferrolink, 8) << "HubstoreService::" << "handleClosed"
//                                       << " closed: " << closed();
//
// The macro tests the level before anything else: when the level is off the
// statement is one branch on a plain integer and the stream arguments are not
// evaluated. When it is on, the pieces are joined exactly as given (no blank
// added or removed) and the line goes to the process-wide sink: standard error
// by default, or whatever traceSinkIs() installed (a tool's own output, or a
// CapturingTraceSink in tests).
//
// Levels are enabled per facility by API (levelsIs) or, at start-up, by the
// environment variable VEX_TRACE: blank-separated items FACILITY/LEVELS, where
// LEVELS is a comma list of levels and ranges, e.g. VEX_TRACE="Ferrolink/5,7-8".

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <hubstore/foundations/framework/string.h>

namespace Vex {

class Entity;

class TraceHandle {
 public:
  explicit TraceHandle(const char* facility);
  TraceHandle(const TraceHandle&) = delete;
  TraceHandle& operator=(const TraceHandle&) = delete;

  const char* facility() const { return facility_; }
  bool enabled(int level) const { return (levels_ >> level) & 1u; }
  std::uint32_t levels() const { return levels_; }
  // Bit n enables level n.
  void levelsIs(std::uint32_t mask) { levels_ = mask & 0x3ffu; }

 private:
  const char* facility_;
  std::uint32_t levels_ = 0;
};

// Parses "5", "5,7", "0-8", "off" into a level mask; nullopt when malformed.
std::optional<std::uint32_t> parseTraceLevels(std::string_view text);

class TraceStream {
 public:
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
  // The entity printer: the entity's full name, or "null".
  TraceStream& operator<<(const Entity* entity);
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

class TraceSink {
 public:
  virtual ~TraceSink() = default;
  virtual void traceLine(const TraceHandle& handle, int level, std::string_view text) = 0;
};

// Installs the sink (not owned); null restores standard error.
void traceSinkIs(TraceSink* sink);
TraceSink* traceSink();

// Collects trace lines for tests, formatted "LEVEL TEXT".
class CapturingTraceSink : public TraceSink {
 public:
  void traceLine(const TraceHandle& handle, int level, std::string_view text) override;
  const std::vector<std::string>& lines() const { return lines_; }
  void clear() { lines_.clear(); }

 private:
  std::vector<std::string> lines_;
};

// One trace line under construction; emitted by the destructor.
class TraceHelper {
 public:
  TraceHelper(const TraceHandle& handle, int level) : handle_(handle), level_(level) {}
  TraceHelper(const TraceHelper&) = delete;
  TraceHelper& operator=(const TraceHelper&) = delete;
  ~TraceHelper();
  static std::optional<TraceHelper> createIfEnabled(const TraceHandle& handle, int level);
  TraceStream& stream() { return stream_; }

 private:
  const TraceHandle& handle_;
  int level_;
  TraceStream stream_;
};

}  // namespace Vex

// `switch` keeps the macro one statement that an enclosing if/else cannot
// capture; the disabled path evaluates nothing after the level test.
#define VEX_TRACE(handle, level)          \
  switch (0)                              \
  case 0:                                 \
  default:                                \
    if (!(handle).enabled(level)) {       \
    } else                                \
      ::Vex::TraceHelper((handle), (level)).stream()
