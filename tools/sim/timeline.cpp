#include "tools/sim/timeline.h"

#include <cstdio>

#include <hubstore/foundations/records/service_mount_status.h>
#include <hubstore/foundations/records/system_id.h>
#include <hubstore/service/hubstore_service.h>
#include "tools/sim/timeline_page.h"

namespace hubstore::sim {

namespace {

constexpr std::string_view kDataMarker = "@TIMELINE_DATA@";

// A JSON string that is safe inside a <script> element: '<' is escaped, so
// no "</script>" can end it.
void writeJsonString(std::ostream& out, std::string_view text) {
  out << '"';
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      out << '\\' << c;
    } else if (byte < 0x20 || c == '<') {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
      out << escaped;
    } else {
      out << c;
    }
  }
  out << '"';
}

template <class Items, class Write>
void writeJsonArray(std::ostream& out, const Items& items, Write write) {
  out << '[';
  bool first = true;
  for (const auto& item : items) {
    if (!first) out << ',';
    first = false;
    write(item);
  }
  out << ']';
}

// Name -> index in name order.
std::map<std::string, int> indexByName(const std::set<std::string>& names) {
  std::map<std::string, int> index;
  for (const std::string& name : names) index.emplace(name, static_cast<int>(index.size()));
  return index;
}

}  // namespace

void Timeline::stepBegin(const Command& command) {
  steps_.push_back({command.file, command.line, command.source});
  inStep_ = true;
}

void Timeline::switchTouched(std::string_view system) { touched_.emplace(system); }

void Timeline::hookCalled(const HookCall& call) {
  if (!inStep_) return;
  hooks_.push_back({steps_.size() - 1, call});
  groups_.insert(call.group);
}

void Timeline::errorRaised(std::string_view message) {
  if (!inStep_) return;
  errors_.push_back({steps_.size() - 1, std::string(message)});
}

void Timeline::stepEnd(const Controller::ServiceMountStatus* status, const Controller::HubstoreService* service) {
  if (everythingTouched_) {
    for (const auto& [system, states] : last_) touched_.insert(system);
    if (status) {
      for (const auto& [system, record] : status->systemStatusMembers().members()) touched_.insert(system.stdString());
    }
  }
  for (const std::string& system : touched_) {
    GroupStates now;
    const Controller::SystemStatus* record = status ? status->systemStatusRaw(Vex::Name(system)) : nullptr;
    if (record) {
      for (const auto& [group, groupStatus] : record->serviceMountGroupStatusMembers().members()) {
        now.emplace(group.stdString(), static_cast<int>(groupStatus->mountState()));
      }
    }
    compare(system, now);
  }
  touched_.clear();
  everythingTouched_ = false;
  if (service) {
    for (const auto& [group, member] : service->serviceMountGroupMembers().members()) groups_.insert(group.stdString());
  }
  inStep_ = false;
}

void Timeline::compare(const std::string& system, const GroupStates& now) {
  const std::size_t step = steps_.size() - 1;
  GroupStates& before = last_[system];
  for (const auto& [group, state] : before) {
    if (!now.count(group)) changes_.push_back({step, system, group, noStatus});
  }
  for (const auto& [group, state] : now) {
    const auto known = before.find(group);
    if (known == before.end() || known->second != state) changes_.push_back({step, system, group, state});
    groups_.insert(group);
  }
  if (now.empty()) {
    last_.erase(system);
  } else {
    before = now;
  }
}

void Timeline::writeHtml(std::ostream& out, std::string_view title) const {
  std::set<std::string> systemNames;
  for (const Change& change : changes_) systemNames.insert(change.system);
  const std::map<std::string, int> systems = indexByName(systemNames);
  const std::map<std::string, int> groups = indexByName(groups_);
  // A hook names a switch by its SystemId's text form, whatever the
  // spelling of its status record's name.
  std::map<std::string, int> systemBySpelling;
  for (const auto& [name, index] : systems) {
    const auto id = Controller::SystemId::parse(name);
    systemBySpelling.emplace(id ? id->stringValue().stdString() : name, index);
  }
  std::set<std::string> fileNames;
  for (const Step& step : steps_) fileNames.insert(step.file);
  const std::map<std::string, int> files = indexByName(fileNames);

  const std::string_view page = timelinePage();
  const std::size_t marker = page.find(kDataMarker);
  out << page.substr(0, marker);
  out << "{\"title\":";
  writeJsonString(out, title);
  out << ",\n\"states\":";
  writeJsonArray(out, std::vector<int>{0, 1, 2, 3, 4}, [&out](int state) {
    writeJsonString(out, Controller::mountStateName(static_cast<Controller::MountState>(state)));
  });
  out << ",\n\"hookNames\":";
  writeJsonArray(out, kMounterHookNames, [&out](std::string_view name) { writeJsonString(out, name); });
  out << ",\n\"files\":";
  writeJsonArray(out, files, [&out](const auto& file) { writeJsonString(out, file.first); });
  out << ",\n\"switches\":";
  writeJsonArray(out, systems, [&out](const auto& system) { writeJsonString(out, system.first); });
  out << ",\n\"groups\":";
  writeJsonArray(out, groups, [&out](const auto& group) { writeJsonString(out, group.first); });
  // [file, line, text] per step.
  out << ",\n\"steps\":[";
  for (std::size_t i = 0; i < steps_.size(); ++i) {
    out << (i ? ",\n[" : "\n[") << files.at(steps_[i].file) << ',' << steps_[i].line << ',';
    writeJsonString(out, steps_[i].text);
    out << ']';
  }
  // step, switch, group, state: flat.
  out << "],\n\"changes\":[";
  for (std::size_t i = 0; i < changes_.size(); ++i) {
    const Change& change = changes_[i];
    out << (i ? (i % 16 ? "," : ",\n") : "") << change.step << ',' << systems.at(change.system) << ','
        << groups.at(change.group) << ',' << change.state;
  }
  // step, group, hook, switch (-1: none), state (-1: none): flat.
  out << "],\n\"hooks\":[";
  for (std::size_t i = 0; i < hooks_.size(); ++i) {
    const HookCall& call = hooks_[i].call;
    const auto system = systemBySpelling.find(call.system);
    out << (i ? (i % 16 ? "," : ",\n") : "") << hooks_[i].step << ',' << groups.at(call.group) << ','
        << static_cast<int>(call.hook) << ',' << (system == systemBySpelling.end() ? -1 : system->second) << ','
        << (call.state ? static_cast<int>(*call.state) : -1);
  }
  out << "],\n\"errors\":";
  writeJsonArray(out, errors_, [&out](const Error& error) {
    out << '[' << error.step << ',';
    writeJsonString(out, error.message);
    out << ']';
  });
  out << '}';
  out << page.substr(marker + kDataMarker.size());
}

}  // namespace hubstore::sim
