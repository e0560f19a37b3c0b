#pragma once
/// \class Controller::WhiteListCore
/// A named set of allowed keys (switches or service versions), mirrored into
/// two filter records, one for mounting and one for publishing, whose included
/// sets always equal the keys whose entry is true. SwitchWhiteListBase and
/// VersionWhiteListBase are this core under their own names; Kind
/// (white_list_kinds.h) holds what differs between them. Code written for both
/// kinds (the tests, a sweep over every list) uses the core's own names below.
///
/// The core knows no service: ServiceWhiteList binds the two filters to a
/// service's configuration records. Both filters must be set before an entry
/// changes; the core does not check.

#include <hubstore/allowlist/white_list_kinds.h>
#include <hubstore/foundations/framework/ferrolink.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/type_descriptor.h>
#include <hubstore/foundations/framework/value_map.h>

namespace Controller {

template <class Kind_>
class WhiteListCore : public Vex::PtrInterface {
 public:
  /// What differs between a switch list and a version list.
  using Kind = Kind_;
  /// The entry key: a SystemId or a service version number.
  using Key = typename Kind::Key;
  /// The filter record type: MountFilterSystem or MountFilterServiceVersion.
  using Filter = typename Kind::Filter;

  /// The type's descriptor, as Vex::make needs; attribute ids follow the
  /// declaration order, from 258.
  static const Vex::TypeDescriptor& staticType() {
    static const Vex::TypeDescriptor type(Kind::baseTypeName,
                                          {{"name", Vex::AttributeKind::attribute, 258},
                                           {Kind::mountFilterAttribute, Vex::AttributeKind::attribute, 259},
                                           {Kind::publishFilterAttribute, Vex::AttributeKind::attribute, 260},
                                           {Kind::entriesAttribute, Vex::AttributeKind::collection, 261},
                                           {Kind::entryHandler, Vex::AttributeKind::handler, 262},
                                           {"initialized", Vex::AttributeKind::attribute, 263}});
    return type;
  }
  /// The descriptor of the object's own type (staticType()).
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  /// The list's name, fixed at creation.
  const Vex::String& name() const { return name_; }
  /// Whether the owner has finished setting the list up; the list itself does
  /// not read it.
  bool initialized() const { return initialized_; }
  /// Set by the owner once the list is set up.
  void initializedIs(bool initialized) { initialized_ = initialized; }

  /// The filter record the entries are mirrored into for mounting; the list
  /// holds a counted reference. Null until set.
  const Vex::Ptr<Filter>& mountFilter() const { return mountFilter_; }
  /// Replaces the mount filter; the entries are not replayed into it.
  void mountFilterIs(const Vex::Ptr<Filter>& filter) { mountFilter_ = filter; }
  /// The filter record the entries are mirrored into for publishing; the list
  /// holds a counted reference. Null until set.
  const Vex::Ptr<Filter>& publishFilter() const { return publishFilter_; }
  /// Replaces the publish filter; the entries are not replayed into it.
  void publishFilterIs(const Vex::Ptr<Filter>& filter) { publishFilter_ = filter; }

  /// Whether `key`'s entry is true; an absent entry reads as false.
  bool allowed(const Key& key) const {
    const bool* allowed = allowed_.value(key);
    return allowed && *allowed;
  }
  /// Every entry, true or false, by key.
  const Vex::ValueMap<Key, bool>& allowedMembers() const { return allowed_; }
  /// Stores `key`'s entry; an unchanged value does nothing at all. Storing false
  /// still runs the handler, which takes the key out of both filters.
  void allowedIs(const Key& key, bool allowed) {
    if (allowed_.valueIs(key, allowed)) handleAllowed(key);
  }
  /// Removes `key`'s entry; the handler runs only when there was one.
  void allowedDel(Key key) {
    if (allowed_.valueDel(key)) handleAllowed(key);
  }
  /// Removes every entry, one by one, so that every removed key also leaves
  /// the filters.
  void allowedDelAll() {
    for (auto it = allowed_.begin(); it != allowed_.end(); ++it) allowedDel(it->key);
  }
  /// Brings both filters, publish first, in line with one entry.
  void handleAllowed(const Key& key) {
    const auto filterKey = Kind::filterKey(key);
    HUBSTORE_TRACE(8) << Kind::entryTraceClass << Kind::entryHandler << Kind::entryTraceList << name_
                      << Kind::entryTraceKey << filterKey;
    if (allowed(key)) {
      (publishFilter_.get()->*Kind::filterEntryIs)(filterKey, true);
      (mountFilter_.get()->*Kind::filterEntryIs)(filterKey, true);
    } else {
      (publishFilter_.get()->*Kind::filterEntryDel)(filterKey);
      (mountFilter_.get()->*Kind::filterEntryDel)(filterKey);
    }
  }
  /// Brings both filters in line with every entry.
  void handleAllowed() {
    for (auto it = allowed_.begin(); it != allowed_.end(); ++it) handleAllowed(it->key);
  }

 protected:
  /// Made by the derived list's factory, with no filters and no entries.
  ///@{
  explicit WhiteListCore(const Vex::String& name) : name_(name) {}
  ~WhiteListCore() override = default;
  ///@}

 private:
  Vex::String name_;
  Vex::Ptr<Filter> mountFilter_;
  Vex::Ptr<Filter> publishFilter_;
  Vex::ValueMap<Key, bool> allowed_;
  bool initialized_ = false;
};

}  // namespace Controller
