#pragma once
/// \class Vex::PtrInterface::NotifieeConst
/// The base of every reactor that watches a record. It is itself counted
/// (owners hold their reactors by Ptr) and holds a counted reference to its
/// notifier.
///
/// Binding is two steps, so a reactor can run its owner's handler between them:
///
///     notifierIs(record)           // hold the record (registration is dropped)
///     isRegisteredNotifieeIs(true) // start receiving onAttribute()
///
/// The destructor unregisters, so a dying reactor is never called again.
///
/// Vex::NotifieeConstOf<R> adds the typed accessor for a reactor over records
/// of type R.

#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/ptr_interface.h>

namespace Vex {

class PtrInterface::NotifieeConst : public PtrInterface {
 public:
  /// The watched object; null when unbound.
  const Ptr<const PtrInterface>& notifierBase() const { return notifier_; }
  /// Holds `notifier` instead of the current one, unregistered from both.
  /// Holding the same notifier again changes nothing.
  virtual void notifierIs(const Ptr<const PtrInterface>& notifier);
  /// Whether the reactor is on its notifier's list and so receives
  /// onAttribute(). Registering without a watchable notifier leaves it off.
  ///@{
  bool isRegisteredNotifiee() const { return registered_; }
  void isRegisteredNotifieeIs(bool registered);
  ///@}
  /// Called for each change of the notifier while registered and active:
  /// `attribute` is the changed attribute's id, `key` points at the changed
  /// member's key (null for a whole attribute). The default does nothing.
  virtual void onAttribute(AttributeId attribute, const void* key);

 protected:
  /// Unbound and unregistered.
  NotifieeConst() = default;
  /// Unregisters, so a dying reactor is never called again.
  ~NotifieeConst() override;

 private:
  Ptr<const PtrInterface> notifier_;
  bool registered_ = false;
};

/// A reactor over records of type R: NotifieeConst with typed accessors. The
/// caller binds it only to an R.
template <class R>
class NotifieeConstOf : public PtrInterface::NotifieeConst {
 public:
  /// The watched record; null when unbound.
  const R* notifier() const { return static_cast<const R*>(notifierBase().get()); }
  /// The watched record as a counted reference; null when unbound.
  Ptr<const R> notifierPtr() const { return Ptr<const R>(notifier()); }
};

}  // namespace Vex
