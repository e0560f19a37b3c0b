#pragma once
// Vex::NotifieeList: the notifiees of one notifier, and the dispatch of a
// change to them.
//
// Reentrancy rules, which every reactor relies on:
//  - A notifiee removed during a dispatch (it unregistered, or it was
//    destroyed, by itself or by another notifiee) only has its slot cleared;
//    the loop skips cleared slots and the list is compacted when the outermost
//    dispatch ends. So no notifiee is skipped, called twice, or called after
//    its removal.
//  - A notifiee added during a dispatch is not called in that round: each
//    round covers the members present when it started.
//  - The notifiee being called is held by a counted reference for the length
//    of its call, so it may release its last owner from inside onAttribute.
//  - A dispatch that a notifiee ends with an exception leaves the list
//    consistent (depth restored, list compacted) and passes the exception on.
//  - Notifiees whose notification is not active are skipped.

#include <cstddef>
#include <cstdint>
#include <vector>

#include <hubstore/foundations/framework/ptr_interface.h>

namespace Vex {

class NotifieeList {
 public:
  NotifieeList() = default;
  NotifieeList(const NotifieeList&) = delete;
  NotifieeList& operator=(const NotifieeList&) = delete;
  ~NotifieeList();

  void visit(AttributeId attribute, const void* key = nullptr);
  void add(PtrInterface::NotifieeConst* notifiee);
  void remove(PtrInterface::NotifieeConst* notifiee);
  // Unregisters every notifiee (they stay alive, bound to nothing).
  void deleteAll();
  std::size_t count() const;
  bool empty() const { return notifiees_.empty(); }

 private:
  void compact();

  std::vector<PtrInterface::NotifieeConst*> notifiees_;
  std::uint32_t dispatchDepth_ = 0;
  bool hasClearedSlots_ = false;
};

}  // namespace Vex
