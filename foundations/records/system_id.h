#pragma once
// Controller::SystemId: the identity of one managed switch, its Ethernet
// address. Switch records are named by the address's text form.

#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>

#include <hubstore/foundations/platform/eth_addr.h>

namespace Controller {

class SystemId {
 public:
  SystemId() = default;
  explicit SystemId(const Lanx::EthAddr& addr) : addr_(addr) {}
  // Parses a switch name; raises Lanx::InvalidEthAddrException when it is not
  // an Ethernet address.
  static SystemId fromString(std::string_view text) {
    SystemId id;
    id.addr_.stringValueIs(text);
    return id;
  }
  // The switch a name spells, or nullopt when it is not an Ethernet address.
  static std::optional<SystemId> parse(std::string_view text) {
    const auto addr = Lanx::EthAddr::parse(text);
    if (!addr) return std::nullopt;
    return SystemId(*addr);
  }

  const Lanx::EthAddr& ethAddr() const { return addr_; }
  Vex::String stringValue() const { return addr_.stringValue(); }
  std::size_t hash() const { return addr_.hash(); }

  friend bool operator==(const SystemId& a, const SystemId& b) { return a.addr_ == b.addr_; }
  friend bool operator<(const SystemId& a, const SystemId& b) { return a.addr_ < b.addr_; }

 private:
  Lanx::EthAddr addr_;
};

}  // namespace Controller

template <>
struct std::hash<Controller::SystemId> {
  std::size_t operator()(const Controller::SystemId& id) const noexcept { return id.hash(); }
};
