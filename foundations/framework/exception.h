#pragma once
/// \file
/// The framework's exceptions. Each reports its class name through typeName()
/// so that tools can print "TYPE: MESSAGE" without RTTI name demangling.

#include <exception>

#include <hubstore/foundations/framework/ptr_interface.h>
#include <hubstore/foundations/framework/string.h>

namespace Vex {

/// The base of the framework's exceptions: a message and the class's name.
class Exception : public std::exception {
 public:
  /// An exception carrying `message`.
  explicit Exception(String message) : message_(std::move(message)) {}
  /// The message; what() returns the same text.
  ///@{
  const String& message() const noexcept { return message_; }
  const char* what() const noexcept override { return message_.c_str(); }
  ///@}
  /// The qualified class name, e.g. "Vex::InternalException".
  virtual const char* typeName() const noexcept = 0;

 private:
  String message_;
};

/// A call the object cannot serve: a hook the agent must override and did not,
/// an unknown operation or a bad argument of Vex::invoke.
class InternalException : public Exception {
 public:
  using Exception::Exception;
  /// "Vex::InternalException".
  const char* typeName() const noexcept override { return "Vex::InternalException"; }
};

/// A collection member was created again under its key with other values.
class MutatorReinstantiatingException : public Exception {
 public:
  using Exception::Exception;
  /// "Vex::MutatorReinstantiatingException".
  const char* typeName() const noexcept override { return "Vex::MutatorReinstantiatingException"; }
};

/// A null object was passed where the attribute needs one.
class MutatorArgNullPointerException : public Exception {
 public:
  using Exception::Exception;
  /// "Vex::MutatorArgNullPointerException".
  const char* typeName() const noexcept override { return "Vex::MutatorArgNullPointerException"; }
};

/// Throws MutatorReinstantiatingException.
/// `member`: the collection member's description, e.g. `serviceMountGroup[g1]`;
/// `attribute`: the attribute whose value differs and its id;
/// `newValue`/`existingValue`: the values in their text form.
[[noreturn]] void throwMutatorReinstantiating(const String& member, const char* attribute, AttributeId id,
                                              const String& newValue, const String& existingValue);
/// Throws MutatorArgNullPointerException for the attribute named `attribute`.
[[noreturn]] void throwMutatorArgNullPointerException(const char* attribute);

/// Text form of an object for error messages: "null", or its type name and
/// creation number (e.g. "Controller::HubstoreServiceMounter#2"), which is
/// stable from run to run.
String describe(const PtrInterface* object);

}  // namespace Vex
