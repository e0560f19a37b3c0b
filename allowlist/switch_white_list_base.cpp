#include <hubstore/allowlist/switch_white_list_base.h>

#include <hubstore/foundations/framework/ferrolink.h>

namespace Controller {

Vex::Ptr<SwitchWhiteListBase> SwitchWhiteListBase::SwitchWhiteListBaseIs(const Vex::String& name) {
  return Vex::make<SwitchWhiteListBase>(name);
}

Vex::Ptr<SwitchWhiteListBase> switchWhiteListBaseFactory(const Vex::String& name) {
  return SwitchWhiteListBase::SwitchWhiteListBaseIs(name);
}

// Attribute ids follow the declaration order, from 258.
const Vex::TypeDescriptor& SwitchWhiteListBase::staticType() {
  static const Vex::TypeDescriptor type("Controller::SwitchWhiteListBase",
                                        {{"name", Vex::AttributeKind::attribute, 258},
                                         {"mountSystemFilter", Vex::AttributeKind::attribute, 259},
                                         {"publishSystemFilter", Vex::AttributeKind::attribute, 260},
                                         {"allowedSwitch", Vex::AttributeKind::collection, 261},
                                         {"handleAllowedSwitch", Vex::AttributeKind::handler, 262},
                                         {"initialized", Vex::AttributeKind::attribute, 263}});
  return type;
}

bool SwitchWhiteListBase::allowedSwitch(const SystemId& switchId) const {
  const bool* allowed = allowedSwitch_.value(switchId);
  return allowed && *allowed;
}

void SwitchWhiteListBase::allowedSwitchIs(const SystemId& switchId, bool allowed) {
  // An insert of false counts as a change: the handler then makes sure the
  // filters do not hold the switch.
  if (!allowedSwitch_.valueIs(switchId, allowed)) return;
  handleAllowedSwitch(switchId);
}

void SwitchWhiteListBase::allowedSwitchDel(SystemId switchId) {
  if (allowedSwitch_.valueDel(switchId)) handleAllowedSwitch(switchId);
}

void SwitchWhiteListBase::allowedSwitchDelAll() {
  // Entry by entry, so that every removed switch also leaves the filters.
  for (auto it = allowedSwitch_.begin(); it != allowedSwitch_.end(); ++it) allowedSwitchDel(it->key);
}

void SwitchWhiteListBase::handleAllowedSwitch(const SystemId& switchId) {
  const Vex::String system = switchId.stringValue();
  // Traced under the name of the class users create, not this base.
  HUBSTORE_TRACE(8) << "SwitchWhiteList::" << "handleAllowedSwitch" << " whiteList: " << name_
                    << " switchId: " << system;
  // The filters are keyed by the text form, not the id; publish filter
  // first, then mount filter, in both directions.
  if (allowedSwitch(switchId)) {
    publishSystemFilter_->includedSystemIs(system, true);
    mountSystemFilter_->includedSystemIs(system, true);
  } else {
    publishSystemFilter_->includedSystemDel(system);
    mountSystemFilter_->includedSystemDel(system);
  }
}

void SwitchWhiteListBase::handleAllowedSwitch() {
  for (auto it = allowedSwitch_.begin(); it != allowedSwitch_.end(); ++it) handleAllowedSwitch(it->key);
}

}  // namespace Controller
