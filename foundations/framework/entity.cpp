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

}  // namespace Vex
