#include <hubstore/foundations/platform/eth_addr.h>

#include <string>

namespace Lanx {

namespace {

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Reads 2*count hex digits as `count` bytes into `out`.
bool readHex(std::string_view text, std::uint8_t* out, std::size_t count) {
  if (text.size() != count * 2) return false;
  for (std::size_t i = 0; i < count; ++i) {
    int high = hexDigit(text[2 * i]);
    int low = hexDigit(text[2 * i + 1]);
    if (high < 0 || low < 0) return false;
    out[i] = static_cast<std::uint8_t>(high << 4 | low);
  }
  return true;
}

std::optional<std::array<std::uint8_t, 6>> parseBytes(std::string_view text) {
  std::array<std::uint8_t, 6> bytes{};
  if (text.size() == 17 && (text[2] == ':' || text[2] == '-')) {
    const char separator = text[2];
    for (std::size_t i = 0; i < 6; ++i) {
      if (i > 0 && text[3 * i - 1] != separator) return std::nullopt;
      if (!readHex(text.substr(3 * i, 2), &bytes[i], 1)) return std::nullopt;
    }
    return bytes;
  }
  if (text.size() == 14 && text[4] == '.' && text[9] == '.') {
    for (std::size_t i = 0; i < 3; ++i) {
      if (!readHex(text.substr(5 * i, 4), &bytes[2 * i], 2)) return std::nullopt;
    }
    return bytes;
  }
  return std::nullopt;
}

}  // namespace

std::optional<EthAddr> EthAddr::parse(std::string_view text) {
  const auto bytes = parseBytes(text);
  if (!bytes) return std::nullopt;
  return EthAddr(*bytes);
}

void EthAddr::stringValueIs(std::string_view text) {
  auto bytes = parseBytes(text);
  if (!bytes) {
    throw InvalidEthAddrException(Vex::String("invalid Ethernet address '" + std::string(text) + "'"));
  }
  bytes_ = *bytes;
}

void EthAddr::stringValueInto(char (&out)[17]) const {
  static constexpr char digits[] = "0123456789abcdef";
  for (std::size_t i = 0; i < 6; ++i) {
    out[3 * i] = digits[bytes_[i] >> 4];
    out[3 * i + 1] = digits[bytes_[i] & 0xf];
    if (i < 5) out[3 * i + 2] = ':';
  }
}

Vex::String EthAddr::stringValue() const {
  char text[17];
  stringValueInto(text);
  return Vex::String(text, sizeof text);
}

std::size_t EthAddr::hash() const {
  std::uint64_t value = 0;
  for (std::uint8_t b : bytes_) value = value << 8 | b;
  return std::hash<std::uint64_t>()(value);
}

}  // namespace Lanx
