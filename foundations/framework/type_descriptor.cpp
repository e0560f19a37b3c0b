#include <hubstore/foundations/framework/type_descriptor.h>

#include <algorithm>

#include <hubstore/foundations/framework/exception.h>

namespace Vex {

namespace {
std::vector<const TypeDescriptor*>& registry() {
  static std::vector<const TypeDescriptor*> all;
  return all;
}
}  // namespace

TypeDescriptor::TypeDescriptor(const char* name, std::vector<AttributeDescriptor> attributes)
    : name_(name), attributes_(std::move(attributes)) {
  registry().push_back(this);
}

const AttributeDescriptor* TypeDescriptor::attribute(std::string_view name) const {
  for (const auto& a : attributes_) {
    if (name == a.name) return &a;
  }
  return nullptr;
}

std::vector<std::pair<std::string, long>> liveObjects() {
  std::vector<std::pair<std::string, long>> result;
  for (const TypeDescriptor* t : registry()) {
    if (t->createdCount() > 0) result.emplace_back(t->name(), t->liveCount());
  }
  std::sort(result.begin(), result.end());
  return result;
}

long liveObjectCount() {
  long total = 0;
  for (const TypeDescriptor* t : registry()) total += t->liveCount();
  return total;
}

void invoke(PtrInterface& target, std::string_view operation, const Arguments& arguments) {
  const TypeDescriptor& type = target.fwkType();
  const AttributeDescriptor* a = type.attribute(operation);
  if (!a || !a->invoker) {
    throw InternalException(String(std::string(type.name()) + " has no operation " + std::string(operation)));
  }
  a->invoker(target, arguments);
}

}  // namespace Vex
