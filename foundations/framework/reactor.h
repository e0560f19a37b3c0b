#pragma once
/// \class Vex::Reactor
/// The inner reactor of an owner that follows one record, written once. It
/// holds the record (counted), a plain pointer back to its owner, and its
/// registration on the record; what differs between reactors is the record type
/// and which of the owner's handlers run, and both are template arguments:
///
///     class Machine : public Vex::PtrInterface {
///       void handleGroup();                         // the whole record, on binding
///       void handleGroup(const Vex::Name& key);     // one member of `group`
///      public:
///       using VexRecord = Vex::Reactor<"VexRecord", Machine, Record, Vex::whole(&Machine::handleGroup),
///                                      Vex::onKey(Record::Attr::group, &Machine::handleGroup)>;
///     };
///
/// Binding. notifierIs(p) casts p to the record type. The record already held
/// does nothing; otherwise the reactor holds the new one, runs the binding
/// handler (none when it is nullptr) if the record is non-null, the reactor is
/// not marked for deletion and it still has an owner, and then registers on
/// the record. bindQuietly(record) binds and registers without any handler:
/// for a first record, whose handlers the owner runs itself.
///
/// Routing. onAttribute(id, key) runs the handler routed for `id` unless the
/// reactor is marked for deletion or has no owner. An onKey handler runs only
/// for a change of one member (a non-null key) and receives the key; an
/// onRecord handler receives the record; an on handler receives nothing.
///
/// Retiring. retire() clears the owner link and marks the reactor for
/// deletion, so a dispatch still holding the reactor can no longer reach the
/// owner. An owner retires every reactor it lets go, and all of them before
/// it dies: no late notification reaches a dying owner.

#include <algorithm>
#include <cstddef>
#include <string>
#include <type_traits>

#include <hubstore/foundations/framework/notifiee_const.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/type_descriptor.h>

namespace Vex {

/// A reactor's own name, given as a template argument ("VexMountStatus"); its
/// type name is the owner's followed by "::" and this.
template <std::size_t N>
struct ReactorName {
  /// Takes the name from a string literal.
  constexpr ReactorName(const char (&name)[N]) { std::copy_n(name, N, text); }
  /// The name, with its terminating null.
  char text[N];
};

/// What a routed handler receives.
enum class RouteArgument { nothing, key, record };

/// One routed attribute: `handler` runs on the owner when `attribute` changes.
template <class Handler>
struct Route {
  /// The attribute whose changes run the handler.
  AttributeId attribute;
  /// The owner's handler.
  Handler handler;
  /// What the handler receives.
  RouteArgument argument;
};

template <class Owner>
/// Routes `attribute` to a handler that receives nothing.
constexpr Route<void (Owner::*)()> on(AttributeId attribute, void (Owner::*handler)()) {
  return {attribute, handler, RouteArgument::nothing};
}

/// Routes `attribute` to a handler that receives the changed member's key;
/// `Key` is given where the handler's name is overloaded for several key
/// types.
template <class Key, class Owner>
constexpr Route<void (Owner::*)(const Key&)> onKey(AttributeId attribute, void (Owner::*handler)(const Key&)) {
  return {attribute, handler, RouteArgument::key};
}

template <class Record, class Owner>
/// Routes `attribute` to a handler that receives the record.
constexpr Route<void (Owner::*)(const Record&)> onRecord(AttributeId attribute,
                                                         void (Owner::*handler)(const Record&)) {
  return {attribute, handler, RouteArgument::record};
}

/// Picks one overload of a handler for the binding handler: the one without
/// arguments, or the one that takes the record.
///@{
template <class Owner>
constexpr auto whole(void (Owner::*handler)()) {
  return handler;
}
template <class Record, class Owner>
constexpr auto ofRecord(void (Owner::*handler)(const Record&)) {
  return handler;
}
///@}

/// \tparam name The reactor's own name.
/// \tparam Owner The owner class, whose handlers run.
/// \tparam Record The record type followed.
/// \tparam bindHandler The handler run on binding (whole() or ofRecord()), or
/// nullptr for none.
/// \tparam routes The routed attributes (on(), onKey(), onRecord()).
template <ReactorName name, class Owner, class Record, auto bindHandler, auto... routes>
class Reactor : public NotifieeConstOf<Record> {
 public:
  /// A reactor of `owner`, which outlives it or retires it first; bound to no
  /// record.
  explicit Reactor(Owner* owner) : owner_(owner) {}

  /// The type's descriptor, named after the owner's type and the reactor's name.
  static const TypeDescriptor& staticType() {
    static const std::string qualified = std::string(Owner::staticType().name()) + "::" + name.text;
    static const TypeDescriptor type(qualified.c_str(), {});
    return type;
  }
  /// The descriptor of the reactor's own type (staticType()).
  const TypeDescriptor& fwkType() const override { return staticType(); }

  /// The owner; null once retired.
  Owner* owner() const { return owner_; }

  /// Binds to `notifier` (cast to the record type): see Binding above.
  void notifierIs(const Ptr<const PtrInterface>& notifier) override {
    const Ptr<const Record> record(dynamic_cast<const Record*>(notifier.get()));
    if (record.get() == this->notifier()) return;
    PtrInterface::NotifieeConst::notifierIs(record);
    if (record && !this->vexMarkedForDeletion() && owner_) runBindHandler(*record);
    this->isRegisteredNotifieeIs(true);
  }

  /// Binds to `record` and registers without running any handler: for a first
  /// record, whose handlers the owner runs itself.
  void bindQuietly(const Ptr<const Record>& record) {
    PtrInterface::NotifieeConst::notifierIs(record);
    this->isRegisteredNotifieeIs(true);
  }

  /// Runs the handler routed for `attribute`: see Routing above.
  void onAttribute(AttributeId attribute, const void* key) override {
    if (this->vexMarkedForDeletion() || !owner_) return;
    (dispatch<routes>(attribute, key) || ...);
  }

  /// Clears the owner link and marks the reactor for deletion: see Retiring
  /// above.
  void retire() {
    owner_ = nullptr;
    this->vexDoZombieReactors(true);
  }

 private:
  void runBindHandler(const Record& record) {
    if constexpr (std::is_invocable_v<decltype(bindHandler), Owner&, const Record&>) {
      (owner_->*bindHandler)(record);
    } else if constexpr (std::is_invocable_v<decltype(bindHandler), Owner&>) {
      (owner_->*bindHandler)();
    }
  }

  // Runs the route's handler if it is the one for `attribute`.
  template <auto route>
  bool dispatch(AttributeId attribute, const void* key) {
    if (attribute != route.attribute) return false;
    if constexpr (route.argument == RouteArgument::key) {
      using Key = std::remove_cvref_t<typename HandlerArgument<decltype(route.handler)>::type>;
      if (key) (owner_->*route.handler)(*static_cast<const Key*>(key));
    } else if constexpr (route.argument == RouteArgument::record) {
      if (const Record* record = this->notifier()) (owner_->*route.handler)(*record);
    } else {
      (owner_->*route.handler)();
    }
    return true;
  }

  template <class Handler>
  struct HandlerArgument;
  template <class Argument>
  struct HandlerArgument<void (Owner::*)(Argument)> {
    using type = Argument;
  };

  Owner* owner_;
};

}  // namespace Vex
