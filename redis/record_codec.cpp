#include <hubstore/redis/record_codec.h>

#include <vector>

#include <hubstore/foundations/records/config_schema.h>
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
#include <hubstore/redis/record_layout.h>

// What a record looks like as Redis hashes: its fields, its keys, its members.
namespace hubstore::redis {

using namespace Controller;
using namespace layout;

namespace {

// "none", "mountConfig.systemFilter[L]" (a member of a configuration's
// collection) or "detached L" (a filter record that left its collection).
std::string filterPlace(const Vex::Entity* filter, std::string_view attribute) {
  if (!filter) return "none";
  const Vex::Entity* parent = filter->parent();
  for (const SchemaNode& root : configRoots()) {
    if (parent && root.isType(*parent) && filter->parentAttrName() == attribute) {
      return RedisKeySchema::memberKey(std::string(root.attribute), attribute, filter->name().view());
    }
  }
  return "detached " + RedisKeySchema::quoted(filter->name().view());
}

}  // namespace

Vex::Ptr<Vex::Entity> RecordCodec::newRecord(RecordSlot slot, const Vex::Name& name) {
  switch (slot) {
    case RecordSlot::status:
      return Hubstore::Status::StatusIs(name);
    case RecordSlot::mountConfig:
      return ServiceMountConfig::ServiceMountConfigIs(name);
    case RecordSlot::mountStatus:
      return ServiceMountStatus::ServiceMountStatusIs(name);
    case RecordSlot::publishConfig:
      return ServicePublishConfig::ServicePublishConfigIs(name);
    case RecordSlot::publishStatus:
      return ServicePublishStatus::ServicePublishStatusIs(name);
  }
  return nullptr;
}

bool RecordCodec::holds(RecordSlot slot, const Vex::Entity& entity) {
  switch (slot) {
    case RecordSlot::status:
      return as<Hubstore::Status>(entity);
    case RecordSlot::mountConfig:
      return as<ServiceMountConfig>(entity);
    case RecordSlot::mountStatus:
      return as<ServiceMountStatus>(entity);
    case RecordSlot::publishConfig:
      return as<ServicePublishConfig>(entity);
    case RecordSlot::publishStatus:
      return as<ServicePublishStatus>(entity);
  }
  return false;
}

Fields RecordCodec::fields(const Vex::Entity& e) {
  Fields out = ownFields(e);
  for (const Collection& c : collectionsOf(e)) {
    if (!c.inFields) continue;
    visitMembers(e, c, [&](const std::string& key, const Vex::Entity* record, const Fields* values) {
      out.emplace(memberField(key), record ? fieldValue(*record) : values->at("value"));
    });
  }
  return out;
}

Fields RecordCodec::ownFields(const Vex::Entity& e) {
  Fields out{{"name", e.name().stdString()}};
  if (auto* r = as<Hubstore::Status>(e)) {
    out["leaderGenId"] = text(r->leaderGenId());
  } else if (auto* r = as<PublishDir>(e)) {
    out["vexcType"] = text(r->vexcType());
    out["remoteTargetPath"] = text(r->remoteTargetPath());
    out["readyToPublish"] = text(r->readyToPublish());
  } else if (const SchemaNode* node = configRecordNode(e)) {
    // A configuration record's own fields are its attributes that are not
    // collections.
    for (const SchemaNode& member : node->members) {
      if (member.key != KeyKind::None) continue;
      out[std::string(member.attribute)] = member.kind == ConfigValueKind::Filter
                                               ? filterPlace(member.bound(e), member.attribute)
                                               : member.read(e, {})->at(0);
    }
  }
  return out;
}

void RecordCodec::flatten(const Vex::Entity& entity, const std::string& key, const Visitor& visit) {
  visit(key, fields(entity));
  for (const Collection& c : collectionsOf(entity)) {
    if (c.inFields) continue;
    visitMembers(entity, c, [&](const std::string& memberKey, const Vex::Entity* record, const Fields* values) {
      const std::string member = RedisKeySchema::memberKey(key, c.name, memberKey);
      if (record) {
        flatten(*record, member, visit);
      } else {
        visit(member, *values);
      }
    });
  }
}

const Collection* RecordCodec::collection(const Vex::Entity& entity, Vex::AttributeId id) {
  for (const Collection& c : collectionsOf(entity)) {
    if (c.id == id) return &c;
  }
  return nullptr;
}

const Collection* RecordCodec::collection(const Vex::Entity& entity, std::string_view name) {
  for (const Collection& c : collectionsOf(entity)) {
    if (name == c.name) return &c;
  }
  return nullptr;
}

std::string RecordCodec::keyText(const Collection& collection, const void* key) {
  if (collection.numericKey) return std::to_string(*static_cast<const std::uint32_t*>(key));
  return static_cast<const Vex::String*>(key)->stdString();
}

Vex::Entity* RecordCodec::recordMember(const Vex::Entity& entity, const Collection& collection,
                                       const std::string& key) {
  Vex::Entity* found = nullptr;
  const Vex::Name name(key);
  const std::string_view attribute = collection.name;
  if (auto* r = as<ServiceMountConfig>(entity)) {
    if (attribute == "mountGroupConfig") found = r->mountGroupConfigMembers().memberRaw(name);
    if (attribute == "systemFilter") found = r->systemFilterMembers().memberRaw(name);
    if (attribute == "versionFilter") found = r->versionFilterMembers().memberRaw(name);
  } else if (auto* r = as<ServicePublishConfig>(entity)) {
    if (attribute == "publishGroupConfig") found = r->publishGroupConfigMembers().memberRaw(name);
    if (attribute == "systemFilter") found = r->systemFilterMembers().memberRaw(name);
    if (attribute == "versionFilter") found = r->versionFilterMembers().memberRaw(name);
  } else if (auto* r = as<ServicePublishGroupConfig>(entity)) {
    if (attribute == "publishDir") found = r->publishDirMembers().memberRaw(name);
  } else if (auto* r = as<ServiceMountStatus>(entity)) {
    if (attribute == "systemStatus") found = r->systemStatusMembers().memberRaw(name);
  } else if (auto* r = as<SystemStatus>(entity)) {
    found = r->serviceMountGroupStatusMembers().memberRaw(name);
  } else if (auto* r = as<ServicePublishStatus>(entity)) {
    found = r->publishGroupStatusMembers().memberRaw(name);
  }
  return found;
}

std::optional<Fields> RecordCodec::valueMember(const Vex::Entity& e, const Collection& c, const std::string& key) {
  // One lookup: a filter of thousands of switches changes one member at a time.
  const Vex::Name name(key);
  const std::string_view attribute = c.name;
  if (auto* r = as<ServiceMountGroupConfig>(e)) {
    if (const MountConfig* m = r->mountConfig(name)) {
      return Fields{{"vexcType", text(m->vexcType)}, {"vexcFlags", text(m->vexcFlags)},
                    {"hubstorePath", text(m->hubstorePath)}};
    }
  } else if (auto* r = as<ServicePublishGroupConfig>(e)) {
    if (const PublishConfig* p = attribute == "publishConfig" ? r->publishConfig(name) : nullptr) {
      return Fields{{"remotePath", text(p->remotePath)}, {"vexcType", text(p->vexcType)}};
    }
  } else if (auto* r = as<MountFilterSystem>(e)) {
    if (const bool* included = r->includedSystemMembers().value(name)) return boolValue(*included);
  } else if (auto* r = as<MountFilterServiceVersion>(e)) {
    const auto version = numberKey(key);
    if (const bool* included = version ? r->includedServiceVersionMembers().value(*version) : nullptr) {
      return boolValue(*included);
    }
  } else if (auto* r = as<ServiceMountStatus>(e)) {
    if (attribute == "initialMountsComplete") {
      if (const bool* complete = r->initialMountsCompleteMembers().value(name)) return boolValue(*complete);
    }
    if (attribute == "mountedPathPrefix") {
      if (const Vex::String* prefix = r->mountedPathPrefix(name)) return Fields{{"value", text(*prefix)}};
    }
  } else if (auto* r = as<ServicePublishGroupStatus>(e)) {
    if (const bool* published = r->publishStatusMembers().value(name)) return boolValue(*published);
  }
  return std::nullopt;
}

std::optional<std::string> RecordCodec::fieldMember(const Vex::Entity& e, const Collection& c,
                                                   const std::string& key) {
  if (c.holdsRecords) {
    const Vex::Entity* member = recordMember(e, c, key);
    return member ? std::optional<std::string>(fieldValue(*member)) : std::nullopt;
  }
  auto fields = valueMember(e, c, key);
  return fields ? std::optional<std::string>(fields->at("value")) : std::nullopt;
}

std::string RecordCodec::fieldValue(const Vex::Entity& member) {
  const auto* status = as<ServiceMountGroupStatus>(member);
  return status ? mountStateName(status->mountState()) : std::string();
}

std::string RecordCodec::memberField(std::string_view key) {
  std::string field(1, '[');
  field += RedisKeySchema::quoted(key);
  field += ']';
  return field;
}

bool RecordCodec::isMemberField(std::string_view field) {
  return field.size() >= 2 && field.front() == '[' && field.back() == ']';
}

std::optional<std::string> RecordCodec::fieldKey(std::string_view field) {
  if (!isMemberField(field)) return std::nullopt;
  const std::string_view key = field.substr(1, field.size() - 2);
  // Most keys are not quoted: read them without the quoting's rules.
  if (isPlainKey(key)) return std::string(key);
  return RedisKeySchema::unquoted(key);
}

const Vex::Name& RecordCodec::Names::operator()(std::string_view text) {
  // The names of one holder mostly come in the order of the last one's.
  if (next_ < sequence_.size() && sequence_[next_]->view() == text) return *sequence_[next_++];
  auto found = names_.find(text);
  if (found == names_.end()) {
    // Bounded: names that do not repeat (another writer's) do not pile up.
    if (names_.size() >= kMaxNames) {
      names_.clear();
      sequence_.clear();
      next_ = 0;
    }
    found = names_.emplace(std::string(text), Vex::Name(text)).first;
  }
  if (next_ < sequence_.size()) {
    sequence_[next_] = &found->second;
  } else {
    sequence_.push_back(&found->second);
  }
  ++next_;
  return found->second;
}

bool RecordCodec::isFieldMemberKey(const RedisKeySchema::Path& path) {
  for (const RedisKeySchema::Step& step : path.steps) {
    for (const auto* table : {kSystemFilterMembers, kVersionFilterMembers, kSystemStatusMembers, kPublishGroupStatusMembers}) {
      if (step.attribute == table[0].name) return true;
    }
  }
  return false;
}

std::size_t RecordCodec::fieldMemberCount(const Vex::Entity& e) {
  if (auto* r = as<SystemStatus>(e)) return r->serviceMountGroupStatusMembers().count();
  if (auto* r = as<MountFilterSystem>(e)) return r->includedSystemMembers().count();
  if (auto* r = as<MountFilterServiceVersion>(e)) return r->includedServiceVersionMembers().count();
  if (auto* r = as<ServicePublishGroupStatus>(e)) return r->publishStatusMembers().count();
  return 0;
}

std::optional<Fields> RecordCodec::fieldsAt(const Vex::Entity& record, const std::vector<RedisKeySchema::Step>& steps) {
  const Vex::Entity* entity = &record;
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const Collection* c = collection(*entity, steps[i].attribute);
    if (!c || c->inFields) return std::nullopt;
    if (!c->holdsRecords) {
      return i + 1 == steps.size() ? valueMember(*entity, *c, steps[i].key) : std::nullopt;
    }
    entity = recordMember(*entity, *c, steps[i].key);
    if (!entity) return std::nullopt;
  }
  return fields(*entity);
}

void RecordCodec::forEachKey(const Vex::Entity& entity, const std::string& key,
                             const std::function<void(const std::string& key)>& visit) {
  visit(key);
  for (const Collection& c : collectionsOf(entity)) {
    if (c.inFields) continue;
    visitMembers(entity, c, [&](const std::string& memberKey, const Vex::Entity* record, const Fields*) {
      const std::string member = RedisKeySchema::memberKey(key, c.name, memberKey);
      record ? forEachKey(*record, member, visit) : visit(member);
    });
  }
}

void RecordCodec::forEachRecordMember(
    const Vex::Entity& entity,
    const std::function<void(const Collection& collection, const std::string& key, const Vex::Entity& member)>& visit) {
  for (const Collection& c : collectionsOf(entity)) {
    if (!c.holdsRecords) continue;
    visitMembers(entity, c, [&](const std::string& key, const Vex::Entity* record, const Fields*) {
      if (record) visit(c, key, *record);
    });
  }
}
}  // namespace hubstore::redis
