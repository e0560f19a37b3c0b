#include <hubstore/redis/record_layout.h>

#include <charconv>

#include <hubstore/foundations/records/hubstore_status.h>
#include <hubstore/foundations/records/mount_filter_service_version.h>
#include <hubstore/foundations/records/mount_filter_system.h>
#include <hubstore/foundations/records/mount_state.h>
#include <hubstore/foundations/records/publish_dir.h>
#include <hubstore/foundations/records/service_mount_config.h>
#include <hubstore/foundations/records/service_mount_group_config.h>
#include <hubstore/foundations/records/service_mount_group_status.h>
#include <hubstore/foundations/records/service_mount_status.h>
#include <hubstore/foundations/records/service_publish_config.h>
#include <hubstore/foundations/records/service_publish_group_config.h>
#include <hubstore/foundations/records/service_publish_group_status.h>
#include <hubstore/foundations/records/service_publish_status.h>
#include <hubstore/foundations/records/system_status.h>

namespace hubstore::redis::layout {

using namespace Controller;

extern const Collection kMountConfigMembers[] = {
    {"mountGroupConfig", ServiceMountConfig::Attr::mountGroupConfig, true, false, false},
    {"systemFilter", ServiceMountConfig::Attr::systemFilter, true, false, false},
    {"versionFilter", ServiceMountConfig::Attr::versionFilter, true, false, false}};
extern const Collection kPublishConfigMembers[] = {
    {"publishGroupConfig", ServicePublishConfig::Attr::publishGroupConfig, true, false, false},
    {"systemFilter", ServicePublishConfig::Attr::systemFilter, true, false, false},
    {"versionFilter", ServicePublishConfig::Attr::versionFilter, true, false, false}};
extern const Collection kMountGroupConfigMembers[] = {
    {"mountConfig", ServiceMountGroupConfig::Attr::mountConfig, false, false, false}};
extern const Collection kPublishGroupConfigMembers[] = {
    {"publishConfig", ServicePublishGroupConfig::Attr::publishConfig, false, false, false},
    {"publishDir", ServicePublishGroupConfig::Attr::publishDir, true, false, false}};
extern const Collection kSystemFilterMembers[] = {
    {"includedSystem", MountFilterSystem::Attr::includedSystem, false, false, true}};
extern const Collection kVersionFilterMembers[] = {
    {"includedServiceVersion", MountFilterServiceVersion::Attr::includedServiceVersion, false, true, true}};
extern const Collection kMountStatusMembers[] = {
    {"systemStatus", ServiceMountStatus::Attr::systemStatus, true, false, false},
    {"initialMountsComplete", ServiceMountStatus::Attr::initialMountsComplete, false, false, false},
    {"mountedPathPrefix", ServiceMountStatus::Attr::mountedPathPrefix, false, false, false}};
extern const Collection kSystemStatusMembers[] = {
    {"serviceMountGroupStatus", SystemStatus::Attr::serviceMountGroupStatus, true, false, true}};
extern const Collection kPublishStatusMembers[] = {
    {"publishGroupStatus", ServicePublishStatus::Attr::publishGroupStatus, true, false, false}};
extern const Collection kPublishGroupStatusMembers[] = {
    {"publishStatus", ServicePublishGroupStatus::Attr::publishStatus, false, false, true}};


namespace {

template <std::size_t N>
Members members(const Collection (&list)[N]) {
  return {list, list + N};
}

template <class Map, class ValueFields>
void visitValues(const Map& map, ValueFields toFields, const MemberVisitor& visit) {
  for (const auto& [key, value] : map.entries()) {
    const Fields fields = toFields(value);
    if constexpr (std::is_same_v<std::decay_t<decltype(key)>, std::uint32_t>) {
      visit(std::to_string(key), nullptr, &fields);
    } else {
      visit(key.stdString(), nullptr, &fields);
    }
  }
}

template <class Records>
void visitRecords(const Records& records, const MemberVisitor& visit) {
  for (const auto& [key, record] : records.members()) visit(key.stdString(), record.get(), nullptr);
}

}  // namespace

Members collectionsOf(const Vex::Entity& e) {
  if (as<ServiceMountConfig>(e)) return members(kMountConfigMembers);
  if (as<ServicePublishConfig>(e)) return members(kPublishConfigMembers);
  if (as<ServiceMountGroupConfig>(e)) return members(kMountGroupConfigMembers);
  if (as<ServicePublishGroupConfig>(e)) return members(kPublishGroupConfigMembers);
  if (as<MountFilterSystem>(e)) return members(kSystemFilterMembers);
  if (as<MountFilterServiceVersion>(e)) return members(kVersionFilterMembers);
  if (as<ServiceMountStatus>(e)) return members(kMountStatusMembers);
  if (as<SystemStatus>(e)) return members(kSystemStatusMembers);
  if (as<ServicePublishStatus>(e)) return members(kPublishStatusMembers);
  if (as<ServicePublishGroupStatus>(e)) return members(kPublishGroupStatusMembers);
  return {};
}

const Controller::SchemaNode* configRecordNode(const Vex::Entity& e) {
  const bool configRecord = as<ServiceMountConfig>(e) || as<ServicePublishConfig>(e) ||
                            as<ServiceMountGroupConfig>(e) || as<ServicePublishGroupConfig>(e);
  return configRecord ? Controller::configNodeOf(e) : nullptr;
}

std::string text(bool value) { return value ? "true" : "false"; }

bool isPlainKey(std::string_view key) {
  if (key.empty() || key.front() == '"') return false;
  for (char c : key) {
    if (c == '[' || c == ']') return false;
  }
  return true;
}
std::string text(const Vex::String& value) { return value.stdString(); }

const std::string* field(const Fields& fields, std::string_view name) {
  auto found = fields.find(name);
  return found == fields.end() ? nullptr : &found->second;
}

Vex::String stringField(const Fields& fields, const char* name) {
  const std::string* value = field(fields, name);
  return Vex::String(value ? *value : std::string());
}

std::optional<std::uint32_t> numberKey(std::string_view key) {
  std::uint32_t value = 0;
  const auto [end, error] = std::from_chars(key.data(), key.data() + key.size(), value);
  if (key.empty() || error != std::errc() || end != key.data() + key.size()) return std::nullopt;
  return value;
}

Fields boolValue(bool value) { return {{"value", text(value)}}; }

void visitMembers(const Vex::Entity& e, const Collection& c, const MemberVisitor& visit) {
  const std::string_view name = c.name;
  if (auto* r = as<ServiceMountConfig>(e)) {
    if (name == "mountGroupConfig") visitRecords(r->mountGroupConfigMembers(), visit);
    if (name == "systemFilter") visitRecords(r->systemFilterMembers(), visit);
    if (name == "versionFilter") visitRecords(r->versionFilterMembers(), visit);
  } else if (auto* r = as<ServicePublishConfig>(e)) {
    if (name == "publishGroupConfig") visitRecords(r->publishGroupConfigMembers(), visit);
    if (name == "systemFilter") visitRecords(r->systemFilterMembers(), visit);
    if (name == "versionFilter") visitRecords(r->versionFilterMembers(), visit);
  } else if (auto* r = as<ServiceMountGroupConfig>(e)) {
    visitValues(
        r->mountConfigMembers(),
        [](const MountConfig& m) {
          return Fields{{"vexcType", text(m.vexcType)}, {"vexcFlags", text(m.vexcFlags)},
                        {"hubstorePath", text(m.hubstorePath)}};
        },
        visit);
  } else if (auto* r = as<ServicePublishGroupConfig>(e)) {
    if (name == "publishConfig") {
      visitValues(
          r->publishConfigMembers(),
          [](const PublishConfig& p) { return Fields{{"remotePath", text(p.remotePath)}, {"vexcType", text(p.vexcType)}}; },
          visit);
    }
    if (name == "publishDir") visitRecords(r->publishDirMembers(), visit);
  } else if (auto* r = as<MountFilterSystem>(e)) {
    visitValues(r->includedSystemMembers(), boolValue, visit);
  } else if (auto* r = as<MountFilterServiceVersion>(e)) {
    visitValues(r->includedServiceVersionMembers(), boolValue, visit);
  } else if (auto* r = as<ServiceMountStatus>(e)) {
    if (name == "systemStatus") visitRecords(r->systemStatusMembers(), visit);
    if (name == "initialMountsComplete") visitValues(r->initialMountsCompleteMembers(), boolValue, visit);
    if (name == "mountedPathPrefix") {
      visitValues(
          r->mountedPathPrefixMembers(), [](const Vex::String& prefix) { return Fields{{"value", text(prefix)}}; },
          visit);
    }
  } else if (auto* r = as<SystemStatus>(e)) {
    visitRecords(r->serviceMountGroupStatusMembers(), visit);
  } else if (auto* r = as<ServicePublishStatus>(e)) {
    visitRecords(r->publishGroupStatusMembers(), visit);
  } else if (auto* r = as<ServicePublishGroupStatus>(e)) {
    visitValues(r->publishStatusMembers(), boolValue, visit);
  }
}


}  // namespace hubstore::redis::layout
