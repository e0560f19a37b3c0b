#include <hubstore/foundations/framework/exception.h>

#include <string>

#include <hubstore/foundations/framework/type_descriptor.h>

namespace Vex {

void throwMutatorReinstantiating(const String& member, const char* attribute, AttributeId id,
                                 const String& newValue, const String& existingValue) {
  std::string text = "cannot reinstantiate ";
  text += member.view();
  text += ": attribute ";
  text += attribute;
  text += " (";
  text += std::to_string(id);
  text += ") is ";
  text += existingValue.view();
  text += ", new value ";
  text += newValue.view();
  throw MutatorReinstantiatingException(String(text));
}

void throwMutatorArgNullPointerException(const char* attribute) {
  throw MutatorArgNullPointerException(String(std::string("null pointer for attribute ") + attribute));
}

String describe(const PtrInterface* object) {
  if (!object) return String("null");
  return String(std::string(object->fwkType().name()) + "#" + std::to_string(object->serialNumber()));
}

}  // namespace Vex
