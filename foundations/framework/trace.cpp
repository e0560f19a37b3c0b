#include <hubstore/foundations/framework/trace.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <hubstore/foundations/framework/entity.h>

namespace Vex {

namespace {

TraceSink* installedSink = nullptr;

class StandardErrorSink : public TraceSink {
 public:
  void traceLine(const TraceHandle& handle, int level, std::string_view text) override {
    std::fprintf(stderr, "%s/%d %.*s\n", handle.facility(), level, static_cast<int>(text.size()), text.data());
  }
};

// Applies VEX_TRACE's item for this facility, if any.
std::uint32_t levelsFromEnvironment(const char* facility) {
  const char* env = std::getenv("VEX_TRACE");
  if (!env) return 0;
  std::string_view items(env);
  std::string_view prefix(facility);
  while (!items.empty()) {
    std::size_t start = items.find_first_not_of(" \t");
    if (start == std::string_view::npos) break;
    items.remove_prefix(start);
    std::size_t end = items.find_first_of(" \t");
    std::string_view item = items.substr(0, end);
    items.remove_prefix(end == std::string_view::npos ? items.size() : end);
    if (item.size() > prefix.size() && item.substr(0, prefix.size()) == prefix && item[prefix.size()] == '/') {
      if (auto mask = parseTraceLevels(item.substr(prefix.size() + 1))) return *mask;
    }
  }
  return 0;
}

}  // namespace

TraceHandle::TraceHandle(const char* facility) : facility_(facility), levels_(levelsFromEnvironment(facility)) {}

std::optional<std::uint32_t> parseTraceLevels(std::string_view text) {
  if (text == "off") return 0u;
  if (text.empty()) return std::nullopt;
  std::uint32_t mask = 0;
  while (true) {
    std::size_t comma = text.find(',');
    std::string_view item = text.substr(0, comma);
    auto level = [](std::string_view digit) -> int {
      return digit.size() == 1 && digit[0] >= '0' && digit[0] <= '9' ? digit[0] - '0' : -1;
    };
    std::size_t dash = item.find('-');
    int low = level(item.substr(0, dash));
    int high = dash == std::string_view::npos ? low : level(item.substr(dash + 1));
    if (low < 0 || high < low) return std::nullopt;
    for (int l = low; l <= high; ++l) mask |= 1u << l;
    if (comma == std::string_view::npos) return mask;
    text.remove_prefix(comma + 1);
  }
}

TraceStream& TraceStream::operator<<(const Entity* entity) {
  if (entity) {
    text_ += entity->fullName().view();
  } else {
    text_ += "null";
  }
  return *this;
}

void traceSinkIs(TraceSink* sink) { installedSink = sink; }

TraceSink* traceSink() {
  static StandardErrorSink standardError;
  return installedSink ? installedSink : &standardError;
}

void CapturingTraceSink::traceLine(const TraceHandle&, int level, std::string_view text) {
  lines_.push_back(std::to_string(level) + " " + std::string(text));
}

std::optional<TraceHelper> TraceHelper::createIfEnabled(const TraceHandle& handle, int level) {
  if (!handle.enabled(level)) return std::nullopt;
  return std::optional<TraceHelper>(std::in_place, handle, level);
}

TraceHelper::~TraceHelper() { traceSink()->traceLine(handle_, level_, stream_.text()); }

}  // namespace Vex
