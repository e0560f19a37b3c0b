#pragma once
/// \class Vex::PtrInterface
/// The base of every counted object of the framework.
///
/// An object is born holding one reference, the construction reference, which
/// Vex::make() hands to the Ptr it returns:
///
///     Ptr<Foo> foo = Vex::make<Foo>(args);   // count 1: foo
///     Ptr<Foo> other = foo;                  // count 2
///     other = nullptr;                       // count 1
///     foo = nullptr;                         // count 0: handleZeroRef() deletes it
///
/// Starting at one (not zero) keeps an object alive while its own constructor
/// hands `this` to code that takes and drops a counted reference.
///
/// Besides the count, every object carries two framework flags:
///  - notification active: a notifiee that is not active is skipped when its
///    notifier reports a change; owners pass the flag on to their reactors.
///  - marked for deletion: set by vexDoZombieReactors(true) when an owner starts
///    to die, so its reactors ignore late notifications.

#include <cstdint>

#include <hubstore/foundations/framework/reference_count.h>

namespace Vex {

class NotifieeList;
class TypeDescriptor;
/// Identifies one attribute of a type in notifications (see TypeDescriptor).
using AttributeId = std::uint32_t;

class PtrInterface {
 public:
  class NotifieeConst;

  /// Not copyable: an object's identity is its address.
  ///@{
  PtrInterface(const PtrInterface&) = delete;
  PtrInterface& operator=(const PtrInterface&) = delete;
  ///@}

  /// Takes a reference.
  void referencesInc() const { countIncrement(references_); }
  /// Drops a reference; the last one deletes the object through
  /// handleZeroRef(), or, inside keepAliveWhile(), when the outermost use ends.
  void referencesDec() const {
    if (!countDecrement(references_)) return;
    if (inUse_) {
      releasedInUse_ = true;  // the outermost use finishes it
    } else {
      handleZeroRef();
    }
  }
  /// The current count.
  std::uint32_t references() const { return references_; }

  /// Runs `use`, keeping `object` alive as a counted reference would, at the
  /// cost of a flag: a release of its last reference meanwhile only marks it,
  /// and the outermost use deletes it as it ends (unless it was taken again
  /// meanwhile). A dispatch does this for every notifiee it calls. Only while
  /// threadSafePointers() is off: another thread could release the object at
  /// any moment, and only a count stops that.
  // A nested use runs in a branch of its own, so that nothing is remembered
  // across `use` and each flag is only ever stored, never counted: a loop that
  // keeps using one object is not held up by a chain of read-modify-writes.
  template <class Use>
  static void keepAliveWhile(const PtrInterface* object, Use&& use) {
    if (object->inUse_) {  // an enclosing use keeps it alive
      use();
      return;
    }
    const OutermostUse outermost(object);
    use();
  }

  /// Objects that can be watched return their list; others have none.
  virtual NotifieeList* notifieeList() const { return nullptr; }

  /// The notification-active flag: a notifiee without it is skipped by its
  /// notifier's dispatch. Owners override the setter to pass it on to their
  /// reactors.
  ///@{
  bool hasNotificationActive() const { return notificationActive_; }
  virtual void hasNotificationActiveIs(bool active) { notificationActive_ = active; }
  ///@}

  /// The marked-for-deletion flag, set when an owner starts to die.
  ///@{
  bool vexMarkedForDeletion() const { return markedForDeletion_; }
  void vexMarkedForDeletionIs(bool marked) { markedForDeletion_ = marked; }
  ///@}
  /// Sets the marked-for-deletion flag; owners override this to pass the mark
  /// on to their inner reactors.
  virtual void vexDoZombieReactors(bool zombie) { markedForDeletion_ = zombie; }

  /// The object's type descriptor (each class's staticType()).
  virtual const TypeDescriptor& fwkType() const = 0;

  /// Called by Vex::make once construction succeeded: from then on the object
  /// is counted live under `type` until its destructor runs.
  void allocationTrackedIs(const TypeDescriptor& type);
  /// 1 for the first object of its type created by Vex::make, 2 for the next...
  /// 0 for an object made otherwise. Deterministic within one process run.
  std::uint32_t serialNumber() const { return serialNumber_; }

 protected:
  /// Starts with the construction reference (count 1).
  PtrInterface() = default;
  /// Ends the object's allocation tracking; in debug builds asserts that an
  /// object made by Vex::make dies only through its last reference.
  virtual ~PtrInterface();
  /// Called when the count reaches zero: deletes the object.
  virtual void handleZeroRef() const { delete this; }

 private:
  class OutermostUse {
   public:
    explicit OutermostUse(const PtrInterface* object) : object_(object) { object_->inUse_ = true; }
    OutermostUse(const OutermostUse&) = delete;
    OutermostUse& operator=(const OutermostUse&) = delete;
    ~OutermostUse() {
      object_->inUse_ = false;
      if (object_->releasedInUse_) [[unlikely]] object_->finishUse();
    }

   private:
    const PtrInterface* object_;
  };
  // The end of the outermost use of an object released during it.
  void finishUse() const;

  mutable std::uint32_t references_ = 1;
  bool notificationActive_ = false;
  bool markedForDeletion_ = false;
  mutable bool inUse_ = false;
  mutable bool releasedInUse_ = false;
  std::uint32_t serialNumber_ = 0;
  const TypeDescriptor* trackedType_ = nullptr;
};

}  // namespace Vex
