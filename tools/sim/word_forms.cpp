#include "tools/sim/word_forms.h"

#include <array>
#include <cstdint>
#include <span>

namespace hubstore::sim {
namespace {

bool isHex(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') ||
         (c >= 'A' && c <= 'F');
}

constexpr std::array<std::string_view, 5> kRecordTypes = {
    "Hubstore::Status", "Controller::ServiceMountConfig",
    "Controller::ServiceMountStatus", "Controller::ServicePublishConfig",
    "Controller::ServicePublishStatus"};

}  // namespace

bool isBool(std::string_view s) { return s == "true" || s == "false"; }

bool isMountState(std::string_view s) {
  return s == "unknown" || s == "mounting" || s == "mounted" ||
         s == "unmounted" || s == "failed";
}

bool isU32(std::string_view s) {
  if (s.empty()) return false;
  std::uint64_t value = 0;
  for (char c : s) {
    if (c < '0' || c > '9') return false;
    value = value * 10 + static_cast<unsigned>(c - '0');
    if (value > UINT32_MAX) return false;
  }
  return true;
}

bool isEthernetAddress(std::string_view s) {
  std::size_t group;
  char sep;
  if (s.size() == 17) {
    group = 2;
    sep = s[2];
    if (sep != ':' && sep != '-') return false;
  } else if (s.size() == 14) {
    group = 4;
    sep = '.';
  } else {
    return false;
  }
  for (std::size_t i = 0; i < s.size(); ++i) {
    const bool atSep = (i + 1) % (group + 1) == 0;
    if (atSep ? s[i] != sep : !isHex(s[i])) return false;
  }
  return true;
}

std::optional<std::string> qualifiedRecordType(std::string_view type) {
  for (std::string_view q : kRecordTypes) {
    if (type == q || type == q.substr(q.find("::") + 2)) return std::string(q);
  }
  return std::nullopt;
}

std::optional<std::pair<std::string, std::string>> splitAssignment(
    const Word& word) {
  const std::span<const Char> chars(word.chars);
  for (std::size_t i = 0; i < chars.size(); ++i) {
    if (!chars[i].quoted && chars[i].c == '=') {
      return std::pair{textOf(chars.first(i)), textOf(chars.subspan(i + 1))};
    }
  }
  return std::nullopt;
}


std::optional<unsigned> parseTraceLevels(std::string_view text) {
  if (text == "off") return 0u;
  std::size_t i = 0;
  auto level = [&]() -> std::optional<unsigned> {
    const std::size_t start = i;
    unsigned value = 0;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9') {
      value = value * 10 + static_cast<unsigned>(text[i++] - '0');
      if (value > 9) return std::nullopt;
    }
    if (i == start) return std::nullopt;
    return value;
  };
  unsigned mask = 0;
  while (true) {
    const auto low = level();
    if (!low) return std::nullopt;
    auto high = low;
    if (i < text.size() && text[i] == '-') {
      ++i;
      high = level();
      if (!high || *high < *low) return std::nullopt;
    }
    for (unsigned l = *low; l <= *high; ++l) mask |= 1u << l;
    if (i == text.size()) return mask;
    if (text[i++] != ',') return std::nullopt;
  }
}

}  // namespace hubstore::sim
