#pragma once
// Lanx::EthAddr: a 6-byte Ethernet address.
//
// stringValueIs() reads the three usual spellings, hex digits in any case:
//   00:1c:73:0a:0b:0c   00-1c-73-0a-0b-0c   001c.730a.0b0c
// and stringValue() writes the canonical one: lowercase, colon-separated.
// A text that is none of these raises Lanx::InvalidEthAddrException naming the
// text, and leaves the address unchanged.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include <hubstore/foundations/framework/exception.h>
#include <hubstore/foundations/framework/string.h>

namespace Lanx {

class InvalidEthAddrException : public Vex::Exception {
 public:
  using Vex::Exception::Exception;
  const char* typeName() const noexcept override { return "Lanx::InvalidEthAddrException"; }
};

class EthAddr {
 public:
  EthAddr() = default;
  explicit EthAddr(const std::array<std::uint8_t, 6>& bytes) : bytes_(bytes) {}

  void stringValueIs(std::string_view text);
  // The address a text spells, or nullopt: stringValueIs without the raise.
  static std::optional<EthAddr> parse(std::string_view text);
  Vex::String stringValue() const;
  // Writes the canonical text into `out` (17 characters, no terminator).
  void stringValueInto(char (&out)[17]) const;
  const std::array<std::uint8_t, 6>& bytes() const { return bytes_; }
  std::size_t hash() const;

  friend bool operator==(const EthAddr& a, const EthAddr& b) { return a.bytes_ == b.bytes_; }
  friend bool operator<(const EthAddr& a, const EthAddr& b) { return a.bytes_ < b.bytes_; }

 private:
  std::array<std::uint8_t, 6> bytes_{};
};

}  // namespace Lanx
