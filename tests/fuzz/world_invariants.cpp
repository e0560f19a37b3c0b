#include "tests/fuzz/world_invariants.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include <hubstore/foundations/platform/eth_addr.h>
#include <hubstore/foundations/records/system_id.h>
#include <hubstore/foundations/framework/type_descriptor.h>
#include "tools/sim/config_dump.h"
#include "tools/sim/scenario_error.h"
#include "tools/sim/scenario_parser.h"

namespace hubstore::fuzz {
namespace {

// Types whose objects the world holds, not the service: the records (the
// state database's, and the filters and group configurations in them), the
// agent's mounters, the agent and the entity manager.
bool isWorldType(std::string_view type) {
  static const std::set<std::string_view> world = {
      "Hubstore::Status",
      "Mirra::Agent",
      "Mirra::EntityManager",
      "Controller::ServiceMountConfig",
      "Controller::ServiceMountGroupConfig",
      "Controller::ServicePublishConfig",
      "Controller::ServicePublishGroupConfig",
      "Controller::PublishDir",
      "Controller::MountFilterSystem",
      "Controller::MountFilterServiceVersion",
      "Controller::ServiceMountStatus",
      "Controller::SystemStatus",
      "Controller::ServiceMountGroupStatus",
      "Controller::ServicePublishStatus",
      "Controller::ServicePublishGroupStatus",
  };
  const std::string_view mounter = "Mounter";
  const bool isMounter = type.size() >= mounter.size() && type.substr(type.size() - mounter.size()) == mounter;
  return isMounter || world.count(type) > 0;
}

std::vector<std::string> alive(bool serviceOnly) {
  std::vector<std::string> found;
  for (const auto& [type, live] : Vex::liveObjects()) {
    if (live != 0 && !(serviceOnly && isWorldType(type))) {
      found.push_back(std::to_string(live) + " " + type + " alive");
    }
  }
  return found;
}

template <class Members>
std::set<std::string> keysOf(const Members& members) {
  std::set<std::string> keys;
  for (const auto& entry : members) keys.insert(std::string(entry.first.view()));
  return keys;
}

std::string listed(const std::set<std::string>& keys) {
  std::string text = "{";
  for (const std::string& key : keys) text += (text.size() > 1 ? " " : "") + key;
  return text + "}";
}

bool allows(const Controller::SwitchWhiteList& list, const Vex::String& system) {
  try {
    return list.allowedSwitch(Controller::SystemId::fromString(system.view()));
  } catch (const Lanx::InvalidEthAddrException&) {
    return false;
  }
}

// Filters of `config` without a live list of their name.
template <class Filters, class Lists>
void requireOwners(std::vector<std::string>& out, const char* place, const Filters& filters, const Lists& lists) {
  for (const auto& [name, filter] : filters.members()) {
    if (!lists.memberRaw(Vex::String(name.view()))) {
      out.push_back(std::string(place) + "[" + std::string(name.view()) + "] has no live allow-list");
    }
  }
}

template <class GroupConfigs>
void requireGroups(std::vector<std::string>& out, const char* place, const GroupConfigs& configs,
                   const Controller::HubstoreService& service, const std::set<std::string>& kept) {
  for (const auto& [name, config] : configs.members()) {
    if (!service.serviceMountGroupRaw(Vex::String(name.view()))) {
      out.push_back(std::string(place) + "[" + std::string(name.view()) + "] has no live group");
    }
  }
  for (const std::string& name : kept) {
    if (!configs.memberRaw(Vex::Name(name))) {
      out.push_back(std::string(place) + "[" + name + "] of live group " + name + " was removed by the close");
    }
  }
}

// What tells a filter's keys, what a list allows, and how a key reads, for
// both kinds of list.
const auto& keysOfFilter(const Controller::MountFilterSystem& filter) {
  return filter.includedSystemMembers().entries();
}
const auto& keysOfFilter(const Controller::MountFilterServiceVersion& filter) {
  return filter.includedServiceVersionMembers().entries();
}
bool allows(const Controller::VersionWhiteList& list, std::uint32_t version) { return list.allowedVersion(version); }
std::string textOf(const Vex::String& system) { return system.stdString(); }
std::string textOf(std::uint32_t version) { return std::to_string(version); }

// Calls visit(kind, list, filter, member, place, which) for each of every
// live list's two filter records, `member` being the record its
// configuration holds under the list's name.
template <class Visit>
void forEachListFilter(const Controller::HubstoreService& service, Visit visit) {
  const Controller::ServiceMountConfig& mount = *service.serviceMountConfig();
  const Controller::ServicePublishConfig& publish = *service.servicePublishConfig();
  for (const auto& [name, list] : service.switchWhiteListMembers().members()) {
    visit("switch", *list, list->mountSystemFilter().get(), mount.systemFilterMembers().memberRaw(name),
          "mountConfig.systemFilter", "mount");
    visit("switch", *list, list->publishSystemFilter().get(), publish.systemFilterMembers().memberRaw(name),
          "publishConfig.systemFilter", "publish");
  }
  for (const auto& [name, list] : service.versionWhiteListMembers().members()) {
    visit("version", *list, list->mountVersionFilter().get(), mount.versionFilterMembers().memberRaw(name),
          "mountConfig.versionFilter", "mount");
    visit("version", *list, list->publishVersionFilter().get(), publish.versionFilterMembers().memberRaw(name),
          "publishConfig.versionFilter", "publish");
  }
}

std::set<std::string> expectedAfterClose(const std::set<std::string>& config, const std::set<std::string>& mounts) {
  if (config.size() == mounts.size()) return config;
  std::set<std::string> kept;
  std::set_intersection(config.begin(), config.end(), mounts.begin(), mounts.end(), std::inserter(kept, kept.end()));
  return kept;
}

}  // namespace

std::vector<std::string> serviceObjectsAlive() { return alive(true); }

std::vector<std::string> objectsAlive() { return alive(false); }

GroupConfigsOfLiveGroups GroupConfigsOfLiveGroups::of(const Controller::HubstoreService& service) {
  GroupConfigsOfLiveGroups live;
  for (const auto& [name, group] : service.serviceMountGroupMembers().members()) {
    if (service.serviceMountConfig()->mountGroupConfigMembers().memberRaw(Vex::Name(name.view()))) {
      live.mount.insert(name.stdString());
    }
    if (service.servicePublishConfig()->publishGroupConfigMembers().memberRaw(Vex::Name(name.view()))) {
      live.publish.insert(name.stdString());
    }
  }
  return live;
}

std::vector<std::string> serviceCloseViolations(const Controller::HubstoreService& service,
                                                const GroupConfigsOfLiveGroups& before) {
  std::vector<std::string> out;
  const Controller::ServiceMountConfig& mount = *service.serviceMountConfig();
  const Controller::ServicePublishConfig& publish = *service.servicePublishConfig();
  requireOwners(out, "mountConfig.systemFilter", mount.systemFilterMembers(), service.switchWhiteListMembers());
  requireOwners(out, "publishConfig.systemFilter", publish.systemFilterMembers(), service.switchWhiteListMembers());
  requireOwners(out, "mountConfig.versionFilter", mount.versionFilterMembers(), service.versionWhiteListMembers());
  requireOwners(out, "publishConfig.versionFilter", publish.versionFilterMembers(),
                service.versionWhiteListMembers());
  requireGroups(out, "mountConfig.mountGroupConfig", mount.mountGroupConfigMembers(), service, before.mount);
  requireGroups(out, "publishConfig.publishGroupConfig", publish.publishGroupConfigMembers(), service,
                before.publish);
  // Only a filter that is its configuration's member under the list's name.
  forEachListFilter(service, [&](const char* kind, const auto& list, const auto* filter, const auto* member,
                                 const char*, const char* which) {
    if (!filter || filter != member) return;
    for (const auto& [key, included] : keysOfFilter(*filter)) {
      if (allows(list, key)) continue;
      out.push_back(std::string(kind) + " list " + list.name().stdString() + "'s " + which + " filter holds " +
                    textOf(key) + ", which the list does not allow");
    }
  });
  if (!mount.warm()) out.push_back("mountConfig.warm is false after the close");
  return out;
}

std::vector<std::string> allowListFilterViolations(const Controller::HubstoreService& service) {
  std::vector<std::string> out;
  forEachListFilter(service, [&](const char* kind, const auto& list, const void* filter, const void* member,
                                 const char* place, const char*) {
    if (filter == member) return;
    const std::string name = list.name().stdString();
    out.push_back(std::string(kind) + " list " + name + "'s filter is not " + place + "[" + name + "]" +
                  (member ? "" : ", which does not exist"));
  });
  return out;
}

GroupPublishKeys GroupPublishKeys::of(const Controller::HubstoreServiceMountGroup& group) {
  GroupPublishKeys keys;
  if (const auto& config = group.publishGroupConfig()) {
    keys.publishConfig = keysOf(config->publishConfigMembers().entries());
    keys.publishDir = keysOf(config->publishDirMembers().members());
  }
  keys.publishMount = keysOf(group.publishMountMembers().members());
  keys.perSwitchPublishMount = keysOf(group.perSwitchPublishMountMembers().members());
  return keys;
}

std::vector<std::string> groupCloseViolations(const GroupPublishKeys& before, const GroupPublishKeys& after) {
  std::vector<std::string> out;
  auto require = [&](const char* entries, const std::set<std::string>& was, const char* mounts,
                     const std::set<std::string>& mounted, const std::set<std::string>& became) {
    const auto expected = expectedAfterClose(was, mounted);
    if (became == expected) return;
    out.push_back(std::string(entries) + " keys " + listed(was) + " with " + mounts + " " + listed(mounted) +
                  " became " + listed(became) + ", not " + listed(expected));
  };
  require("publishConfig", before.publishConfig, "publish mounts", before.publishMount, after.publishConfig);
  require("publishDir", before.publishDir, "per-switch publish mounts", before.perSwitchPublishMount, after.publishDir);
  return out;
}

std::vector<std::string> dumpReadBackViolations(Mirra::EntityManager& em, const Vex::String& agentName) {
  const std::vector<std::string> lines = sim::ConfigDump(em, agentName).lines();
  std::string text;
  for (const std::string& line : lines) text += "set " + line + "\n";
  const sim::ParseResult parsed = sim::parseScenario("dump", text);
  if (!parsed.errors.empty()) return {"a dump line does not parse back: " + parsed.errors.front()};

  const auto empty = Mirra::EntityManager::EntityManagerIs();
  sim::ConfigDump rebuilt(*empty, agentName);
  for (const sim::Command& command : parsed.commands) {
    try {
      rebuilt.set(command);
    } catch (const sim::ScenarioError& error) {
      return {"dump line " + std::to_string(command.line) + " (" + lines[command.line - 1] +
              ") does not set into an empty database: " + error.what()};
    }
  }
  const std::vector<std::string> again = rebuilt.lines();
  if (again == lines) return {};
  const auto differs = std::mismatch(lines.begin(), lines.end(), again.begin(), again.end());
  return {"the dump read back differs: '" + (differs.first == lines.end() ? std::string("(end)") : *differs.first) +
          "' became '" + (differs.second == again.end() ? std::string("(end)") : *differs.second) + "'"};
}

}  // namespace hubstore::fuzz
