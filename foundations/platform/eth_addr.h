#pragma once
/// \class Lanx::EthAddr
/// A 6-byte Ethernet address.
///
/// stringValueIs() reads the three usual spellings, hex digits in any case:
///     00:1c:73:0a:0b:0c   00-1c-73-0a-0b-0c   001c.730a.0b0c
/// and stringValue() writes the canonical one: lowercase, colon-separated.
/// A text that is none of these raises Lanx::InvalidEthAddrException naming the
/// text, and leaves the address unchanged.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include <hubstore/foundations/framework/exception.h>
#include <hubstore/foundations/framework/string.h>

namespace Lanx {

/// A text that spells no Ethernet address; the message names the text.
class InvalidEthAddrException : public Vex::Exception {
 public:
  using Vex::Exception::Exception;
  /// "Lanx::InvalidEthAddrException".
  const char* typeName() const noexcept override { return "Lanx::InvalidEthAddrException"; }
};

class EthAddr {
 public:
  /// 00:00:00:00:00:00.
  EthAddr() = default;
  /// The address of these six bytes, first byte first.
  explicit EthAddr(const std::array<std::uint8_t, 6>& bytes) : bytes_(bytes) {}

  /// Takes the address `text` spells; raises InvalidEthAddrException, and
  /// keeps the address, when it spells none.
  void stringValueIs(std::string_view text);
  /// The address a text spells, or nullopt: stringValueIs without the raise.
  static std::optional<EthAddr> parse(std::string_view text);
  /// The canonical text: lowercase, colon-separated.
  Vex::String stringValue() const;
  /// Writes the canonical text into `out` (17 characters, no terminator).
  void stringValueInto(char (&out)[17]) const;
  /// The six bytes, first byte first.
  const std::array<std::uint8_t, 6>& bytes() const { return bytes_; }
  /// A hash of the six bytes.
  std::size_t hash() const;

  /// Equality and order of the bytes, first byte first.
  ///@{
  friend bool operator==(const EthAddr& a, const EthAddr& b) { return a.bytes_ == b.bytes_; }
  friend bool operator<(const EthAddr& a, const EthAddr& b) { return a.bytes_ < b.bytes_; }
  ///@}

 private:
  std::array<std::uint8_t, 6> bytes_{};
};

}  // namespace Lanx
