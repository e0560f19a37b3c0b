#pragma once
/// \class Vex::TypeDescriptor
/// What the framework knows of a class at run time.
///
/// Each class has one static descriptor (its `staticType()`, also returned by
/// the virtual `fwkType()`) holding:
///  - the qualified type name, e.g. "Controller::HubstoreService";
///  - the attributes in declaration order, each with its id and kind, and for
///    operations the argument names and an invoker, so that an operation can be
///    called by name:
///
///        Vex::invoke(*mounter, "doInitialSwitchMountsComplete",
///                    {{"groupName", Vex::String("g1")}, {"em", em}});
///
///    The invoker calls the virtual operation, so a derived override runs;
///  - the per-type allocation tracking: how many objects created by Vex::make
///    are alive and how many were ever created. Tests use liveObjects() to
///    prove that a teardown released everything.
///
/// The counts are plain integers, updated on the event-loop thread.

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

/// Named arguments of an operation called through invoke().
using Arguments = std::map<std::string, std::any, std::less<>>;

/// What an attribute of a type is: a single value, a keyed collection of
/// members, an operation (callable through invoke()), or a handler run on a
/// change.
enum class AttributeKind { attribute, collection, operation, handler };

/// One attribute of a type, as its TypeDescriptor lists it.
struct AttributeDescriptor {
  const char* name;        ///< the attribute's name as the code spells it
  AttributeKind kind;      ///< what it is
  AttributeId id = 0;      ///< the id notifications carry (0 for operations)
  std::vector<const char*> arguments = {};  ///< an operation's argument names, in order
  std::function<void(PtrInterface&, const Arguments&)> invoker = {};  ///< calls an operation on an object of the type
};

class TypeDescriptor {
 public:
  /// The descriptor of the type `name` (a literal, not copied), registered
  /// for liveObjects(); it must live as long as the process (a static).
  TypeDescriptor(const char* name, std::vector<AttributeDescriptor> attributes);
  /// Not copyable: objects point at their type's one descriptor.
  ///@{
  TypeDescriptor(const TypeDescriptor&) = delete;
  TypeDescriptor& operator=(const TypeDescriptor&) = delete;
  ///@}

  /// The qualified type name, e.g. "Controller::HubstoreService".
  const char* name() const { return name_; }
  /// The attributes in declaration order.
  const std::vector<AttributeDescriptor>& attributes() const { return attributes_; }
  /// The attribute called `name`, or null.
  const AttributeDescriptor* attribute(std::string_view name) const;

  /// How many objects of the type made by Vex::make are alive.
  long liveCount() const { return live_; }
  /// How many objects of the type Vex::make ever made.
  std::uint32_t createdCount() const { return created_; }

 private:
  friend class PtrInterface;
  const char* name_;
  std::vector<AttributeDescriptor> attributes_;
  // Counts live beside the (constant) description of the type.
  mutable long live_ = 0;
  mutable std::uint32_t created_ = 0;
};

/// Every descriptor whose type has had an object created, with its live count,
/// in type-name order.
std::vector<std::pair<std::string, long>> liveObjects();
/// The number of live objects made by Vex::make, of every type.
long liveObjectCount();

/// Calls the operation `operation` of `target`'s type with named arguments.
/// Throws InternalException for an unknown operation or a missing or
/// mistyped argument.
void invoke(PtrInterface& target, std::string_view operation, const Arguments& arguments);

/// For invokers: the argument `name` as a T. Throws InternalException, naming
/// `operation`, when it is missing or not a T.
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
