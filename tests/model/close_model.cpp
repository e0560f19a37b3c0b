#include "tests/model/close_model.h"

#include <iterator>

namespace hubstore::model {
namespace {

const char* sideName(Side side) { return side == Side::mount ? "mountConfig" : "publishConfig"; }
const char* boolName(bool value) { return value ? "true" : "false"; }

int switchOf(const std::string& spelling) {
  for (const SwitchSpelling& known : switchSpellings()) {
    if (known.text == spelling) return known.switchNumber;
  }
  return 0;
}

// Removes the members `keep` refuses, in place.
template <class Set, class Keep>
void prune(Set& members, Keep keep) {
  for (auto it = members.begin(); it != members.end();) {
    it = keep(*it) ? std::next(it) : members.erase(it);
  }
}

}  // namespace

const std::vector<SwitchSpelling>& switchSpellings() {
  static const std::vector<SwitchSpelling> spellings = {
      {"00:1c:73:00:00:01", 1}, {"00-1C-73-00-00-01", 1}, {"001c.7300.0001", 1},
      {"00:1c:73:00:00:02", 2}, {"00:1C:73:00:00:02", 2}, {"001C.7300.0002", 2},
      {"00:1c:73:00:00:03", 3}, {"00-1c-73-00-00-03", 3}, {"00:1c:73:zz:00:01", 0},
      {"switch-1", 0},
  };
  return spellings;
}

std::string canonicalSpelling(int switchNumber) { return "00:1c:73:00:00:0" + std::to_string(switchNumber); }

std::string AgentCall::scenarioLines() const {
  const std::string place = std::string(sideName(side));
  switch (kind) {
    case service: return "service svcA";
    case serviceDel: return "serviceDel";
    case restart: return "restart";
    case group: return "group " + name + " none";
    case groupDel: return "groupDel " + name;
    case switchList: return "switchWhiteList " + name;
    case switchListDel: return "switchWhiteListDel " + name;
    case allowedSwitch:
      return "allowedSwitch " + name + " " + canonicalSpelling(switchNumber) + " " + boolName(value);
    case allowedSwitchDel: return "allowedSwitchDel " + name + " " + canonicalSpelling(switchNumber);
    case allowedSwitchDelAll: return "allowedSwitchDelAll " + name;
    case versionList: return "versionWhiteList " + name;
    case versionListDel: return "versionWhiteListDel " + name;
    case allowedVersion: return "allowedVersion " + name + " " + std::to_string(version) + " " + boolName(value);
    case allowedVersionDel: return "allowedVersionDel " + name + " " + std::to_string(version);
    case allowedVersionDelAll: return "allowedVersionDelAll " + name;
    case staleGroup:
      return "set " + place + (side == Side::mount ? ".mountGroupConfig[" : ".publishGroupConfig[") + name +
             "] = " + (side == Side::mount ? "ServiceMountGroupConfig" : "ServicePublishGroupConfig");
    case staleSystem:
      return "set " + place + ".systemFilter[" + name + "] = MountFilterSystem\nset " + place + ".systemFilter[" +
             name + "].includedSystem[" + spelling + "] = true";
    case staleVersion:
      return "set " + place + ".versionFilter[" + name + "] = MountFilterServiceVersion\nset " + place +
             ".versionFilter[" + name + "].includedServiceVersion[" + std::to_string(version) + "] = true";
    case close: return "closed true";
    case reopen: return "closed false";
  }
  return "";
}

bool CloseModel::legal(const AgentCall& call) const {
  switch (call.kind) {
    case AgentCall::service:
    case AgentCall::staleGroup:
    case AgentCall::staleSystem:
    case AgentCall::staleVersion:
      return !hasService_;
    case AgentCall::allowedSwitch:
    case AgentCall::allowedSwitchDel:
    case AgentCall::allowedSwitchDelAll:
      return hasSwitchList(call.name);
    case AgentCall::allowedVersion:
    case AgentCall::allowedVersionDel:
    case AgentCall::allowedVersionDelAll:
      return hasVersionList(call.name);
    default:
      return hasService_;
  }
}

void CloseModel::apply(const AgentCall& call) {
  const std::string& name = call.name;
  switch (call.kind) {
    case AgentCall::service:
      hasService_ = true;
      break;
    case AgentCall::serviceDel:
      // Each group withdraws its group configurations, each list its filters.
      for (const std::string& group : groups_) {
        mount_.groups.erase(group);
        publish_.groups.erase(group);
      }
      for (const auto& [list, allowed] : switchLists_) {
        mount_.systemFilters.erase(list);
        publish_.systemFilters.erase(list);
      }
      for (const auto& [list, allowed] : versionLists_) {
        mount_.versionFilters.erase(list);
        publish_.versionFilters.erase(list);
      }
      forgetService();
      break;
    case AgentCall::restart:
      forgetService();
      break;
    case AgentCall::group:
      groups_.insert(name);
      mount_.groups.insert(name);
      publish_.groups.insert(name);
      break;
    case AgentCall::groupDel:
      if (groups_.erase(name)) {
        mount_.groups.erase(name);
        publish_.groups.erase(name);
      }
      break;
    case AgentCall::switchList:
      // A new list takes over a filter of its name that is already there,
      // members included.
      if (switchLists_.emplace(name, std::map<int, bool>{}).second) {
        mount_.systemFilters[name];
        publish_.systemFilters[name];
      }
      break;
    case AgentCall::switchListDel:
      if (switchLists_.erase(name)) {
        mount_.systemFilters.erase(name);
        publish_.systemFilters.erase(name);
      }
      break;
    case AgentCall::allowedSwitch: {
      auto& allowed = switchLists_.at(name);
      const auto entry = allowed.find(call.switchNumber);
      if (entry != allowed.end() && entry->second == call.value) break;
      allowed[call.switchNumber] = call.value;
      for (ConfigContents* config : {&publish_, &mount_}) {
        auto& members = config->systemFilters[name];
        if (call.value) {
          members.insert(canonicalSpelling(call.switchNumber));
        } else {
          members.erase(canonicalSpelling(call.switchNumber));
        }
      }
      break;
    }
    case AgentCall::allowedSwitchDel:
      if (switchLists_.at(name).erase(call.switchNumber)) {
        mount_.systemFilters[name].erase(canonicalSpelling(call.switchNumber));
        publish_.systemFilters[name].erase(canonicalSpelling(call.switchNumber));
      }
      break;
    case AgentCall::allowedSwitchDelAll:
      for (const auto& [number, allowed] : switchLists_.at(name)) {
        mount_.systemFilters[name].erase(canonicalSpelling(number));
        publish_.systemFilters[name].erase(canonicalSpelling(number));
      }
      switchLists_.at(name).clear();
      break;
    case AgentCall::versionList:
      if (versionLists_.emplace(name, std::map<std::uint32_t, bool>{}).second) {
        mount_.versionFilters[name];
        publish_.versionFilters[name];
      }
      break;
    case AgentCall::versionListDel:
      if (versionLists_.erase(name)) {
        mount_.versionFilters.erase(name);
        publish_.versionFilters.erase(name);
      }
      break;
    case AgentCall::allowedVersion: {
      auto& allowed = versionLists_.at(name);
      const auto entry = allowed.find(call.version);
      if (entry != allowed.end() && entry->second == call.value) break;
      allowed[call.version] = call.value;
      for (ConfigContents* config : {&publish_, &mount_}) {
        auto& members = config->versionFilters[name];
        if (call.value) {
          members.insert(call.version);
        } else {
          members.erase(call.version);
        }
      }
      break;
    }
    case AgentCall::allowedVersionDel:
      if (versionLists_.at(name).erase(call.version)) {
        mount_.versionFilters[name].erase(call.version);
        publish_.versionFilters[name].erase(call.version);
      }
      break;
    case AgentCall::allowedVersionDelAll:
      for (const auto& [version, allowed] : versionLists_.at(name)) {
        mount_.versionFilters[name].erase(version);
        publish_.versionFilters[name].erase(version);
      }
      versionLists_.at(name).clear();
      break;
    case AgentCall::staleGroup:
      (call.side == Side::mount ? mount_ : publish_).groups.insert(name);
      break;
    case AgentCall::staleSystem:
      (call.side == Side::mount ? mount_ : publish_).systemFilters[name].insert(call.spelling);
      break;
    case AgentCall::staleVersion:
      (call.side == Side::mount ? mount_ : publish_).versionFilters[name].insert(call.version);
      break;
    case AgentCall::close:
      if (!closed_) closeService();
      closed_ = true;
      break;
    case AgentCall::reopen:
      closed_ = false;
      break;
  }
}

// Group configurations without a live group go; a filter goes whole without
// a live list of its name, and otherwise keeps only what its list allows.
void CloseModel::closeService() {
  for (ConfigContents* config : {&publish_, &mount_}) {
    prune(config->groups, [&](const std::string& group) { return groups_.count(group) > 0; });
    for (auto filter = config->systemFilters.begin(); filter != config->systemFilters.end();) {
      const auto list = switchLists_.find(filter->first);
      if (list == switchLists_.end()) {
        filter = config->systemFilters.erase(filter);
        continue;
      }
      prune(filter->second, [&](const std::string& spelling) {
        const auto allowed = list->second.find(switchOf(spelling));
        return switchOf(spelling) != 0 && allowed != list->second.end() && allowed->second;
      });
      ++filter;
    }
    for (auto filter = config->versionFilters.begin(); filter != config->versionFilters.end();) {
      const auto list = versionLists_.find(filter->first);
      if (list == versionLists_.end()) {
        filter = config->versionFilters.erase(filter);
        continue;
      }
      prune(filter->second, [&](std::uint32_t version) {
        const auto allowed = list->second.find(version);
        return allowed != list->second.end() && allowed->second;
      });
      ++filter;
    }
  }
}

void CloseModel::forgetService() {
  hasService_ = false;
  closed_ = false;
  groups_.clear();
  switchLists_.clear();
  versionLists_.clear();
}

}  // namespace hubstore::model
