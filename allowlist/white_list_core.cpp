#include <hubstore/allowlist/white_list_core.h>

#include <hubstore/foundations/framework/ferrolink.h>

namespace Controller {

// Attribute ids follow the declaration order, from 258.
template <class Kind>
const Vex::TypeDescriptor& WhiteListCore<Kind>::staticType() {
  static const Vex::TypeDescriptor type(Kind::baseTypeName,
                                        {{"name", Vex::AttributeKind::attribute, 258},
                                         {Kind::mountFilterAttribute, Vex::AttributeKind::attribute, 259},
                                         {Kind::publishFilterAttribute, Vex::AttributeKind::attribute, 260},
                                         {Kind::entriesAttribute, Vex::AttributeKind::collection, 261},
                                         {Kind::entryHandler, Vex::AttributeKind::handler, 262},
                                         {"initialized", Vex::AttributeKind::attribute, 263}});
  return type;
}

template <class Kind>
bool WhiteListCore<Kind>::allowed(const Key& key) const {
  const bool* allowed = allowed_.value(key);
  return allowed && *allowed;
}

template <class Kind>
void WhiteListCore<Kind>::allowedIs(const Key& key, bool allowed) {
  if (!allowed_.valueIs(key, allowed)) return;
  handleAllowed(key);
}

template <class Kind>
void WhiteListCore<Kind>::allowedDel(Key key) {
  if (allowed_.valueDel(key)) handleAllowed(key);
}

template <class Kind>
void WhiteListCore<Kind>::allowedDelAll() {
  for (auto it = allowed_.begin(); it != allowed_.end(); ++it) allowedDel(it->key);
}

template <class Kind>
void WhiteListCore<Kind>::handleAllowed(const Key& key) {
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

template <class Kind>
void WhiteListCore<Kind>::handleAllowed() {
  for (auto it = allowed_.begin(); it != allowed_.end(); ++it) handleAllowed(it->key);
}

template class WhiteListCore<SwitchWhiteListKind>;
template class WhiteListCore<VersionWhiteListKind>;

}  // namespace Controller
