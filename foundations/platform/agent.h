#pragma once
/// \class Mirra::Agent
/// The hosting agent process. The library needs only its name,
/// under which the service's records are found.

#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/string.h>
#include <hubstore/foundations/framework/type_descriptor.h>

namespace Mirra {

class Agent : public Vex::PtrInterface {
 public:
  /// A new agent named `name`.
  static Vex::Ptr<Agent> AgentIs(const Vex::String& name) { return Vex::make<Agent>(name); }
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// The agent's name, which ends the paths of its service records.
  const Vex::String& name() const { return name_; }

 protected:
  /// Made only by Vex::make.
  ///@{
  explicit Agent(Vex::String name) : name_(std::move(name)) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  Vex::String name_;
};

}  // namespace Mirra
