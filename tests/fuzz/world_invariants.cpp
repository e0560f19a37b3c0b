#include "tests/fuzz/world_invariants.h"

#include <algorithm>
#include <iterator>
#include <regex>
#include <string_view>

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
  static const std::regex world(R"(^Mirra::|(Config|Status|PublishDir|MountFilter\w+|Mounter)$)");
  return std::regex_search(type.begin(), type.end(), world);
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

std::set<std::string> expectedAfterClose(const std::set<std::string>& config, const std::set<std::string>& mounts) {
  if (config.size() == mounts.size()) return config;
  std::set<std::string> kept;
  std::set_intersection(config.begin(), config.end(), mounts.begin(), mounts.end(), std::inserter(kept, kept.end()));
  return kept;
}

}  // namespace

std::vector<std::string> serviceObjectsAlive() { return alive(true); }

std::vector<std::string> objectsAlive() { return alive(false); }

std::vector<std::string> allowListFilterViolations(const Controller::HubstoreService& service) {
  std::vector<std::string> out;
  auto require = [&](const char* kind, const auto& list, const void* filter, const void* member, const char* place) {
    if (filter == member) return;
    const std::string name = list.name().stdString();
    out.push_back(std::string(kind) + " list " + name + "'s filter is not " + place + "[" + name + "]" +
                  (member ? "" : ", which does not exist"));
  };
  const Controller::ServiceMountConfig& mount = *service.serviceMountConfig();
  const Controller::ServicePublishConfig& publish = *service.servicePublishConfig();
  for (const auto& [name, list] : service.switchWhiteListMembers().members()) {
    require("switch", *list, list->mountSystemFilter().get(), mount.systemFilterMembers().memberRaw(name),
            "mountConfig.systemFilter");
    require("switch", *list, list->publishSystemFilter().get(), publish.systemFilterMembers().memberRaw(name),
            "publishConfig.systemFilter");
  }
  for (const auto& [name, list] : service.versionWhiteListMembers().members()) {
    require("version", *list, list->mountVersionFilter().get(), mount.versionFilterMembers().memberRaw(name),
            "mountConfig.versionFilter");
    require("version", *list, list->publishVersionFilter().get(), publish.versionFilterMembers().memberRaw(name),
            "publishConfig.versionFilter");
  }
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
