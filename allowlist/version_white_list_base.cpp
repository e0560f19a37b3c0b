#include <hubstore/allowlist/version_white_list_base.h>

#include <hubstore/foundations/framework/ferrolink.h>

namespace Controller {

Vex::Ptr<VersionWhiteListBase> VersionWhiteListBase::VersionWhiteListBaseIs(const Vex::String& name) {
  return Vex::make<VersionWhiteListBase>(name);
}

Vex::Ptr<VersionWhiteListBase> versionWhiteListBaseFactory(const Vex::String& name) {
  return VersionWhiteListBase::VersionWhiteListBaseIs(name);
}

// Attribute ids follow the declaration order, from 258.
const Vex::TypeDescriptor& VersionWhiteListBase::staticType() {
  static const Vex::TypeDescriptor type("Controller::VersionWhiteListBase",
                                        {{"name", Vex::AttributeKind::attribute, 258},
                                         {"mountVersionFilter", Vex::AttributeKind::attribute, 259},
                                         {"publishVersionFilter", Vex::AttributeKind::attribute, 260},
                                         {"allowedVersion", Vex::AttributeKind::collection, 261},
                                         {"handleAllowedVersion", Vex::AttributeKind::handler, 262},
                                         {"initialized", Vex::AttributeKind::attribute, 263}});
  return type;
}

bool VersionWhiteListBase::allowedVersion(std::uint32_t version) const {
  const bool* supported = allowedVersion_.value(version);
  return supported && *supported;
}

void VersionWhiteListBase::allowedVersionIs(std::uint32_t version, bool supported) {
  // An insert of false counts as a change: the handler then makes sure the
  // filters do not hold the version.
  if (!allowedVersion_.valueIs(version, supported)) return;
  handleAllowedVersion(version);
}

void VersionWhiteListBase::allowedVersionDel(std::uint32_t version) {
  if (allowedVersion_.valueDel(version)) handleAllowedVersion(version);
}

void VersionWhiteListBase::allowedVersionDelAll() {
  // Entry by entry, so that every removed version also leaves the filters.
  for (auto it = allowedVersion_.begin(); it != allowedVersion_.end(); ++it) allowedVersionDel(it->key);
}

void VersionWhiteListBase::handleAllowedVersion(std::uint32_t version) {
  HUBSTORE_TRACE(8) << "VersionWhiteListBase::" << "handleAllowedVersion" << " whitelist: " << name_
                    << " version: " << version;
  // Keyed by the number itself; publish filter first, then mount filter.
  if (allowedVersion(version)) {
    publishVersionFilter_->includedServiceVersionIs(version, true);
    mountVersionFilter_->includedServiceVersionIs(version, true);
  } else {
    publishVersionFilter_->includedServiceVersionDel(version);
    mountVersionFilter_->includedServiceVersionDel(version);
  }
}

void VersionWhiteListBase::handleAllowedVersion() {
  for (auto it = allowedVersion_.begin(); it != allowedVersion_.end(); ++it) handleAllowedVersion(it->key);
}

}  // namespace Controller
