#include "tools/sim/agent_inspector.h"

#include <poll.h>

#include <set>

#include <hubstore/foundations/records/service_mount_config.h>
#include <hubstore/foundations/records/service_mount_status.h>
#include <hubstore/foundations/records/service_publish_config.h>
#include <hubstore/foundations/records/service_publish_status.h>
#include <hubstore/redis/record_codec.h>
#include "tools/sim/config_dump.h"

namespace hubstore::sim {

namespace {

using namespace std::chrono_literals;
using Controller::MountGroupReport;
using hubstore::redis::RecordCodec;
using hubstore::redis::RecordSlot;
using hubstore::redis::RedisKeySchema;
using hubstore::redis::RedisStore;

constexpr auto kOpenTimeout = 3000ms;
// What CLIENT LIST and MONITOR show of the inspector's connections.
constexpr const char* kClientName = "hubstore-inspect";

template <class Record>
const Record* recordAt(Mirra::EntityManager& em, const RedisKeySchema& keys, RecordSlot slot) {
  return dynamic_cast<const Record*>(em.getEntity(Vex::String(keys.recordPath(slot))).get());
}

std::string fieldsText(const hubstore::redis::Fields& fields) {
  std::string out;
  for (const auto& [name, value] : fields) {
    out += (out.empty() ? "" : ", ") + Controller::reportQuoted(name) + "=" + Controller::reportQuoted(value);
  }
  return out;
}

// "F OLD -> NEW" for each field that differs, "(none)" where one is absent.
std::string fieldChanges(const hubstore::redis::Fields& before, const hubstore::redis::Fields& after) {
  std::set<std::string> names;
  for (const auto& field : before) names.insert(field.first);
  for (const auto& field : after) names.insert(field.first);
  const auto valueText = [](const hubstore::redis::Fields& fields, const std::string& name) {
    const auto found = fields.find(name);
    return found == fields.end() ? std::string("(none)") : Controller::reportQuoted(found->second);
  };
  std::string out;
  for (const std::string& name : names) {
    const std::string old = valueText(before, name);
    const std::string now = valueText(after, name);
    if (old == now) continue;
    out += (out.empty() ? "" : ", ") + Controller::reportQuoted(name) + " " + old + " -> " + now;
  }
  return out;
}

}  // namespace

AgentInspector::AgentInspector(const std::string& url, const std::string& agent)
    : em_(Mirra::EntityManager::EntityManagerIs()), agent_(agent) {
  RedisStore::Options options;
  options.endpoint = hubstore::redis::RedisEndpoint::parse(url);
  options.agentName = agent;
  options.openTimeout = kOpenTimeout;
  options.readOnly = true;
  options.clientName = kClientName;
  store_ = std::make_unique<RedisStore>(em_, options);
  store_->open();
}

bool AgentInspector::known() const {
  for (RecordSlot slot : hubstore::redis::kRecordSlots) {
    if (em_->getEntity(Vex::String(store_->keys().recordPath(slot)))) return true;
  }
  return false;
}

AgentInspector::Snapshot AgentInspector::snapshot(Mirra::EntityManager& em, const std::string& agent) {
  const RedisKeySchema keys(agent);
  Snapshot out;
  for (RecordSlot slot : hubstore::redis::kRecordSlots) {
    const Vex::Ptr<Vex::Entity> record = em.getEntity(Vex::String(keys.recordPath(slot)));
    if (!record || !RecordCodec::holds(slot, *record)) continue;
    RecordCodec::flatten(*record, keys.recordKey(slot),
                         [&out](const std::string& key, const hubstore::redis::Fields& fields) { out[key] = fields; });
  }
  return out;
}

std::vector<std::string> AgentInspector::changes(const Snapshot& before, const Snapshot& after) {
  std::vector<std::string> lines;
  auto old = before.begin();
  auto now = after.begin();
  // Both in key order: one merge.
  while (old != before.end() || now != after.end()) {
    if (now == after.end() || (old != before.end() && old->first < now->first)) {
      lines.push_back(old->first + ": removed");
      ++old;
    } else if (old == before.end() || now->first < old->first) {
      lines.push_back(now->first + ": new (" + fieldsText(now->second) + ")");
      ++now;
    } else {
      const std::string changed = fieldChanges(old->second, now->second);
      if (!changed.empty()) lines.push_back(now->first + ": " + changed);
      ++old;
      ++now;
    }
  }
  return lines;
}

std::map<std::string, MountGroupReport> AgentInspector::groupReports(Mirra::EntityManager& em,
                                                                    const std::string& agent) {
  const RedisKeySchema keys(agent);
  MountGroupReport::Records records;
  records.mountConfig = recordAt<Controller::ServiceMountConfig>(em, keys, RecordSlot::mountConfig);
  records.publishConfig = recordAt<Controller::ServicePublishConfig>(em, keys, RecordSlot::publishConfig);
  records.mountStatus = recordAt<Controller::ServiceMountStatus>(em, keys, RecordSlot::mountStatus);
  records.publishStatus = recordAt<Controller::ServicePublishStatus>(em, keys, RecordSlot::publishStatus);
  // A group declared on either side.
  std::set<std::string> names;
  if (records.mountConfig) {
    for (const auto& [name, config] : records.mountConfig->mountGroupConfigMembers().members()) {
      names.insert(name.stdString());
    }
  }
  if (records.publishConfig) {
    for (const auto& [name, config] : records.publishConfig->publishGroupConfigMembers().members()) {
      names.insert(name.stdString());
    }
  }
  std::map<std::string, MountGroupReport> reports;
  for (const std::string& name : names) reports.emplace(name, MountGroupReport::ofRecords(records, name));
  return reports;
}

std::string AgentInspector::view() const {
  std::string out = "inspect " + Controller::reportQuoted(agent_) + ": store " + RedisStore::stateName(store_->state()) +
                    ", keyspace notifications " + (store_->notificationsOn() ? "on" : "off (--follow polls)") + "\n";
  const RedisKeySchema& keys = store_->keys();
  const auto* mountConfig = recordAt<Controller::ServiceMountConfig>(*em_, keys, RecordSlot::mountConfig);
  const auto* publishConfig = recordAt<Controller::ServicePublishConfig>(*em_, keys, RecordSlot::publishConfig);
  out += "service: ";
  out += mountConfig ? Controller::reportQuoted(mountConfig->serviceName().stdString()) : std::string("none");
  out += ", warm ";
  out += mountConfig ? (mountConfig->warm() ? "true" : "false") : "(no mount configuration)";
  out += ", ready ";
  out += publishConfig ? (publishConfig->ready() ? "true" : "false") : "(no publish configuration)";
  out += "\n";
  for (const auto& [name, report] : groupReports(*em_, agent_)) out += report.text();
  out += "dump begin\n";
  for (const std::string& line : ConfigDump(*em_, Vex::String(agent_)).lines()) out += line + "\n";
  return out + "dump end\n";
}

void AgentInspector::follow(std::FILE* out, int stopFd) {
  Snapshot seen = snapshot(*em_, agent_);
  std::map<std::string, bool> complete;
  for (const auto& [name, report] : groupReports(*em_, agent_)) complete[name] = report.complete();
  RedisStore::State stateShown = store_->state();
  while (true) {
    pollfd fds[2] = {{stopFd, POLLIN, 0}, {store_->fd(), POLLIN, 0}};
    ::poll(fds, 2, -1);
    if (fds[0].revents & POLLIN) return;
    // What has arrived, then what it changed: a burst of writes is one
    // comparison, not one per key.
    do {
      store_->process();
      fds[1].revents = 0;
    } while (::poll(&fds[1], 1, 0) > 0);
    const RedisStore::State state = store_->state();
    // Reads while polling pass through syncing: only losses and recoveries show.
    if (state != stateShown && (state == RedisStore::State::disconnected || state == RedisStore::State::live)) {
      std::fprintf(out, "store %s\n", RedisStore::stateName(state));
      stateShown = state;
    }
    Snapshot now = snapshot(*em_, agent_);
    for (const std::string& line : changes(seen, now)) std::fprintf(out, "%s\n", line.c_str());
    seen = std::move(now);
    for (const auto& [name, report] : groupReports(*em_, agent_)) {
      const auto known = complete.find(name);
      if (known != complete.end() && known->second == report.complete()) continue;
      complete[name] = report.complete();
      std::fputs(report.text().c_str(), out);
    }
    std::fflush(out);
  }
}

}  // namespace hubstore::sim
