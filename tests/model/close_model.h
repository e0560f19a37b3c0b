#pragma once
// A reference model of the service's configuration records, written from the
// rules of the service close and of the allow-lists alone, in plain data: no
// type of the library appears here. close_model_check holds the library
// against it over random sequences of agent calls.
//
//   CloseModel model;
//   model.apply({.kind = AgentCall::staleSystem, .name = "L1", .spelling = "00-1C-73-00-00-01"});
//   model.apply({.kind = AgentCall::service});
//   model.apply({.kind = AgentCall::switchList, .name = "L1"});
//   model.apply({.kind = AgentCall::close});
//   model.config(Side::mount).systemFilters.at("L1")   // {}: the list allows nothing
//
// What it follows: which group configurations, system and version filters
// and filter members exist in the mount and the publish configuration, and
// whether the mount configuration is warm. What it leaves out: entries,
// bindings, other flags, hooks.
//
// Switches are named by spelling; switchSpellings() says which switch (1-3)
// each spelling is, or none. A list adds and removes a switch by its
// canonical spelling; the close keeps any spelling of an allowed switch.

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace hubstore::model {

// One configuration record's contents as far as the model goes.
struct ConfigContents {
  std::set<std::string> groups;
  std::map<std::string, std::set<std::string>> systemFilters;
  std::map<std::string, std::set<std::uint32_t>> versionFilters;
  bool warm = false;  // the mount configuration's; a close sets it
  bool operator==(const ConfigContents&) const = default;
};

enum class Side { mount, publish };

struct SwitchSpelling {
  std::string text;
  int switchNumber;  // 1-3; 0: not an Ethernet address
};
const std::vector<SwitchSpelling>& switchSpellings();
// "00:1c:73:00:00:0N", the form a list writes.
std::string canonicalSpelling(int switchNumber);

struct AgentCall {
  enum Kind {
    service,     // a new service (none exists)
    serviceDel,  // the service released: every object's cleanup runs
    restart,     // the service gone without any cleanup
    group,
    groupDel,
    // The five calls of each kind of list, in the same order.
    switchList,
    switchListDel,
    allowedSwitch,  // name, switchNumber, value
    allowedSwitchDel,
    allowedSwitchDelAll,
    versionList,
    versionListDel,
    allowedVersion,  // name, version, value
    allowedVersionDel,
    allowedVersionDelAll,
    // What an earlier run left, written while no service exists.
    staleGroup,          // side, name
    staleSystem,         // side, name, spelling (creates the filter)
    staleVersion,        // side, name, version (creates the filter)
    close,               // service closedIs(true)
    reopen,              // service closedIs(false)
  };
  Kind kind = service;
  Side side = Side::mount;
  std::string name;
  std::string spelling;
  int switchNumber = 0;
  std::uint32_t version = 0;
  bool value = false;

  // The call as hubstore-sim lines (after `agent agentB`, `records`): how
  // close_model_check runs it against the library.
  std::string scenarioLines() const;
};

// The allow-lists of one kind: each list's entries, and the filters of its
// name in both configurations, which hold the keys whose entry is true.
template <class Key, class Member>
struct ModelLists {
  std::map<std::string, std::set<Member>> ConfigContents::*filters;
  Member (*memberOf)(Key);
  std::map<std::string, std::map<Key, bool>> entries;
};

class CloseModel {
 public:
  // The call must be legal: a service call needs a service, an allow-list
  // entry its list, a deletion what it deletes, stale state no service;
  // legal() says so.
  void apply(const AgentCall& call);
  bool legal(const AgentCall& call) const;

  const ConfigContents& config(Side side) const { return side == Side::mount ? mount_ : publish_; }

 private:
  template <class Key, class Member>
  void applyList(ModelLists<Key, Member>& lists, int op, const std::string& name, Key key, bool value);
  template <class Key, class Member, class Allowed>
  void prune(ModelLists<Key, Member>& lists, Allowed allowed);
  template <class Part>
  void eraseFromBoth(Part ConfigContents::*part, const std::string& name);
  void forgetService();

  ConfigContents mount_;
  ConfigContents publish_;
  bool hasService_ = false;
  bool closed_ = false;
  std::set<std::string> groups_;
  ModelLists<int, std::string> switches_{&ConfigContents::systemFilters, &canonicalSpelling, {}};
  ModelLists<std::uint32_t, std::uint32_t> versions_{
      &ConfigContents::versionFilters, [](std::uint32_t version) { return version; }, {}};
};

}  // namespace hubstore::model
