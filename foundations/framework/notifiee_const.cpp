#include <hubstore/foundations/framework/notifiee_const.h>

#include <hubstore/foundations/framework/notifiee_list.h>

namespace Vex {

PtrInterface::NotifieeConst::~NotifieeConst() { isRegisteredNotifieeIs(false); }

void PtrInterface::NotifieeConst::notifierIs(const Ptr<const PtrInterface>& notifier) {
  if (notifier == notifier_) return;
  isRegisteredNotifieeIs(false);
  notifier_ = notifier;
}

void PtrInterface::NotifieeConst::isRegisteredNotifieeIs(bool registered) {
  if (registered == registered_) return;
  NotifieeList* list = notifier_ ? notifier_->notifieeList() : nullptr;
  if (!list) {
    registered_ = false;
    return;
  }
  registered_ = registered;
  if (registered) {
    list->add(this);
  } else {
    list->remove(this);
  }
}

void PtrInterface::NotifieeConst::onAttribute(AttributeId, const void*) {}

}  // namespace Vex
