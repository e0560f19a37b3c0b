#include "tests/model/close_model.h"

#include <iterator>

namespace hubstore::model {
namespace {

// The five calls of one kind of list, as offsets from its first.
enum ListOp { declare, remove, entry, entryDel, entryDelAll };

int switchOf(const std::string& spelling) {
  for (const SwitchSpelling& known : switchSpellings()) {
    if (known.text == spelling) return known.switchNumber;
  }
  return 0;
}

// Removes the members `keep` refuses, in place.
template <class Set, class Keep>
void eraseUnless(Set& members, Keep keep) {
  for (auto it = members.begin(); it != members.end();) {
    it = keep(*it) ? std::next(it) : members.erase(it);
  }
}

// The verbs of the calls, by kind; a list call's words follow from its kind.
const char* const kVerbs[] = {
    "service svcA", "serviceDel", "restart", "group", "groupDel", "switchWhiteList", "switchWhiteListDel",
    "allowedSwitch", "allowedSwitchDel", "allowedSwitchDelAll", "versionWhiteList", "versionWhiteListDel",
    "allowedVersion", "allowedVersionDel", "allowedVersionDelAll", "", "", "", "closed true", "closed false",
};

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
  const bool mount = side == Side::mount;
  const std::string place = std::string(mount ? "set mountConfig" : "set publishConfig");
  switch (kind) {
    case staleGroup:
      return place + (mount ? ".mountGroupConfig[" : ".publishGroupConfig[") + name +
             "] = " + (mount ? "ServiceMountGroupConfig" : "ServicePublishGroupConfig");
    case staleSystem:
      return place + ".systemFilter[" + name + "] = MountFilterSystem\n" + place + ".systemFilter[" + name +
             "].includedSystem[" + spelling + "] = true";
    case staleVersion:
      return place + ".versionFilter[" + name + "] = MountFilterServiceVersion\n" + place + ".versionFilter[" +
             name + "].includedServiceVersion[" + std::to_string(version) + "] = true";
    default:
      break;
  }
  std::string line = kVerbs[kind];
  if (kind < group || kind > allowedVersionDelAll) return line;
  line += " " + name;
  if (kind == group) return line + " none";
  const int op = kind < versionList ? kind - switchList : kind - versionList;
  if (op == entry || op == entryDel) {
    line += ' ';
    line += kind < versionList ? canonicalSpelling(switchNumber) : std::to_string(version);
  }
  return op == entry ? line + (value ? " true" : " false") : line;
}

bool CloseModel::legal(const AgentCall& call) const {
  if (call.kind == AgentCall::service || (call.kind >= AgentCall::staleGroup && call.kind <= AgentCall::staleVersion)) {
    return !hasService_;
  }
  // hubstore-sim refuses to delete what is not there.
  if (call.kind == AgentCall::groupDel) return groups_.count(call.name) > 0;
  if (call.kind >= AgentCall::switchListDel && call.kind <= AgentCall::allowedSwitchDelAll) {
    return switches_.entries.count(call.name) > 0;
  }
  if (call.kind >= AgentCall::versionListDel && call.kind <= AgentCall::allowedVersionDelAll) {
    return versions_.entries.count(call.name) > 0;
  }
  return hasService_;
}

template <class Key, class Member>
void CloseModel::applyList(ModelLists<Key, Member>& lists, int op, const std::string& name, Key key, bool value) {
  auto setMember = [&](Key changed, bool present) {
    for (ConfigContents* config : {&publish_, &mount_}) {
      auto& members = (config->*lists.filters)[name];
      if (present) {
        members.insert(lists.memberOf(changed));
      } else {
        members.erase(lists.memberOf(changed));
      }
    }
  };
  switch (op) {
    case declare:
      // A new list takes over a filter of its name that is already there,
      // members included.
      if (lists.entries.emplace(name, std::map<Key, bool>{}).second) {
        (mount_.*lists.filters)[name];
        (publish_.*lists.filters)[name];
      }
      break;
    case remove:
      lists.entries.erase(name);
      eraseFromBoth(lists.filters, name);
      break;
    case entry: {
      auto& allowed = lists.entries.at(name);
      const auto found = allowed.find(key);
      if (found != allowed.end() && found->second == value) break;
      allowed[key] = value;
      setMember(key, value);
      break;
    }
    case entryDel:
      if (lists.entries.at(name).erase(key)) setMember(key, false);
      break;
    case entryDelAll:
      for (const auto& [removed, allowed] : lists.entries.at(name)) setMember(removed, false);
      lists.entries.at(name).clear();
      break;
  }
}

void CloseModel::apply(const AgentCall& call) {
  const std::string& name = call.name;
  ConfigContents& sideConfig = call.side == Side::mount ? mount_ : publish_;
  if (call.kind >= AgentCall::switchList && call.kind <= AgentCall::allowedSwitchDelAll) {
    applyList(switches_, call.kind - AgentCall::switchList, name, call.switchNumber, call.value);
    return;
  }
  if (call.kind >= AgentCall::versionList && call.kind <= AgentCall::allowedVersionDelAll) {
    applyList(versions_, call.kind - AgentCall::versionList, name, call.version, call.value);
    return;
  }
  switch (call.kind) {
    case AgentCall::service:
      hasService_ = true;
      break;
    case AgentCall::serviceDel:
      // Each group withdraws its group configurations, each list its filters.
      for (const std::string& group : groups_) eraseFromBoth(&ConfigContents::groups, group);
      for (const auto& [list, allowed] : switches_.entries) eraseFromBoth(switches_.filters, list);
      for (const auto& [list, allowed] : versions_.entries) eraseFromBoth(versions_.filters, list);
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
      groups_.erase(name);
      eraseFromBoth(&ConfigContents::groups, name);
      break;
    case AgentCall::staleGroup:
      sideConfig.groups.insert(name);
      break;
    case AgentCall::staleSystem:
      sideConfig.systemFilters[name].insert(call.spelling);
      break;
    case AgentCall::staleVersion:
      sideConfig.versionFilters[name].insert(call.version);
      break;
    case AgentCall::close:
      // Group configurations without a live group go; a filter goes whole
      // without a live list of its name, and otherwise keeps only what its
      // list allows.
      if (!closed_) {
        for (ConfigContents* config : {&publish_, &mount_}) {
          eraseUnless(config->groups, [&](const std::string& group) { return groups_.count(group) > 0; });
        }
        prune(switches_, [](const std::map<int, bool>& allowed, const std::string& spelling) {
          const auto found = allowed.find(switchOf(spelling));
          return switchOf(spelling) != 0 && found != allowed.end() && found->second;
        });
        prune(versions_, [](const std::map<std::uint32_t, bool>& allowed, std::uint32_t version) {
          const auto found = allowed.find(version);
          return found != allowed.end() && found->second;
        });
      }
      closed_ = true;
      mount_.warm = true;
      break;
    case AgentCall::reopen:
      closed_ = false;
      break;
    default:
      break;
  }
}

template <class Part>
void CloseModel::eraseFromBoth(Part ConfigContents::*part, const std::string& name) {
  (mount_.*part).erase(name);
  (publish_.*part).erase(name);
}

template <class Key, class Member, class Allowed>
void CloseModel::prune(ModelLists<Key, Member>& lists, Allowed allowed) {
  for (ConfigContents* config : {&publish_, &mount_}) {
    eraseUnless(config->*lists.filters, [&](auto& filter) {
      const auto list = lists.entries.find(filter.first);
      if (list == lists.entries.end()) return false;
      eraseUnless(filter.second, [&](const Member& member) { return allowed(list->second, member); });
      return true;
    });
  }
}

void CloseModel::forgetService() {
  hasService_ = false;
  closed_ = false;
  groups_.clear();
  switches_.entries.clear();
  versions_.entries.clear();
}

}  // namespace hubstore::model
