#include "tools/sim/config_schema.h"

namespace hubstore::sim {
namespace {

using K = ConfigValueKind;

constexpr FieldShape kMountConfigFields[] = {
    {"vexcType", "TYPE"}, {"vexcFlags", "FLAGS"}, {"hubstorePath", "PATH"}};
constexpr FieldShape kPublishConfigFields[] = {{"remotePath", "REMOTE"},
                                              {"vexcType", "TYPE"}};
constexpr FieldShape kPublishDirFields[] = {{"vexcType", "TYPE"},
                                           {"remoteTargetPath", "REMOTE"},
                                           {"readyToPublish", "BOOL"}};

constexpr SchemaNode kSystemFilterMembers[] = {
    {"includedSystem", KeyKind::Name, "SYS", K::Bool, {}, {}, {}}};
constexpr SchemaNode kVersionFilterMembers[] = {
    {"includedServiceVersion", KeyKind::U32, "N", K::Bool, {}, {}, {}}};

constexpr SchemaNode kSystemFilters = {
    "systemFilter",      KeyKind::Name,        "L", K::RecordType,
    "MountFilterSystem", kSystemFilterMembers, {}};
constexpr SchemaNode kVersionFilters = {
    "versionFilter",   KeyKind::Name, "V", K::RecordType,
    "MountFilterServiceVersion", kVersionFilterMembers, {}};
constexpr SchemaNode kSystemFilterRef = {
    "systemFilter", KeyKind::None, {}, K::Filter, "MountFilterSystem", {}, {}};
constexpr SchemaNode kVersionFilterRef = {
    "versionFilter", KeyKind::None, {}, K::Filter, "MountFilterServiceVersion",
    {},           {}};
constexpr SchemaNode kServiceName = {
    "serviceName", KeyKind::None, {}, K::Scalar, {}, {}, {}};
constexpr SchemaNode kLeaderGenId = {
    "leaderGenId", KeyKind::None, {}, K::Scalar, {}, {}, {}};

constexpr SchemaNode kMountGroupMembers[] = {
    {"preserveMountsOnDisconnect", KeyKind::None, {}, K::Bool, {}, {}, {}},
    kSystemFilterRef,
    kVersionFilterRef,
    {"mountConfig", KeyKind::Name, "REMOTE", K::Fields, {}, {},
     kMountConfigFields},
};
constexpr SchemaNode kPublishGroupMembers[] = {
    kSystemFilterRef,
    kVersionFilterRef,
    {"publishConfig", KeyKind::Name, "HUBSTOREPATH", K::Fields, {}, {},
     kPublishConfigFields},
    {"publishDir", KeyKind::Name, "HUBSTOREPATH", K::Fields, {}, {},
     kPublishDirFields},
};
constexpr SchemaNode kMountConfigMembers[] = {
    kServiceName,
    kLeaderGenId,
    {"warm", KeyKind::None, {}, K::Bool, {}, {}, {}},
    {"mountGroupConfig", KeyKind::Name, "G", K::RecordType,
     "ServiceMountGroupConfig", kMountGroupMembers, {}},
    kSystemFilters,
    kVersionFilters,
};
constexpr SchemaNode kPublishConfigMembers[] = {
    kServiceName,
    kLeaderGenId,
    {"ready", KeyKind::None, {}, K::Bool, {}, {}, {}},
    {"publishGroupConfig", KeyKind::Name, "G", K::RecordType,
     "ServicePublishGroupConfig", kPublishGroupMembers, {}},
    kSystemFilters,
    kVersionFilters,
};
constexpr SchemaNode kRoots[] = {
    {"mountConfig", KeyKind::None, {}, K::RecordType, "ServiceMountConfig",
     kMountConfigMembers, {}},
    {"publishConfig", KeyKind::None, {}, K::RecordType, "ServicePublishConfig",
     kPublishConfigMembers, {}},
};

}  // namespace

std::span<const SchemaNode> configRoots() { return kRoots; }

}  // namespace hubstore::sim
