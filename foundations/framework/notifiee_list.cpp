#include <hubstore/foundations/framework/notifiee_list.h>

#include <algorithm>

#include <hubstore/foundations/framework/notifiee_const.h>

namespace Vex {

NotifieeList::~NotifieeList() { deleteAll(); }

void NotifieeList::visit(AttributeId attribute, const void* key) {
  struct DispatchScope {
    NotifieeList& list;
    explicit DispatchScope(NotifieeList& l) : list(l) { ++list.dispatchDepth_; }
    ~DispatchScope() {
      if (--list.dispatchDepth_ == 0 && list.hasClearedSlots_) list.compact();
    }
  } scope(*this);
  const std::size_t end = notifiees_.size();  // members added now wait for the next round
  for (std::size_t i = 0; i < end; ++i) {
    PtrInterface::NotifieeConst* notifiee = notifiees_[i];
    if (!notifiee || !notifiee->hasNotificationActive()) continue;
    Ptr<PtrInterface::NotifieeConst> held(notifiee);
    notifiee->onAttribute(attribute, key);
  }
}

void NotifieeList::add(PtrInterface::NotifieeConst* notifiee) { notifiees_.push_back(notifiee); }

void NotifieeList::remove(PtrInterface::NotifieeConst* notifiee) {
  auto found = std::find(notifiees_.begin(), notifiees_.end(), notifiee);
  if (found == notifiees_.end()) return;
  if (dispatchDepth_ > 0) {
    *found = nullptr;
    hasClearedSlots_ = true;
  } else {
    notifiees_.erase(found);
  }
}

void NotifieeList::deleteAll() {
  // Each unregistration comes back through remove(), which clears or erases
  // the slot depending on whether a dispatch is running.
  while (true) {
    auto member = std::find_if(notifiees_.begin(), notifiees_.end(), [](auto* n) { return n; });
    if (member == notifiees_.end()) return;
    (*member)->isRegisteredNotifieeIs(false);
  }
}

std::size_t NotifieeList::count() const {
  return static_cast<std::size_t>(std::count_if(notifiees_.begin(), notifiees_.end(), [](auto* n) { return n; }));
}

void NotifieeList::compact() {
  notifiees_.erase(std::remove(notifiees_.begin(), notifiees_.end(), nullptr), notifiees_.end());
  hasClearedSlots_ = false;
}

}  // namespace Vex
