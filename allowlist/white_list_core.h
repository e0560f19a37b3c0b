#pragma once
// Controller::WhiteListCore<Kind>: a named set of allowed keys (switches or
// service versions), mirrored into two filter records, one for mounting and
// one for publishing, whose included sets always equal the keys whose entry
// is true. SwitchWhiteListBase and VersionWhiteListBase are this core under
// their own names; Kind (white_list_kinds.h) holds what differs between them.
// Code written for both kinds (the tests, a sweep over every list) uses the
// core's own names below.
//
// The core knows no service: ServiceWhiteList binds the two filters to a
// service's configuration records. Both filters must be set before an entry
// changes; the core does not check.

#include <hubstore/allowlist/white_list_kinds.h>
#include <hubstore/foundations/framework/ferrolink.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/type_descriptor.h>
#include <hubstore/foundations/framework/value_map.h>

namespace Controller {

template <class Kind_>
class WhiteListCore : public Vex::PtrInterface {
 public:
  using Kind = Kind_;
  using Key = typename Kind::Key;
  using Filter = typename Kind::Filter;

  // Attribute ids follow the declaration order, from 258.
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
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const Vex::String& name() const { return name_; }
  bool initialized() const { return initialized_; }
  void initializedIs(bool initialized) { initialized_ = initialized; }

  const Vex::Ptr<Filter>& mountFilter() const { return mountFilter_; }
  void mountFilterIs(const Vex::Ptr<Filter>& filter) { mountFilter_ = filter; }
  const Vex::Ptr<Filter>& publishFilter() const { return publishFilter_; }
  void publishFilterIs(const Vex::Ptr<Filter>& filter) { publishFilter_ = filter; }

  // Absent reads as false.
  bool allowed(const Key& key) const {
    const bool* allowed = allowed_.value(key);
    return allowed && *allowed;
  }
  const Vex::ValueMap<Key, bool>& allowedMembers() const { return allowed_; }
  // Stores the entry; an unchanged value does nothing at all. Storing false
  // still runs the handler, which takes the key out of both filters.
  void allowedIs(const Key& key, bool allowed) {
    if (allowed_.valueIs(key, allowed)) handleAllowed(key);
  }
  // Runs the handler only when an entry was removed.
  void allowedDel(Key key) {
    if (allowed_.valueDel(key)) handleAllowed(key);
  }
  // Entry by entry, so that every removed key also leaves the filters.
  void allowedDelAll() {
    for (auto it = allowed_.begin(); it != allowed_.end(); ++it) allowedDel(it->key);
  }
  // Brings both filters, publish first, in line with one entry.
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
  void handleAllowed() {
    for (auto it = allowed_.begin(); it != allowed_.end(); ++it) handleAllowed(it->key);
  }

 protected:
  explicit WhiteListCore(const Vex::String& name) : name_(name) {}
  ~WhiteListCore() override = default;

 private:
  Vex::String name_;
  Vex::Ptr<Filter> mountFilter_;
  Vex::Ptr<Filter> publishFilter_;
  Vex::ValueMap<Key, bool> allowed_;
  bool initialized_ = false;
};

}  // namespace Controller
