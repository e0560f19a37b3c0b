#include <hubstore/foundations/framework/entity.h>

#include <string>

namespace Vex {

String Entity::fullName() const {
  if (!parent_) return name_;
  std::string text(parent_->fullName().view());
  text += '/';
  text += parentAttrName_;
  text += '/';
  text += name_.view();
  return String(text);
}

void Entity::notify(AttributeId attribute, const void* key) const {
  if (notifiees_.empty()) return;
  Ptr<const Entity> keepAlive(this);
  notifiees_.visit(attribute, key);
}

}  // namespace Vex
