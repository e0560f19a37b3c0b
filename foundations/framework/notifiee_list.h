#pragma once
/// \class Vex::NotifieeList
/// The notifiees of one notifier, and the dispatch of a change to them.
///
/// Reentrancy rules, which every reactor relies on:
///  - A notifiee removed during a dispatch (it unregistered, or it was
///    destroyed, by itself or by another notifiee) only has its slot cleared;
///    the loop skips cleared slots and the list is compacted when the outermost
///    dispatch ends. So no notifiee is skipped, called twice, or called after
///    its removal.
///  - A notifiee added during a dispatch is not called in that round: each
///    round covers the members present when it started.
///  - The notifiee being called is kept alive for the length of its call
///    (PtrInterface::keepAliveWhile), so it may release its last owner from
///    inside onAttribute; the notifier is kept alive for the whole dispatch.
///  - A dispatch that a notifiee ends with an exception leaves the list
///    consistent (depth restored, list compacted) and passes the exception on.
///  - Notifiees whose notification is not active are skipped.
///
/// Most records have a single notifiee, so one lives in place (no allocation)
/// and a round outside any other round with one notifiee is a direct call: it
/// reads nothing of the list after the call, so the rules above hold without
/// the bookkeeping. More notifiees spill to a heap array.

#include <cstddef>
#include <cstdint>

#include <hubstore/foundations/framework/ptr_interface.h>
#include <hubstore/foundations/framework/notifiee_const.h>
#include <hubstore/foundations/framework/ptr.h>

namespace Vex {

class NotifieeList {
 public:
  /// An empty list.
  NotifieeList() = default;
  /// Not copyable: notifiees register with one list.
  ///@{
  NotifieeList(const NotifieeList&) = delete;
  NotifieeList& operator=(const NotifieeList&) = delete;
  ///@}
  /// Unregisters every notifiee still on it (deleteAll()), then frees the slots.
  ~NotifieeList();

  /// The dispatch, which keeps `notifier` alive while it runs. Only while
  /// threadSafePointers() is off.
  void visit(AttributeId attribute, const void* key, const PtrInterface* notifier) {
    if (size_ == 1 && dispatchDepth_ == 0) {
      // Outside any round nothing is cleared: the one slot holds a notifiee.
      PtrInterface::NotifieeConst* notifiee = slots_[0];
      if (!notifiee->hasNotificationActive()) return;
      PtrInterface::keepAliveWhile(notifier, [&] { call(notifiee, attribute, key); });
      return;
    }
    // Out of line and the last thing done, so that the setter jumps to it
    // rather than calling it and keeping registers of its own for the loop.
    visitAll(attribute, key, notifier);
  }
  /// The same holding the notifier and each notifiee by a counted reference,
  /// for while threadSafePointers() is on.
  void visitCounted(AttributeId attribute, const void* key, const PtrInterface* notifier);
  /// Appends `notifiee`, not owned; NotifieeConst::isRegisteredNotifieeIs()
  /// calls it. Not called in a round that is running.
  void add(PtrInterface::NotifieeConst* notifiee);
  /// Removes `notifiee` if it is on the list: during a dispatch its slot is
  /// only cleared.
  void remove(PtrInterface::NotifieeConst* notifiee);
  /// Unregisters every notifiee (they stay alive, bound to nothing).
  void deleteAll();
  /// The number of registered notifiees (cleared slots not counted).
  std::size_t count() const;
  /// Whether no slot is in use (a cleared slot counts until compaction).
  bool empty() const { return size_ == 0; }

 private:
  class DispatchScope {
   public:
    explicit DispatchScope(NotifieeList& list) : list_(list) { ++list_.dispatchDepth_; }
    DispatchScope(const DispatchScope&) = delete;
    DispatchScope& operator=(const DispatchScope&) = delete;
    ~DispatchScope() {
      if (--list_.dispatchDepth_ == 0 && list_.hasClearedSlots_) list_.compact();
    }

   private:
    NotifieeList& list_;
  };

  static void call(PtrInterface::NotifieeConst* notifiee, AttributeId attribute, const void* key) {
    PtrInterface::keepAliveWhile(notifiee, [&] { notifiee->onAttribute(attribute, key); });
  }
  void visitAll(AttributeId attribute, const void* key, const PtrInterface* notifier);
  void compact();

  // Points at inPlace_ or at a heap array of capacity_ slots.
  PtrInterface::NotifieeConst** slots_ = &inPlace_;
  std::uint32_t size_ = 0;
  std::uint32_t capacity_ = 1;
  PtrInterface::NotifieeConst* inPlace_ = nullptr;
  std::uint32_t dispatchDepth_ = 0;
  bool hasClearedSlots_ = false;
};

}  // namespace Vex
