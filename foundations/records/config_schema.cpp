#include <hubstore/foundations/records/config_schema.h>

#include <charconv>
#include <cstdint>

#include <hubstore/foundations/records/mount_filter_service_version.h>
#include <hubstore/foundations/records/mount_filter_system.h>
#include <hubstore/foundations/records/publish_dir.h>
#include <hubstore/foundations/records/service_mount_config.h>
#include <hubstore/foundations/records/service_mount_group_config.h>
#include <hubstore/foundations/records/service_publish_config.h>
#include <hubstore/foundations/records/service_publish_group_config.h>

namespace Controller {
namespace {

using K = ConfigValueKind;
using Vex::Entity;

// A node's accessors are handed holders of the type the node belongs to.
template <class R>
const R& as(const Entity& entity) {
  return static_cast<const R&>(entity);
}
template <class R>
R& as(Entity& entity) {
  return static_cast<R&>(entity);
}

std::string text(bool value) { return value ? "true" : "false"; }

std::uint32_t number(std::string_view key) {
  std::uint32_t value = 0;
  std::from_chars(key.data(), key.data() + key.size(), value);
  return value;
}

// The accessors of the helpers below are member pointers of R or of a base
// of R: the records share their cores (ServiceConfigRecord, GroupConfigRecord).
template <class R, auto get, auto set>
constexpr SchemaNode stringAttribute(std::string_view attribute) {
  return {.attribute = attribute,
          .kind = K::Scalar,
          .read = [](const Entity& e, std::string_view) -> std::optional<ConfigTexts> {
            return ConfigTexts{(as<R>(e).*get)().stdString()};
          },
          .write = [](Entity& e, std::string_view, const ConfigTexts& value) -> Entity* {
            (as<R>(e).*set)(Vex::String(value.at(0)));
            return nullptr;
          }};
}

template <class R, auto get, auto set>
constexpr SchemaNode boolAttribute(std::string_view attribute) {
  return {.attribute = attribute,
          .kind = K::Bool,
          .read = [](const Entity& e, std::string_view) -> std::optional<ConfigTexts> {
            return ConfigTexts{text((as<R>(e).*get)())};
          },
          .write = [](Entity& e, std::string_view, const ConfigTexts& value) -> Entity* {
            (as<R>(e).*set)(value.at(0) == "true");
            return nullptr;
          }};
}

template <class R, class F, auto get, auto set>
constexpr SchemaNode filterAttribute(std::string_view attribute, std::string_view typeName) {
  return {.attribute = attribute,
          .kind = K::Filter,
          .typeName = typeName,
          .bound = [](const Entity& e) -> Entity* { return (as<R>(e).*get)().get(); },
          .bind = [](Entity& e, Entity* filter) { (as<R>(e).*set)(Vex::Ptr<F>(static_cast<F*>(filter))); },
          .make = [](const Vex::Name& name) -> Vex::Ptr<Entity> { return Vex::make<F>(name); }};
}

template <class M>
bool isType(const Entity& entity) {
  return &entity.fwkType() == &M::staticType();
}

// A collection of records keyed by name.
template <class R, class M, auto all, auto add, auto del>
constexpr SchemaNode recordCollection(std::string_view attribute, std::string_view keyName, std::string_view typeName,
                                      std::span<const SchemaNode> members) {
  return {.attribute = attribute,
          .key = KeyKind::Name,
          .keyName = keyName,
          .kind = K::RecordType,
          .typeName = typeName,
          .members = members,
          .write = [](Entity& e, std::string_view key, const ConfigTexts&) -> Entity* {
            return (as<R>(e).*add)(Vex::Name(key)).get();
          },
          .keys = [](const Entity& e) {
            std::vector<std::string> keys;
            const auto& collection = (as<R>(e).*all)();
            for (auto it = collection.begin(); it != collection.end(); ++it) keys.push_back(it.key().stdString());
            return keys;
          },
          .member = [](const Entity& e, std::string_view key) -> Entity* {
            return (as<R>(e).*all)().memberRaw(Vex::Name(key));
          },
          .remove = [](Entity& e, std::string_view key) { (as<R>(e).*del)(Vex::Name(key)); },
          .isType = isType<M>};
}

// The keys of a map of values, in key order.
template <class Map>
std::vector<std::string> keysOf(const Map& map) {
  std::vector<std::string> keys;
  for (const auto& entry : map.entries()) {
    if constexpr (std::is_same_v<std::decay_t<decltype(entry.first)>, std::uint32_t>) {
      keys.push_back(std::to_string(entry.first));
    } else {
      keys.push_back(entry.first.stdString());
    }
  }
  return keys;
}

constexpr FieldShape kMountConfigFields[] = {{"vexcType", "TYPE"}, {"vexcFlags", "FLAGS"}, {"hubstorePath", "PATH"}};
constexpr FieldShape kPublishConfigFields[] = {{"remotePath", "REMOTE"}, {"vexcType", "TYPE"}};
constexpr FieldShape kPublishDirFields[] = {
    {"vexcType", "TYPE"}, {"remoteTargetPath", "REMOTE"}, {"readyToPublish", "BOOL"}};

constexpr SchemaNode kSystemFilterMembers[] = {{
    .attribute = "includedSystem",
    .key = KeyKind::Name,
    .keyName = "SYS",
    .kind = K::Bool,
    .read = [](const Entity& e, std::string_view key) -> std::optional<ConfigTexts> {
      const bool* included = as<MountFilterSystem>(e).includedSystemMembers().value(Vex::String(key));
      return included ? std::optional(ConfigTexts{text(*included)}) : std::nullopt;
    },
    .write = [](Entity& e, std::string_view key, const ConfigTexts& value) -> Entity* {
      as<MountFilterSystem>(e).includedSystemIs(Vex::String(key), value.at(0) == "true");
      return nullptr;
    },
    .keys = [](const Entity& e) { return keysOf(as<MountFilterSystem>(e).includedSystemMembers()); },
    .remove = [](Entity& e, std::string_view key) { as<MountFilterSystem>(e).includedSystemDel(Vex::String(key)); },
}};
constexpr SchemaNode kVersionFilterMembers[] = {{
    .attribute = "includedServiceVersion",
    .key = KeyKind::U32,
    .keyName = "N",
    .kind = K::Bool,
    .read = [](const Entity& e, std::string_view key) -> std::optional<ConfigTexts> {
      const bool* included = as<MountFilterServiceVersion>(e).includedServiceVersionMembers().value(number(key));
      return included ? std::optional(ConfigTexts{text(*included)}) : std::nullopt;
    },
    .write = [](Entity& e, std::string_view key, const ConfigTexts& value) -> Entity* {
      as<MountFilterServiceVersion>(e).includedServiceVersionIs(number(key), value.at(0) == "true");
      return nullptr;
    },
    .keys = [](const Entity& e) { return keysOf(as<MountFilterServiceVersion>(e).includedServiceVersionMembers()); },
    .remove = [](Entity& e, std::string_view key) {
      as<MountFilterServiceVersion>(e).includedServiceVersionDel(number(key));
    },
}};

template <class R>
constexpr SchemaNode kGroupSystemFilter = filterAttribute<R, MountFilterSystem, &R::systemFilter, &R::systemFilterIs>(
    "systemFilter", "MountFilterSystem");
template <class R>
constexpr SchemaNode kGroupVersionFilter =
    filterAttribute<R, MountFilterServiceVersion, &R::versionFilter, &R::versionFilterIs>(
        "versionFilter", "MountFilterServiceVersion");

constexpr SchemaNode kMountGroupMembers[] = {
    boolAttribute<ServiceMountGroupConfig, &ServiceMountGroupConfig::preserveMountsOnDisconnect,
                  &ServiceMountGroupConfig::preserveMountsOnDisconnectIs>("preserveMountsOnDisconnect"),
    kGroupSystemFilter<ServiceMountGroupConfig>,
    kGroupVersionFilter<ServiceMountGroupConfig>,
    {
        .attribute = "mountConfig",
        .key = KeyKind::Name,
        .keyName = "REMOTE",
        .kind = K::Fields,
        .fields = kMountConfigFields,
        .read = [](const Entity& e, std::string_view key) -> std::optional<ConfigTexts> {
          const MountConfig* mount = as<ServiceMountGroupConfig>(e).mountConfig(Vex::Name(key));
          if (!mount) return std::nullopt;
          return ConfigTexts{mount->vexcType.stdString(), mount->vexcFlags.stdString(), mount->hubstorePath.stdString()};
        },
        .write = [](Entity& e, std::string_view key, const ConfigTexts& value) -> Entity* {
          as<ServiceMountGroupConfig>(e).mountConfigIs(Vex::Name(key), Vex::String(value.at(0)),
                                                       Vex::String(value.at(1)), Vex::String(value.at(2)));
          return nullptr;
        },
        .keys = [](const Entity& e) { return keysOf(as<ServiceMountGroupConfig>(e).mountConfigMembers()); },
        .remove = [](Entity& e, std::string_view key) { as<ServiceMountGroupConfig>(e).mountConfigDel(Vex::Name(key)); },
    },
};

constexpr SchemaNode kPublishGroupMembers[] = {
    kGroupSystemFilter<ServicePublishGroupConfig>,
    kGroupVersionFilter<ServicePublishGroupConfig>,
    {
        .attribute = "publishConfig",
        .key = KeyKind::Name,
        .keyName = "HUBSTOREPATH",
        .kind = K::Fields,
        .fields = kPublishConfigFields,
        .read = [](const Entity& e, std::string_view key) -> std::optional<ConfigTexts> {
          const PublishConfig* publish = as<ServicePublishGroupConfig>(e).publishConfig(Vex::Name(key));
          if (!publish) return std::nullopt;
          return ConfigTexts{publish->remotePath.stdString(), publish->vexcType.stdString()};
        },
        .write = [](Entity& e, std::string_view key, const ConfigTexts& value) -> Entity* {
          as<ServicePublishGroupConfig>(e).publishConfigIs(Vex::Name(key), Vex::String(value.at(0)),
                                                           Vex::String(value.at(1)));
          return nullptr;
        },
        .keys = [](const Entity& e) { return keysOf(as<ServicePublishGroupConfig>(e).publishConfigMembers()); },
        .remove = [](Entity& e,
                     std::string_view key) { as<ServicePublishGroupConfig>(e).publishConfigDel(Vex::Name(key)); },
    },
    // A publish directory is a record, written as one line of its fields.
    {
        .attribute = "publishDir",
        .key = KeyKind::Name,
        .keyName = "HUBSTOREPATH",
        .kind = K::Fields,
        .fields = kPublishDirFields,
        .read = [](const Entity& e, std::string_view key) -> std::optional<ConfigTexts> {
          const PublishDir* dir = as<ServicePublishGroupConfig>(e).publishDirMembers().memberRaw(Vex::Name(key));
          if (!dir) return std::nullopt;
          return ConfigTexts{dir->vexcType().stdString(), dir->remoteTargetPath().stdString(),
                             text(dir->readyToPublish())};
        },
        .write = [](Entity& e, std::string_view key, const ConfigTexts& value) -> Entity* {
          auto dir = as<ServicePublishGroupConfig>(e).publishDirIs(Vex::Name(key), Vex::String(value.at(0)));
          dir->remoteTargetPathIs(Vex::String(value.at(1)));
          dir->readyToPublishIs(value.at(2) == "true");
          return dir.get();
        },
        .keys = [](const Entity& e) {
          std::vector<std::string> keys;
          const auto& dirs = as<ServicePublishGroupConfig>(e).publishDirMembers();
          for (auto it = dirs.begin(); it != dirs.end(); ++it) keys.push_back(it.key().stdString());
          return keys;
        },
        .member = [](const Entity& e, std::string_view key) -> Entity* {
          return as<ServicePublishGroupConfig>(e).publishDirMembers().memberRaw(Vex::Name(key));
        },
        .remove = [](Entity& e, std::string_view key) { as<ServicePublishGroupConfig>(e).publishDirDel(Vex::Name(key)); },
        .isType = isType<PublishDir>,
    },
};

// The systemFilter and versionFilter collections, alike in both records.
template <class R>
constexpr SchemaNode kSystemFilters =
    recordCollection<R, MountFilterSystem, &R::systemFilterMembers, &R::systemFilterIs, &R::systemFilterDel>(
        "systemFilter", "L", "MountFilterSystem", kSystemFilterMembers);
template <class R>
constexpr SchemaNode kVersionFilters = recordCollection<R, MountFilterServiceVersion, &R::versionFilterMembers,
                                                        &R::versionFilterIs, &R::versionFilterDel>(
    "versionFilter", "V", "MountFilterServiceVersion", kVersionFilterMembers);

using MC = ServiceMountConfig;
using PC = ServicePublishConfig;

constexpr SchemaNode kMountConfigMembers[] = {
    stringAttribute<MC, &MC::serviceName, &MC::serviceNameIs>("serviceName"),
    stringAttribute<MC, &MC::leaderGenId, &MC::leaderGenIdIs>("leaderGenId"),
    boolAttribute<MC, &MC::warm, &MC::warmIs>("warm"),
    recordCollection<MC, ServiceMountGroupConfig, &MC::mountGroupConfigMembers, &MC::mountGroupConfigIs,
                     &MC::mountGroupConfigDel>("mountGroupConfig", "G", "ServiceMountGroupConfig",
                                               kMountGroupMembers),
    kSystemFilters<MC>,
    kVersionFilters<MC>,
};
constexpr SchemaNode kPublishConfigMembers[] = {
    stringAttribute<PC, &PC::serviceName, &PC::serviceNameIs>("serviceName"),
    stringAttribute<PC, &PC::leaderGenId, &PC::leaderGenIdIs>("leaderGenId"),
    boolAttribute<PC, &PC::ready, &PC::readyIs>("ready"),
    recordCollection<PC, ServicePublishGroupConfig, &PC::publishGroupConfigMembers, &PC::publishGroupConfigIs,
                     &PC::publishGroupConfigDel>("publishGroupConfig", "G", "ServicePublishGroupConfig",
                                                 kPublishGroupMembers),
    kSystemFilters<PC>,
    kVersionFilters<PC>,
};

template <class R>
constexpr SchemaNode root(std::string_view attribute, std::string_view typeName, std::span<const SchemaNode> members) {
  return {.attribute = attribute,
          .kind = K::RecordType,
          .typeName = typeName,
          .members = members,
          .make = [](const Vex::Name& name) -> Vex::Ptr<Entity> { return Vex::make<R>(name); },
          .isType = isType<R>};
}

constexpr SchemaNode kRoots[] = {
    root<MC>("mountConfig", "ServiceMountConfig", kMountConfigMembers),
    root<PC>("publishConfig", "ServicePublishConfig", kPublishConfigMembers),
};

const SchemaNode* nodeIn(std::span<const SchemaNode> nodes, const Entity& record) {
  for (const SchemaNode& node : nodes) {
    if (node.isType && node.isType(record)) return &node;
    if (const SchemaNode* found = nodeIn(node.members, record)) return found;
  }
  return nullptr;
}

}  // namespace

std::span<const SchemaNode> configRoots() { return kRoots; }

const SchemaNode* configNodeOf(const Entity& record) { return nodeIn(kRoots, record); }

}  // namespace Controller
