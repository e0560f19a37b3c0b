#pragma once
// A reference model of the service's configuration records, written from the
// rules of the service close and of the allow-lists alone, in plain data: no
// type of the library appears here. close_model_check holds the library
// against it over random sequences of agent calls.
//
//   CloseModel model;
//   model.apply({.kind = AgentCall::staleMember, .name = "L1", .key = "00-1C-73-00-00-01"});
//   model.apply({.kind = AgentCall::service});
//   model.apply({.kind = AgentCall::list, .name = "L1"});
//   model.apply({.kind = AgentCall::close});
//   model.config(Side::mount).filters[switches].at("L1")   // {}: the list allows nothing
//
// What it follows: which group configurations, system and version filters
// and filter members exist in the mount and the publish configuration, and
// whether the mount configuration is warm. What it leaves out: entries,
// bindings, other flags, hooks.
//
// Switches are named by spelling; switchSpellings() says which switch (1-3)
// each spelling is, or none. A list adds and removes a switch by its
// canonical spelling; the close keeps any spelling of an allowed switch.
// Versions are named by their decimal text.

#include <array>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace hubstore::model {

// The two kinds of allow-list, of switches and of service versions, and of
// their filters (systemFilter, versionFilter).
enum ListKind { switches, versions };

// One configuration record's contents as far as the model goes.
struct ConfigContents {
  std::set<std::string> groups;
  // By kind of list: each filter's members by the filter's name.
  std::array<std::map<std::string, std::set<std::string>>, 2> filters;
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
    // The calls of an allow-list of kind listKind.
    list,
    listDel,
    entry,  // name, key, value
    entryDel,
    entryDelAll,
    // What an earlier run left, written while no service exists.
    staleGroup,   // side, name
    staleMember,  // side, listKind, name, key (creates the filter)
    close,        // service closedIs(true)
    reopen,       // service closedIs(false)
  };
  Kind kind = service;
  ListKind listKind = switches;
  Side side = Side::mount;
  std::string name;
  std::string key;  // a switch's spelling (an entry's is canonical) or a version
  bool value = false;

  // The call as hubstore-sim lines (after `agent agentB`, `records`): how
  // close_model_check runs it against the library.
  std::string scenarioLines() const;
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
  void applyToList(const AgentCall& call);
  void close();
  // Puts `key` into, or takes it out of, both filters of list `name`.
  void memberIs(ListKind kind, const std::string& name, const std::string& key, bool present);

  ConfigContents mount_;
  ConfigContents publish_;
  bool hasService_ = false;
  bool closed_ = false;
  std::set<std::string> groups_;
  // By kind of list: each live list's entries by key.
  std::array<std::map<std::string, std::map<std::string, bool>>, 2> lists_;
};

}  // namespace hubstore::model
