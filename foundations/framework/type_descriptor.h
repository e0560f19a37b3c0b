#pragma once
// Vex::TypeDescriptor: what the framework knows of a class at run time.
//
// Each class has one static descriptor (its `staticType()`, also returned by
// the virtual `fwkType()`) holding:
//  - the qualified type name, e.g. "Controller::HubstoreService";
//  - the attributes in declaration order, each with its id and kind, and for
//    operations the argument names and an invoker, so that an operation can be
//    called by name:
//
//      Vex::invoke(*mounter, "doInitialSwitchMountsComplete",
//                  {{"groupName", Vex::String("g1")}, {"em", em}});
//
//    The invoker calls the virtual operation, so a derived override runs;
//  - the per-type allocation tracking: how many objects created by Vex::make
//    are alive and how many were ever created. Tests use liveObjects() to
//    prove that a teardown released everything.
//
// The counts are plain integers, updated on the event-loop thread.

#include <any>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <hubstore/foundations/framework/ptr_interface.h>

namespace Vex {

using Arguments = std::map<std::string, std::any, std::less<>>;

enum class AttributeKind { attribute, collection, operation, handler };

struct AttributeDescriptor {
  const char* name;
  AttributeKind kind;
  AttributeId id = 0;
  std::vector<const char*> arguments = {};
  std::function<void(PtrInterface&, const Arguments&)> invoker = {};
};

class TypeDescriptor {
 public:
  TypeDescriptor(const char* name, std::vector<AttributeDescriptor> attributes);
  TypeDescriptor(const TypeDescriptor&) = delete;
  TypeDescriptor& operator=(const TypeDescriptor&) = delete;

  const char* name() const { return name_; }
  const std::vector<AttributeDescriptor>& attributes() const { return attributes_; }
  const AttributeDescriptor* attribute(std::string_view name) const;

  long liveCount() const { return live_; }
  std::uint32_t createdCount() const { return created_; }

 private:
  friend class PtrInterface;
  const char* name_;
  std::vector<AttributeDescriptor> attributes_;
  // Counts live beside the (constant) description of the type.
  mutable long live_ = 0;
  mutable std::uint32_t created_ = 0;
};

// Every descriptor whose type has had an object created, with its live count,
// in type-name order.
std::vector<std::pair<std::string, long>> liveObjects();
long liveObjectCount();

// Calls the operation `operation` of `target`'s type with named arguments.
// Throws InternalException for an unknown operation or a missing or
// mistyped argument.
void invoke(PtrInterface& target, std::string_view operation, const Arguments& arguments);

// For invokers: the argument `name` as a T.
template <class T>
T argument(const Arguments& arguments, const char* operation, const char* name);

}  // namespace Vex

#include <hubstore/foundations/framework/exception.h>

namespace Vex {

template <class T>
T argument(const Arguments& arguments, const char* operation, const char* name) {
  auto found = arguments.find(name);
  if (found == arguments.end()) {
    throw InternalException(String(std::string(operation) + ": missing argument " + name));
  }
  if (const T* value = std::any_cast<T>(&found->second)) return *value;
  throw InternalException(String(std::string(operation) + ": argument " + name + " has the wrong type"));
}

}  // namespace Vex
