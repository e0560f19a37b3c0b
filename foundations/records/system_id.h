#pragma once
/// \class Controller::SystemId
/// The identity of one managed switch, its Ethernet address. Switch records are
/// named by the address's text form.

#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>

#include <hubstore/foundations/platform/eth_addr.h>

namespace Controller {

class SystemId {
 public:
  /// The all-zero address.
  SystemId() = default;
  /// The switch with address `addr`.
  explicit SystemId(const Lanx::EthAddr& addr) : addr_(addr) {}
  /// Parses a switch name; raises Lanx::InvalidEthAddrException when it is not
  /// an Ethernet address.
  static SystemId fromString(std::string_view text) {
    SystemId id;
    id.addr_.stringValueIs(text);
    return id;
  }
  /// The switch a name spells, or nullopt when it is not an Ethernet address.
  static std::optional<SystemId> parse(std::string_view text) {
    const auto addr = Lanx::EthAddr::parse(text);
    if (!addr) return std::nullopt;
    return SystemId(*addr);
  }

  /// The switch's Ethernet address.
  const Lanx::EthAddr& ethAddr() const { return addr_; }
  /// The address's text form, which names the switch's records.
  Vex::String stringValue() const { return addr_.stringValue(); }
  /// A hash of the address.
  std::size_t hash() const { return addr_.hash(); }

  /// Compares the addresses.
  ///@{
  friend bool operator==(const SystemId& a, const SystemId& b) { return a.addr_ == b.addr_; }
  friend bool operator<(const SystemId& a, const SystemId& b) { return a.addr_ < b.addr_; }
  ///@}

 private:
  Lanx::EthAddr addr_;
};

}  // namespace Controller

/// Hashes a SystemId by its address.
template <>
struct std::hash<Controller::SystemId> {
  /// The id's hash().
  std::size_t operator()(const Controller::SystemId& id) const noexcept { return id.hash(); }
};
