#pragma once
// Controller::WhiteListCore<Kind>: a named set of allowed keys (switches or
// service versions), mirrored into two filter records, one for mounting and
// one for publishing, whose included sets always equal the keys whose entry
// is true. SwitchWhiteListBase and VersionWhiteListBase are this core under
// their own names; Kind (white_list_kinds.h) holds what differs between them.
//
// The core knows no service: ServiceWhiteList binds the two filters to a
// service's configuration records. Both filters must be set before an entry
// changes; the core does not check.

#include <hubstore/allowlist/white_list_kinds.h>
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

  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const Vex::String& name() const { return name_; }
  bool initialized() const { return initialized_; }
  void initializedIs(bool initialized) { initialized_ = initialized; }

 protected:
  explicit WhiteListCore(const Vex::String& name) : name_(name) {}
  ~WhiteListCore() override = default;

  // The derived classes offer these under their kind's names.
  const Vex::Ptr<Filter>& mountFilter() const { return mountFilter_; }
  void mountFilterIs(const Vex::Ptr<Filter>& filter) { mountFilter_ = filter; }
  const Vex::Ptr<Filter>& publishFilter() const { return publishFilter_; }
  void publishFilterIs(const Vex::Ptr<Filter>& filter) { publishFilter_ = filter; }
  // Absent reads as false.
  bool allowed(const Key& key) const;
  const Vex::ValueMap<Key, bool>& allowedMembers() const { return allowed_; }
  // Stores the entry; an unchanged value does nothing at all. Storing false
  // still runs the handler, which takes the key out of both filters.
  void allowedIs(const Key& key, bool allowed);
  // Runs the handler only when an entry was removed.
  void allowedDel(Key key);
  // Entry by entry, so that every removed key also leaves the filters.
  void allowedDelAll();
  // Brings both filters (publish first) in line with one entry, or all.
  void handleAllowed(const Key& key);
  void handleAllowed();

 private:
  Vex::String name_;
  Vex::Ptr<Filter> mountFilter_;
  Vex::Ptr<Filter> publishFilter_;
  Vex::ValueMap<Key, bool> allowed_;
  bool initialized_ = false;
};

extern template class WhiteListCore<SwitchWhiteListKind>;
extern template class WhiteListCore<VersionWhiteListKind>;

}  // namespace Controller
