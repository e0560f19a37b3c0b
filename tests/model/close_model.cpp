#include "tests/model/close_model.h"

#include <iterator>

namespace hubstore::model {
namespace {

// The key of the list entry that allows a filter member: a switch's canonical
// spelling (none for what is no address), a version as it is.
std::string entryKeyOf(ListKind kind, const std::string& member) {
  if (kind == versions) return member;
  for (const SwitchSpelling& known : switchSpellings()) {
    if (known.text == member && known.switchNumber != 0) return canonicalSpelling(known.switchNumber);
  }
  return "";
}

// Removes the members `keep` refuses, in place.
template <class Set, class Keep>
void eraseUnless(Set& members, Keep keep) {
  for (auto it = members.begin(); it != members.end();) {
    it = keep(*it) ? std::next(it) : members.erase(it);
  }
}

// By kind of list: the verbs of the list and of its entries, and the
// filter's place, record type and member attribute.
struct ListWords {
  const char* listVerb;
  const char* entryVerb;
  const char* place;
  const char* type;
  const char* member;
};
const ListWords kListWords[] = {
    {"switchWhiteList", "allowedSwitch", "systemFilter", "MountFilterSystem", "includedSystem"},
    {"versionWhiteList", "allowedVersion", "versionFilter", "MountFilterServiceVersion", "includedServiceVersion"},
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
  static const char* const kServiceLines[] = {"service svcA", "serviceDel", "restart"};
  static const char* const kListSuffixes[] = {"", "Del", "", "Del", "DelAll"};
  const bool mount = side == Side::mount;
  const std::string config = mount ? "set mountConfig." : "set publishConfig.";
  const ListWords& words = kListWords[listKind];
  const std::string filter = config + words.place + "[" + name + "]";
  if (kind <= restart) return kServiceLines[kind];
  if (kind == group || kind == groupDel) return kind == group ? "group " + name + " none" : "groupDel " + name;
  if (kind == close || kind == reopen) return kind == close ? "closed true" : "closed false";
  if (kind == staleGroup) {
    return config + (mount ? "mountGroupConfig[" : "publishGroupConfig[") + name +
           (mount ? "] = ServiceMountGroupConfig" : "] = ServicePublishGroupConfig");
  }
  if (kind == staleMember) {
    return filter + " = " + words.type + "\n" + filter + "." + words.member + "[" + key + "] = true";
  }
  const std::string line =
      (kind < entry ? words.listVerb : words.entryVerb) + std::string(kListSuffixes[kind - list]) + " " + name;
  if (kind == entry) return line + " " + key + (value ? " true" : " false");
  return kind == entryDel ? line + " " + key : line;
}

bool CloseModel::legal(const AgentCall& call) const {
  if (call.kind == AgentCall::service || call.kind == AgentCall::staleGroup || call.kind == AgentCall::staleMember) {
    return !hasService_;
  }
  // hubstore-sim refuses to delete what is not there.
  if (call.kind == AgentCall::groupDel) return groups_.count(call.name) > 0;
  if (call.kind >= AgentCall::listDel && call.kind <= AgentCall::entryDelAll) {
    return lists_[call.listKind].count(call.name) > 0;
  }
  return hasService_;
}

void CloseModel::apply(const AgentCall& call) {
  const std::string& name = call.name;
  ConfigContents& sideConfig = call.side == Side::mount ? mount_ : publish_;
  switch (call.kind) {
    case AgentCall::service:
      hasService_ = true;
      break;
    case AgentCall::serviceDel:
      // Each group withdraws its group configurations, each list its filters.
      for (ConfigContents* config : {&publish_, &mount_}) {
        for (const std::string& group : groups_) config->groups.erase(group);
        for (const ListKind kind : {switches, versions}) {
          for (const auto& [list, entries] : lists_[kind]) config->filters[kind].erase(list);
        }
      }
      [[fallthrough]];
    case AgentCall::restart:
      hasService_ = false;
      closed_ = false;
      groups_.clear();
      lists_ = {};
      break;
    case AgentCall::group:
    case AgentCall::groupDel:
      for (std::set<std::string>* groups : {&groups_, &mount_.groups, &publish_.groups}) {
        if (call.kind == AgentCall::group) groups->insert(name);
        if (call.kind == AgentCall::groupDel) groups->erase(name);
      }
      break;
    case AgentCall::staleGroup:
      sideConfig.groups.insert(name);
      break;
    case AgentCall::staleMember:
      sideConfig.filters[call.listKind][name].insert(call.key);
      break;
    case AgentCall::close:
      if (!closed_) close();
      closed_ = true;
      break;
    case AgentCall::reopen:
      closed_ = false;
      break;
    default:
      applyToList(call);
      break;
  }
}

void CloseModel::applyToList(const AgentCall& call) {
  auto& lists = lists_[call.listKind];
  switch (call.kind) {
    case AgentCall::list:
      // A new list takes over a filter of its name that is already there,
      // members included.
      if (lists.emplace(call.name, std::map<std::string, bool>{}).second) {
        mount_.filters[call.listKind][call.name];
        publish_.filters[call.listKind][call.name];
      }
      break;
    case AgentCall::listDel:
      lists.erase(call.name);
      mount_.filters[call.listKind].erase(call.name);
      publish_.filters[call.listKind].erase(call.name);
      break;
    case AgentCall::entry:
      lists.at(call.name)[call.key] = call.value;
      memberIs(call.listKind, call.name, call.key, call.value);
      break;
    case AgentCall::entryDel:
      if (lists.at(call.name).erase(call.key)) memberIs(call.listKind, call.name, call.key, false);
      break;
    default:  // entryDelAll
      for (const auto& [key, allowed] : lists.at(call.name)) memberIs(call.listKind, call.name, key, false);
      lists.at(call.name).clear();
      break;
  }
}

// Group configurations without a live group go; a filter goes whole without a
// live list of its name, and otherwise keeps only the members its list allows.
void CloseModel::close() {
  for (ConfigContents* config : {&publish_, &mount_}) {
    eraseUnless(config->groups, [&](const std::string& group) { return groups_.count(group) > 0; });
    for (const ListKind kind : {switches, versions}) {
      eraseUnless(config->filters[kind], [&](auto& filter) {
        const auto list = lists_[kind].find(filter.first);
        if (list == lists_[kind].end()) return false;
        eraseUnless(filter.second, [&](const std::string& member) {
          const auto entry = list->second.find(entryKeyOf(kind, member));
          return entry != list->second.end() && entry->second;
        });
        return true;
      });
    }
  }
  mount_.warm = true;
}

void CloseModel::memberIs(ListKind kind, const std::string& name, const std::string& key, bool present) {
  for (ConfigContents* config : {&publish_, &mount_}) {
    std::set<std::string>& members = config->filters[kind][name];
    if (present) members.insert(key);
    if (!present) members.erase(key);
  }
}

}  // namespace hubstore::model
