#include <hubstore/foundations/framework/notifiee_list.h>

#include <algorithm>

#include <hubstore/foundations/framework/notifiee_const.h>

namespace Vex {

NotifieeList::~NotifieeList() {
  deleteAll();
  if (slots_ != &inPlace_) delete[] slots_;
}

void NotifieeList::visitAll(AttributeId attribute, const void* key, const PtrInterface* notifier) {
  PtrInterface::keepAliveWhile(notifier, [&] {
    const DispatchScope scope(*this);
    // Slots are read afresh each time: an addition may move the array.
    // Members added now wait for the next round.
    const std::uint32_t end = size_;
    for (std::uint32_t i = 0; i < end; ++i) {
      PtrInterface::NotifieeConst* notifiee = slots_[i];
      if (!notifiee || !notifiee->hasNotificationActive()) continue;
      call(notifiee, attribute, key);
    }
  });
}

void NotifieeList::visitCounted(AttributeId attribute, const void* key, const PtrInterface* notifier) {
  const Ptr<const PtrInterface> notifierHeld(notifier);
  const DispatchScope scope(*this);
  const std::uint32_t end = size_;
  for (std::uint32_t i = 0; i < end; ++i) {
    PtrInterface::NotifieeConst* notifiee = slots_[i];
    if (!notifiee || !notifiee->hasNotificationActive()) continue;
    const Ptr<PtrInterface::NotifieeConst> held(notifiee);
    notifiee->onAttribute(attribute, key);
  }
}

void NotifieeList::add(PtrInterface::NotifieeConst* notifiee) {
  if (size_ == capacity_) {
    auto** grown = new PtrInterface::NotifieeConst*[2 * capacity_];
    std::copy(slots_, slots_ + size_, grown);
    if (slots_ != &inPlace_) delete[] slots_;
    slots_ = grown;
    capacity_ *= 2;
  }
  slots_[size_++] = notifiee;
}

void NotifieeList::remove(PtrInterface::NotifieeConst* notifiee) {
  PtrInterface::NotifieeConst** end = slots_ + size_;
  PtrInterface::NotifieeConst** found = std::find(slots_, end, notifiee);
  if (found == end) return;
  if (dispatchDepth_ > 0) {
    *found = nullptr;
    hasClearedSlots_ = true;
  } else {
    std::copy(found + 1, end, found);
    --size_;
  }
}

void NotifieeList::deleteAll() {
  // Each unregistration comes back through remove(), which clears or erases
  // the slot depending on whether a dispatch is running.
  while (true) {
    PtrInterface::NotifieeConst** end = slots_ + size_;
    PtrInterface::NotifieeConst** member = std::find_if(slots_, end, [](auto* n) { return n; });
    if (member == end) return;
    (*member)->isRegisteredNotifieeIs(false);
  }
}

std::size_t NotifieeList::count() const {
  return static_cast<std::size_t>(std::count_if(slots_, slots_ + size_, [](auto* n) { return n; }));
}

void NotifieeList::compact() {
  size_ = static_cast<std::uint32_t>(std::remove(slots_, slots_ + size_, nullptr) - slots_);
  hasClearedSlots_ = false;
}

}  // namespace Vex
