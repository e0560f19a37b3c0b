#include "tools/sim/config_dump.h"

#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <type_traits>
#include <utility>

#include "tools/sim/scenario_error.h"

namespace hubstore::sim {

using Controller::MountFilterServiceVersion;
using Controller::MountFilterSystem;
using Controller::ServiceMountConfig;
using Controller::ServiceMountGroupConfig;
using Controller::ServicePublishConfig;
using Controller::ServicePublishGroupConfig;

namespace {

constexpr std::string_view kMountRoot = "mountConfig";

ConfigSegment seg(std::string attribute) { return {std::move(attribute), std::nullopt}; }
ConfigSegment seg(std::string attribute, std::string key) { return {std::move(attribute), std::move(key)}; }

ConfigPath child(ConfigPath path, ConfigSegment segment) {
  path.push_back(std::move(segment));
  return path;
}

std::string boolText(bool value) { return value ? "true" : "false"; }

std::string field(std::string_view name, const Vex::String& value) {
  return std::string(name) + "=" + quoteIfNeeded(value.view());
}

class LineWriter {
 public:
  void add(const ConfigPath& path, const std::string& value) {
    lines.push_back(formatConfigPath(path) + " = " + value);
  }
  std::vector<std::string> lines;
};

// The systemFilter and versionFilter collections, alike in both records.
template <class Config>
void addFilterCollections(LineWriter& out, const ConfigPath& root, const Config& config) {
  for (auto it = config.systemFilterMembers().begin(); it != config.systemFilterMembers().end(); ++it) {
    const ConfigPath place = child(root, seg("systemFilter", it.key().stdString()));
    out.add(place, "MountFilterSystem");
    for (const auto& [system, included] : (*it)->includedSystemMembers().entries()) {
      out.add(child(place, seg("includedSystem", system.stdString())), boolText(included));
    }
  }
  for (auto it = config.versionFilterMembers().begin(); it != config.versionFilterMembers().end(); ++it) {
    const ConfigPath place = child(root, seg("versionFilter", it.key().stdString()));
    out.add(place, "MountFilterServiceVersion");
    for (const auto& [version, included] : (*it)->includedServiceVersionMembers().entries()) {
      out.add(child(place, seg("includedServiceVersion", std::to_string(version))), boolText(included));
    }
  }
}

// The place of `filter` among `members`, or empty.
template <class Filter>
std::string placeIn(std::string_view root, std::string_view attribute,
                    const Vex::Collection<Vex::Name, Filter>& members, const Filter* filter) {
  for (auto it = members.begin(); it != members.end(); ++it) {
    if ((*it).get() == filter) {
      return formatConfigPath({seg(std::string(root)), seg(std::string(attribute), it.key().stdString())});
    }
  }
  return {};
}

std::string describePath(const ConfigPath& path, std::size_t segments) {
  return formatConfigPath(ConfigPath(path.begin(), path.begin() + static_cast<std::ptrdiff_t>(segments)));
}

[[noreturn]] void throwMissing(const ConfigPath& path, std::size_t segments) {
  throw ScenarioError(describePath(path, segments) + " does not exist");
}

bool boolValue(const Command& command) { return command.scalar == "true"; }

Vex::String keyOf(const ConfigSegment& segment) { return Vex::String(*segment.key); }

const std::string& fieldValue(const Command& command, std::string_view name) {
  for (const auto& [key, value] : command.fields) {
    if (key == name) return value;
  }
  throw std::logic_error("the parser left out the field " + std::string(name));
}

// The member named by segment `index`, which must exist for a deeper line.
template <class Member, class Lookup>
Vex::Ptr<Member> parentMember(const Command& command, std::size_t index, Lookup lookup) {
  Vex::Ptr<Member> member = lookup(keyOf(command.lhs[index]));
  if (!member) throwMissing(command.lhs, index + 1);
  return member;
}

}  // namespace

ConfigDump::ConfigDump(Mirra::EntityManager& em, const Vex::String& agentName) : em_(em), agentName_(agentName) {}

std::string ConfigDump::mountConfigPath(const Vex::String& agentName) {
  return "controller/mount/config/service/" + agentName.stdString();
}

std::string ConfigDump::publishConfigPath(const Vex::String& agentName) {
  return "controller/publish/config/service/" + agentName.stdString();
}

Vex::Ptr<ServiceMountConfig> ConfigDump::mountConfig() const {
  return Vex::ptr_cast<ServiceMountConfig>(em_.getEntity(mountConfigPath(agentName_)));
}

Vex::Ptr<ServicePublishConfig> ConfigDump::publishConfig() const {
  return Vex::ptr_cast<ServicePublishConfig>(em_.getEntity(publishConfigPath(agentName_)));
}

std::string ConfigDump::filterPlace(const MountFilterSystem* filter) const {
  if (!filter) return "none";
  std::string place;
  if (auto config = mountConfig()) place = placeIn("mountConfig", "systemFilter", config->systemFilterMembers(), filter);
  if (auto config = publishConfig(); place.empty() && config) {
    place = placeIn("publishConfig", "systemFilter", config->systemFilterMembers(), filter);
  }
  return place.empty() ? "detached " + quoteIfNeeded(filter->name().view()) : place;
}

std::string ConfigDump::filterPlace(const MountFilterServiceVersion* filter) const {
  if (!filter) return "none";
  std::string place;
  if (auto config = mountConfig()) {
    place = placeIn("mountConfig", "versionFilter", config->versionFilterMembers(), filter);
  }
  if (auto config = publishConfig(); place.empty() && config) {
    place = placeIn("publishConfig", "versionFilter", config->versionFilterMembers(), filter);
  }
  return place.empty() ? "detached " + quoteIfNeeded(filter->name().view()) : place;
}

std::vector<std::string> ConfigDump::lines() const {
  LineWriter out;
  const ConfigPath mountRoot{seg("mountConfig")};
  if (auto config = mountConfig()) {
    out.add(mountRoot, "ServiceMountConfig");
    out.add(child(mountRoot, seg("serviceName")), quoteIfNeeded(config->serviceName().view()));
    out.add(child(mountRoot, seg("leaderGenId")), quoteIfNeeded(config->leaderGenId().view()));
    out.add(child(mountRoot, seg("warm")), boolText(config->warm()));
    const auto& groups = config->mountGroupConfigMembers();
    for (auto it = groups.begin(); it != groups.end(); ++it) {
      const ServiceMountGroupConfig& group = **it;
      const ConfigPath place = child(mountRoot, seg("mountGroupConfig", it.key().stdString()));
      out.add(place, "ServiceMountGroupConfig");
      out.add(child(place, seg("preserveMountsOnDisconnect")), boolText(group.preserveMountsOnDisconnect()));
      out.add(child(place, seg("systemFilter")), filterPlace(group.systemFilter().get()));
      out.add(child(place, seg("versionFilter")), filterPlace(group.versionFilter().get()));
      for (const auto& [remote, mount] : group.mountConfigMembers().entries()) {
        out.add(child(place, seg("mountConfig", remote.stdString())),
                field("vexcType", mount.vexcType) + " " + field("vexcFlags", mount.vexcFlags) + " " +
                    field("hubstorePath", mount.hubstorePath));
      }
    }
    addFilterCollections(out, mountRoot, *config);
  } else {
    out.add(mountRoot, "none");
  }

  const ConfigPath publishRoot{seg("publishConfig")};
  if (auto config = publishConfig()) {
    out.add(publishRoot, "ServicePublishConfig");
    out.add(child(publishRoot, seg("serviceName")), quoteIfNeeded(config->serviceName().view()));
    out.add(child(publishRoot, seg("leaderGenId")), quoteIfNeeded(config->leaderGenId().view()));
    out.add(child(publishRoot, seg("ready")), boolText(config->ready()));
    const auto& groups = config->publishGroupConfigMembers();
    for (auto it = groups.begin(); it != groups.end(); ++it) {
      const ServicePublishGroupConfig& group = **it;
      const ConfigPath place = child(publishRoot, seg("publishGroupConfig", it.key().stdString()));
      out.add(place, "ServicePublishGroupConfig");
      out.add(child(place, seg("systemFilter")), filterPlace(group.systemFilter().get()));
      out.add(child(place, seg("versionFilter")), filterPlace(group.versionFilter().get()));
      for (const auto& [path, publish] : group.publishConfigMembers().entries()) {
        out.add(child(place, seg("publishConfig", path.stdString())),
                field("remotePath", publish.remotePath) + " " + field("vexcType", publish.vexcType));
      }
      for (auto dir = group.publishDirMembers().begin(); dir != group.publishDirMembers().end(); ++dir) {
        out.add(child(place, seg("publishDir", dir.key().stdString())),
                field("vexcType", (*dir)->vexcType()) + " " + field("remoteTargetPath", (*dir)->remoteTargetPath()) +
                    " readyToPublish=" + boolText((*dir)->readyToPublish()));
      }
    }
    addFilterCollections(out, publishRoot, *config);
  } else {
    out.add(publishRoot, "none");
  }
  return std::move(out.lines);
}

template <class Filter>
Vex::Ptr<Filter> ConfigDump::filterNamed(const Command& command) {
  if (command.detachedName) {
    if (restoring_) {
      auto kept = restoring_->detachedFilters.find(formatConfigPath(command.lhs));
      if (kept != restoring_->detachedFilters.end()) {
        if (auto filter = Vex::ptr_cast<Filter>(kept->second)) return filter;
      }
    }
    return Vex::make<Filter>(Vex::Name(*command.detachedName));
  }
  if (!command.filter) return nullptr;
  const ConfigPath& place = *command.filter;
  // The parser checked that the place is a collection member of this type.
  // A dump prints a group's binding before the filter record it names, and
  // the mount configuration before the publish one, so binding creates the
  // filter and its configuration record when they are not there yet: dump
  // lines fed to set in their printed order rebuild the configuration.
  const bool mount = place[0].attribute == kMountRoot;
  rootIs(mount, true);
  const Vex::Name key = keyOf(place[1]);
  if constexpr (std::is_same_v<Filter, MountFilterSystem>) {
    return mount ? mountConfig()->systemFilterIs(key) : publishConfig()->systemFilterIs(key);
  } else {
    return mount ? mountConfig()->versionFilterIs(key) : publishConfig()->versionFilterIs(key);
  }
}

void ConfigDump::set(const Command& command) {
  const ConfigPath& lhs = command.lhs;
  if (lhs.size() == 1) {
    rootIs(lhs[0].attribute == kMountRoot, command.scalar != "none");
    return;
  }
  if (lhs[0].attribute == kMountRoot) {
    auto config = mountConfig();
    if (!config) throwMissing(lhs, 1);
    setMountConfig(*config, command, true);
  } else {
    auto config = publishConfig();
    if (!config) throwMissing(lhs, 1);
    setPublishConfig(*config, command, true);
  }
}

void ConfigDump::unset(const Command& command) {
  const ConfigPath& lhs = command.lhs;
  if (lhs.size() == 1) {
    rootIs(lhs[0].attribute == kMountRoot, false);
    return;
  }
  if (lhs[0].attribute == kMountRoot) {
    auto config = mountConfig();
    if (!config) throwMissing(lhs, 1);
    setMountConfig(*config, command, false);
  } else {
    auto config = publishConfig();
    if (!config) throwMissing(lhs, 1);
    setPublishConfig(*config, command, false);
  }
}

void ConfigDump::rootIs(bool mount, bool present) {
  const std::string path = mount ? mountConfigPath(agentName_) : publishConfigPath(agentName_);
  if (!present) {
    em_.entityDel(path);
    return;
  }
  if (auto existing = em_.getEntity(path)) {
    if (mount ? !Vex::ptr_cast<ServiceMountConfig>(existing) : !Vex::ptr_cast<ServicePublishConfig>(existing)) {
      throw ScenarioError(path + " holds a " + existing->fwkType().name());
    }
    return;
  }
  if (mount) {
    em_.entityIs(path, ServiceMountConfig::ServiceMountConfigIs(agentName_));
  } else {
    em_.entityIs(path, ServicePublishConfig::ServicePublishConfigIs(agentName_));
  }
}

template <class Config>
void ConfigDump::setFilterCollection(Config& config, const Command& command, bool isSet) {
  const ConfigPath& lhs = command.lhs;
  const Vex::Name name = keyOf(lhs[1]);
  if (lhs[1].attribute == "systemFilter") {
    if (lhs.size() == 2) {
      if (isSet) {
        config.systemFilterIs(name);
      } else {
        config.systemFilterDel(name);
      }
      return;
    }
    auto filter = parentMember<MountFilterSystem>(command, 1, [&](const Vex::Name& k) { return config.systemFilter(k); });
    if (isSet) {
      filter->includedSystemIs(keyOf(lhs[2]), boolValue(command));
    } else {
      filter->includedSystemDel(keyOf(lhs[2]));
    }
    return;
  }
  if (lhs.size() == 2) {
    if (isSet) {
      config.versionFilterIs(name);
    } else {
      config.versionFilterDel(name);
    }
    return;
  }
  auto filter =
      parentMember<MountFilterServiceVersion>(command, 1, [&](const Vex::Name& k) { return config.versionFilter(k); });
  const auto version = static_cast<std::uint32_t>(std::stoul(*lhs[2].key));
  if (isSet) {
    filter->includedServiceVersionIs(version, boolValue(command));
  } else {
    filter->includedServiceVersionDel(version);
  }
}

template <class GroupConfig>
void ConfigDump::setGroupFilter(GroupConfig& group, const Command& command, bool isSet) {
  if (command.lhs[2].attribute == "systemFilter") {
    group.systemFilterIs(isSet ? filterNamed<MountFilterSystem>(command) : nullptr);
  } else {
    group.versionFilterIs(isSet ? filterNamed<MountFilterServiceVersion>(command) : nullptr);
  }
}

void ConfigDump::setMountConfig(ServiceMountConfig& config, const Command& command, bool isSet) {
  const ConfigPath& lhs = command.lhs;
  const std::string& attribute = lhs[1].attribute;
  if (attribute == "serviceName") {
    config.serviceNameIs(isSet ? Vex::String(command.scalar) : Vex::String(""));
  } else if (attribute == "leaderGenId") {
    config.leaderGenIdIs(isSet ? Vex::String(command.scalar) : Vex::String(""));
  } else if (attribute == "warm") {
    config.warmIs(isSet && boolValue(command));
  } else if (attribute == "mountGroupConfig") {
    const Vex::Name name = keyOf(lhs[1]);
    if (lhs.size() == 2) {
      if (isSet) {
        config.mountGroupConfigIs(name);
      } else {
        config.mountGroupConfigDel(name);
      }
      return;
    }
    auto group =
        parentMember<ServiceMountGroupConfig>(command, 1, [&](const Vex::Name& k) { return config.mountGroupConfig(k); });
    const std::string& member = lhs[2].attribute;
    if (member == "preserveMountsOnDisconnect") {
      group->preserveMountsOnDisconnectIs(isSet && boolValue(command));
    } else if (member == "mountConfig") {
      if (isSet) {
        group->mountConfigIs(keyOf(lhs[2]), Vex::String(fieldValue(command, "vexcType")),
                             Vex::String(fieldValue(command, "vexcFlags")),
                             Vex::String(fieldValue(command, "hubstorePath")));
      } else {
        group->mountConfigDel(keyOf(lhs[2]));
      }
    } else {
      setGroupFilter(*group, command, isSet);
    }
  } else {
    setFilterCollection(config, command, isSet);
  }
}

void ConfigDump::setPublishConfig(ServicePublishConfig& config, const Command& command, bool isSet) {
  const ConfigPath& lhs = command.lhs;
  const std::string& attribute = lhs[1].attribute;
  if (attribute == "serviceName") {
    config.serviceNameIs(isSet ? Vex::String(command.scalar) : Vex::String(""));
  } else if (attribute == "leaderGenId") {
    config.leaderGenIdIs(isSet ? Vex::String(command.scalar) : Vex::String(""));
  } else if (attribute == "ready") {
    config.readyIs(isSet && boolValue(command));
  } else if (attribute == "publishGroupConfig") {
    const Vex::Name name = keyOf(lhs[1]);
    if (lhs.size() == 2) {
      if (isSet) {
        config.publishGroupConfigIs(name);
      } else {
        config.publishGroupConfigDel(name);
      }
      return;
    }
    auto group = parentMember<ServicePublishGroupConfig>(
        command, 1, [&](const Vex::Name& k) { return config.publishGroupConfig(k); });
    const std::string& member = lhs[2].attribute;
    const Vex::Name key = member == "publishConfig" || member == "publishDir" ? keyOf(lhs[2]) : Vex::Name();
    if (member == "publishConfig") {
      if (isSet) {
        group->publishConfigIs(key, Vex::String(fieldValue(command, "remotePath")),
                               Vex::String(fieldValue(command, "vexcType")));
      } else {
        group->publishConfigDel(key);
      }
    } else if (member == "publishDir") {
      if (isSet) {
        auto dir = group->publishDirIs(key, Vex::String(fieldValue(command, "vexcType")));
        dir->remoteTargetPathIs(Vex::String(fieldValue(command, "remoteTargetPath")));
        dir->readyToPublishIs(fieldValue(command, "readyToPublish") == "true");
      } else {
        group->publishDirDel(key);
      }
    } else {
      setGroupFilter(*group, command, isSet);
    }
  } else {
    setFilterCollection(config, command, isSet);
  }
}

ConfigDump::Snapshot ConfigDump::snapshot() const {
  Snapshot snapshot{lines(), {}};
  auto keepDetached = [&](const ConfigPath& group, const Vex::Ptr<Vex::Entity>& filter, const std::string& place) {
    if (filter && place.rfind("detached ", 0) == 0) snapshot.detachedFilters[formatConfigPath(group)] = filter;
  };
  if (auto config = mountConfig()) {
    for (auto it = config->mountGroupConfigMembers().begin(); it != config->mountGroupConfigMembers().end(); ++it) {
      const ConfigPath group{seg("mountConfig"), seg("mountGroupConfig", it.key().stdString())};
      keepDetached(child(group, seg("systemFilter")), (*it)->systemFilter(), filterPlace((*it)->systemFilter().get()));
      keepDetached(child(group, seg("versionFilter")), (*it)->versionFilter(),
                   filterPlace((*it)->versionFilter().get()));
    }
  }
  if (auto config = publishConfig()) {
    for (auto it = config->publishGroupConfigMembers().begin(); it != config->publishGroupConfigMembers().end();
         ++it) {
      const ConfigPath group{seg("publishConfig"), seg("publishGroupConfig", it.key().stdString())};
      keepDetached(child(group, seg("systemFilter")), (*it)->systemFilter(), filterPlace((*it)->systemFilter().get()));
      keepDetached(child(group, seg("versionFilter")), (*it)->versionFilter(),
                   filterPlace((*it)->versionFilter().get()));
    }
  }
  return snapshot;
}

void ConfigDump::restore(const Snapshot& snapshot) {
  std::string text;
  for (const std::string& line : snapshot.lines) text += "set " + line + "\n";
  const ParseResult parsed = parseScenario("restart", text);
  if (!parsed.errors.empty()) {
    // Only a text holding a line break has no form that parses back.
    throw std::logic_error("configuration that does not read back: " + parsed.errors.front());
  }
  em_.entityDel(mountConfigPath(agentName_));
  em_.entityDel(publishConfigPath(agentName_));
  restoring_ = &snapshot;
  try {
    for (const Command& command : parsed.commands) set(command);
  } catch (...) {
    restoring_ = nullptr;
    throw;
  }
  restoring_ = nullptr;
}

}  // namespace hubstore::sim
