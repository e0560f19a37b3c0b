#pragma once
// Mirra::Agent: the hosting agent process. The library needs only its name,
// under which the service's records are found.

#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/string.h>
#include <hubstore/foundations/framework/type_descriptor.h>

namespace Mirra {

class Agent : public Vex::PtrInterface {
 public:
  static Vex::Ptr<Agent> AgentIs(const Vex::String& name) { return Vex::make<Agent>(name); }
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const Vex::String& name() const { return name_; }

 protected:
  explicit Agent(Vex::String name) : name_(std::move(name)) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  Vex::String name_;
};

}  // namespace Mirra
