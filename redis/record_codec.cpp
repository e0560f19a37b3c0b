#include <hubstore/redis/record_codec.h>

#include <charconv>
#include <vector>

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

namespace hubstore::redis {

using namespace Controller;
using Collection = RecordCodec::Collection;

namespace {

// The collections of each record type, in declaration order.
const Collection kMountConfigMembers[] = {
    {"mountGroupConfig", ServiceMountConfig::Attr::mountGroupConfig, true, false, false},
    {"systemFilter", ServiceMountConfig::Attr::systemFilter, true, false, false},
    {"versionFilter", ServiceMountConfig::Attr::versionFilter, true, false, false}};
const Collection kPublishConfigMembers[] = {
    {"publishGroupConfig", ServicePublishConfig::Attr::publishGroupConfig, true, false, false},
    {"systemFilter", ServicePublishConfig::Attr::systemFilter, true, false, false},
    {"versionFilter", ServicePublishConfig::Attr::versionFilter, true, false, false}};
const Collection kMountGroupConfigMembers[] = {
    {"mountConfig", ServiceMountGroupConfig::Attr::mountConfig, false, false, false}};
const Collection kPublishGroupConfigMembers[] = {
    {"publishConfig", ServicePublishGroupConfig::Attr::publishConfig, false, false, false},
    {"publishDir", ServicePublishGroupConfig::Attr::publishDir, true, false, false}};
const Collection kSystemFilterMembers[] = {
    {"includedSystem", MountFilterSystem::Attr::includedSystem, false, false, true}};
const Collection kVersionFilterMembers[] = {
    {"includedServiceVersion", MountFilterServiceVersion::Attr::includedServiceVersion, false, true, true}};
const Collection kMountStatusMembers[] = {
    {"systemStatus", ServiceMountStatus::Attr::systemStatus, true, false, false},
    {"initialMountsComplete", ServiceMountStatus::Attr::initialMountsComplete, false, false, false},
    {"mountedPathPrefix", ServiceMountStatus::Attr::mountedPathPrefix, false, false, false}};
const Collection kSystemStatusMembers[] = {
    {"serviceMountGroupStatus", SystemStatus::Attr::serviceMountGroupStatus, true, false, true}};
const Collection kPublishStatusMembers[] = {
    {"publishGroupStatus", ServicePublishStatus::Attr::publishGroupStatus, true, false, false}};
const Collection kPublishGroupStatusMembers[] = {
    {"publishStatus", ServicePublishGroupStatus::Attr::publishStatus, false, false, true}};

struct Members {
  const Collection* begin_ = nullptr;
  const Collection* end_ = nullptr;
  const Collection* begin() const { return begin_; }
  const Collection* end() const { return end_; }
};

template <std::size_t N>
Members members(const Collection (&list)[N]) {
  return {list, list + N};
}

// The record types are told apart by their type descriptors: one virtual
// call each, where a dynamic_cast walks the class hierarchy.
template <class T>
const T* as(const Vex::Entity& entity) {
  return &entity.fwkType() == &T::staticType() ? static_cast<const T*>(&entity) : nullptr;
}
template <class T>
T* as(Vex::Entity& entity) {
  return &entity.fwkType() == &T::staticType() ? static_cast<T*>(&entity) : nullptr;
}

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

std::string text(bool value) { return value ? "true" : "false"; }

// A member's key written as it is, not quoted: most are (a group, a switch).
bool isPlainKey(std::string_view key) {
  if (key.empty() || key.front() == '"') return false;
  for (char c : key) {
    if (c == '[' || c == ']') return false;
  }
  return true;
}
std::string text(const Vex::String& value) { return value.stdString(); }

const std::string* field(const Fields& fields, const char* name) {
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

// "none", "mountConfig.systemFilter[L]" (a member of a configuration's
// collection) or "detached L" (a filter record that left its collection).
template <class Filter>
std::string filterPlace(const Filter* filter, const char* attribute) {
  if (!filter) return "none";
  const Vex::Entity* parent = filter->parent();
  const char* root = nullptr;
  if (parent && as<ServiceMountConfig>(*parent)) root = "mountConfig";
  if (parent && as<ServicePublishConfig>(*parent)) root = "publishConfig";
  if (root && std::string_view(filter->parentAttrName()) == attribute) {
    return RedisKeySchema::memberKey(root, attribute, filter->name().view());
  }
  return "detached " + RedisKeySchema::quoted(filter->name().view());
}

template <class Filter, class Config>
Vex::Ptr<Filter> memberFilter(Config* config, const Vex::Name& name) {
  if (!config) return nullptr;
  if constexpr (std::is_same_v<Filter, MountFilterSystem>) {
    return config->systemFilterIs(name);
  } else {
    return config->versionFilterIs(name);
  }
}

// The filter record that a FILTER text names, created in its collection when
// it is missing there; `current` is kept when it is the detached filter named.
template <class Filter>
Vex::Ptr<Filter> resolveFilter(const std::string& place, const char* attribute, const Vex::Ptr<Filter>& current,
                               const RecordCodec::Context& context) {
  if (place == "none") return nullptr;
  auto unreadable = [&] {
    context.problem(std::string("field ") + attribute + ": '" + place + "' names no filter");
    return current;
  };
  constexpr std::string_view detached = "detached ";
  if (place.rfind(detached, 0) == 0) {
    const auto name = RedisKeySchema::unquoted(std::string_view(place).substr(detached.size()));
    if (!name) return unreadable();
    if (current && current->name() == std::string_view(*name) && !current->parent()) return current;
    return Vex::make<Filter>(Vex::Name(*name));
  }
  auto parsed = RedisKeySchema::parseRelative(place);
  if (!parsed || parsed->steps.size() != 1 || parsed->steps[0].attribute != attribute) return unreadable();
  const Vex::Name name(parsed->steps[0].key);
  if (parsed->record == RecordSlot::mountConfig) {
    return memberFilter<Filter>(dynamic_cast<ServiceMountConfig*>(context.root(RecordSlot::mountConfig)), name);
  }
  if (parsed->record == RecordSlot::publishConfig) {
    return memberFilter<Filter>(dynamic_cast<ServicePublishConfig*>(context.root(RecordSlot::publishConfig)), name);
  }
  return unreadable();
}

template <class Group>
void applyGroupFilters(Group& group, const Fields& fields, const RecordCodec::Context& context) {
  if (const std::string* place = field(fields, "systemFilter")) {
    group.systemFilterIs(resolveFilter(*place, "systemFilter", group.systemFilter(), context));
  }
  if (const std::string* place = field(fields, "versionFilter")) {
    group.versionFilterIs(resolveFilter(*place, "versionFilter", group.versionFilter(), context));
  }
}

// Visits the members of one collection: (key text, record or null, value fields).
using MemberVisitor = std::function<void(const std::string& key, const Vex::Entity* record, const Fields* fields)>;

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
  } else if (auto* r = as<ServiceMountConfig>(e)) {
    out["serviceName"] = text(r->serviceName());
    out["leaderGenId"] = text(r->leaderGenId());
    out["warm"] = text(r->warm());
  } else if (auto* r = as<ServicePublishConfig>(e)) {
    out["serviceName"] = text(r->serviceName());
    out["leaderGenId"] = text(r->leaderGenId());
    out["ready"] = text(r->ready());
  } else if (auto* r = as<ServiceMountGroupConfig>(e)) {
    out["preserveMountsOnDisconnect"] = text(r->preserveMountsOnDisconnect());
    out["systemFilter"] = filterPlace(r->systemFilter().get(), "systemFilter");
    out["versionFilter"] = filterPlace(r->versionFilter().get(), "versionFilter");
  } else if (auto* r = as<ServicePublishGroupConfig>(e)) {
    out["systemFilter"] = filterPlace(r->systemFilter().get(), "systemFilter");
    out["versionFilter"] = filterPlace(r->versionFilter().get(), "versionFilter");
  } else if (auto* r = as<PublishDir>(e)) {
    out["vexcType"] = text(r->vexcType());
    out["remoteTargetPath"] = text(r->remoteTargetPath());
    out["readyToPublish"] = text(r->readyToPublish());
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

void RecordCodec::applyFields(Vex::Entity& e, const Fields& given, const Context& context) {
  // What the entity holds: its own fields ("name" may be left out, the key
  // names the entity) and, for some, members in fields. A record that holds
  // members in fields (a switch, a filter, a publish group status) has no
  // other own field than its name.
  const Members collections = collectionsOf(e);
  bool hasFieldMembers = false;
  for (const Collection& c : collections) hasFieldMembers = hasFieldMembers || c.inFields;
  const Fields own = hasFieldMembers ? Fields() : ownFields(e);
  std::optional<Fields> readable;
  for (const auto& [name, value] : given) {
    const bool known = name == "name" || (hasFieldMembers ? isMemberField(name) : own.count(name) > 0);
    const bool oversized = name.size() > kMaxValueBytes || value.size() > kMaxValueBytes;
    if (known && !oversized) continue;
    const std::string shown = name.size() > 64 ? name.substr(0, 64) + "..." : name;
    context.problem(oversized ? "field " + shown + ": " + std::to_string(std::max(name.size(), value.size())) +
                                    " bytes, over " + std::to_string(kMaxValueBytes)
                              : "unknown field " + shown);
    if (!readable) readable = given;
    readable->erase(name);
  }
  for (const auto& [name, value] : own) {
    if (name != "name" && !given.count(name)) context.problem("missing field " + name);
  }
  const Fields& fields = readable ? *readable : given;
  auto boolField = [&](const char* name) -> std::optional<bool> {
    const std::string* value = field(fields, name);
    if (!value) return std::nullopt;
    if (*value != "true" && *value != "false") {
      context.problem(std::string("field ") + name + ": '" + *value + "' is not true or false");
      return std::nullopt;
    }
    return *value == "true";
  };
  if (auto* r = as<Hubstore::Status>(e)) {
    if (field(fields, "leaderGenId")) r->leaderGenIdIs(stringField(fields, "leaderGenId"));
  } else if (auto* r = as<ServiceMountConfig>(e)) {
    if (field(fields, "serviceName")) r->serviceNameIs(stringField(fields, "serviceName"));
    if (field(fields, "leaderGenId")) r->leaderGenIdIs(stringField(fields, "leaderGenId"));
    if (auto warm = boolField("warm")) r->warmIs(*warm);
  } else if (auto* r = as<ServicePublishConfig>(e)) {
    if (field(fields, "serviceName")) r->serviceNameIs(stringField(fields, "serviceName"));
    if (field(fields, "leaderGenId")) r->leaderGenIdIs(stringField(fields, "leaderGenId"));
    if (auto ready = boolField("ready")) r->readyIs(*ready);
  } else if (auto* r = as<ServiceMountGroupConfig>(e)) {
    if (auto preserve = boolField("preserveMountsOnDisconnect")) r->preserveMountsOnDisconnectIs(*preserve);
    applyGroupFilters(*r, fields, context);
  } else if (auto* r = as<ServicePublishGroupConfig>(e)) {
    applyGroupFilters(*r, fields, context);
  } else if (auto* r = as<PublishDir>(e)) {
    if (field(fields, "vexcType")) r->vexcTypeIs(stringField(fields, "vexcType"));
    if (field(fields, "remoteTargetPath")) r->remoteTargetPathIs(stringField(fields, "remoteTargetPath"));
    if (auto ready = boolField("readyToPublish")) r->readyToPublishIs(*ready);
  }
  for (const Collection& c : collections) {
    if (c.inFields) applyFieldMembers(e, c, fields, context);
  }
}

Vex::Entity* RecordCodec::applyMember(Vex::Entity& e, const Collection& c, const std::string& key,
                                      const Fields* fields, const Context& context) {
  const Vex::Name name(key);
  const std::string_view attribute = c.name;
  Vex::Entity* member = nullptr;
  if (fields && !c.holdsRecords && !c.inFields && !readableValue(e, c, *fields, context)) return nullptr;
  const bool boolValue = fields && stringField(*fields, "value") == "true";
  if (auto* r = as<ServiceMountConfig>(e)) {
    if (attribute == "mountGroupConfig") fields ? (void)(member = r->mountGroupConfigIs(name).get()) : r->mountGroupConfigDel(name);
    if (attribute == "systemFilter") fields ? (void)(member = r->systemFilterIs(name).get()) : r->systemFilterDel(name);
    if (attribute == "versionFilter") fields ? (void)(member = r->versionFilterIs(name).get()) : r->versionFilterDel(name);
  } else if (auto* r = as<ServicePublishConfig>(e)) {
    if (attribute == "publishGroupConfig") {
      fields ? (void)(member = r->publishGroupConfigIs(name).get()) : r->publishGroupConfigDel(name);
    }
    if (attribute == "systemFilter") fields ? (void)(member = r->systemFilterIs(name).get()) : r->systemFilterDel(name);
    if (attribute == "versionFilter") fields ? (void)(member = r->versionFilterIs(name).get()) : r->versionFilterDel(name);
  } else if (auto* r = as<ServiceMountGroupConfig>(e)) {
    if (fields) {
      r->mountConfigIs(name, stringField(*fields, "vexcType"), stringField(*fields, "vexcFlags"),
                       stringField(*fields, "hubstorePath"));
    } else {
      r->mountConfigDel(name);
    }
  } else if (auto* r = as<ServicePublishGroupConfig>(e)) {
    if (attribute == "publishConfig") {
      if (fields) {
        r->publishConfigIs(name, stringField(*fields, "remotePath"), stringField(*fields, "vexcType"));
      } else {
        r->publishConfigDel(name);
      }
    }
    if (attribute == "publishDir") {
      fields ? (void)(member = r->publishDirIs(name, stringField(*fields, "vexcType")).get()) : r->publishDirDel(name);
    }
  } else if (auto* r = as<MountFilterSystem>(e)) {
    fields ? r->includedSystemIs(name, boolValue) : r->includedSystemDel(name);
  } else if (auto* r = as<MountFilterServiceVersion>(e)) {
    if (auto version = numberKey(key)) {
      fields ? r->includedServiceVersionIs(*version, boolValue) : r->includedServiceVersionDel(*version);
    }
  } else if (auto* r = as<ServiceMountStatus>(e)) {
    if (attribute == "systemStatus") {
      if (!fields) {
        r->systemStatusDel(name);
      } else if (!(member = recordMember(e, c, key))) {
        auto system = SystemStatus::SystemStatusIs(name);
        system->serviceMountGroupStatusReserve(fields->size());
        applyFields(*system, *fields, context);
        r->systemStatusIs(system);
        return recordMember(e, c, key);
      }
    }
    if (attribute == "initialMountsComplete") {
      fields ? r->initialMountsCompleteIs(name, boolValue) : r->initialMountsCompleteDel(name);
    }
    if (attribute == "mountedPathPrefix") {
      fields ? r->mountedPathPrefixIs(name, stringField(*fields, "value")) : r->mountedPathPrefixDel(name);
    }
  } else if (auto* r = as<SystemStatus>(e)) {
    if (!fields) r->serviceMountGroupStatusDel(name);
  } else if (auto* r = as<ServicePublishStatus>(e)) {
    fields ? (void)(member = r->publishGroupStatusIs(name).get()) : r->publishGroupStatusDel(name);
  } else if (auto* r = as<ServicePublishGroupStatus>(e)) {
    if (!fields) r->publishStatusDel(name);
  }
  if (c.inFields && fields) {
    if (const std::string* value = field(*fields, "value")) applyFieldMember(e, c, key, *value, context);
    return recordMember(e, c, key);
  }
  if (member && fields) {
    // A handler run by the creation may have removed the member again.
    member = recordMember(e, c, key);
    if (member) applyFields(*member, *fields, context);
  }
  return member;
}

bool RecordCodec::applyFieldMember(Vex::Entity& e, const Collection& c, std::string_view key, std::string_view value,
                                   const Context& context) {
  auto unreadable = [&](const std::string& why) {
    context.problem("field " + memberField(key) + ": " + why);
    return false;
  };
  auto quotedValue = [&] {
    std::string quoted(1, '\'');
    quoted += value;
    quoted += '\'';
    return quoted;
  };
  const bool isBool = value == "true" || value == "false";
  // The collection tells the holder's type: one of the four held in fields.
  if (&c == kSystemStatusMembers) {
    const auto state = mountStateFromName(value);
    if (!state) return unreadable(quotedValue() + " is no mount state");
    // An existing status is returned as it is; a new one starts unknown, so
    // that its state is a change, unless its switch is still being built (no
    // one watches it yet). A fleet's group names repeat on every switch: they
    // are shared.
    auto& system = static_cast<SystemStatus&>(e);
    system.serviceMountGroupStatusIs(context.name(key), system.parent() ? mountStateUnknown : *state)->mountStateIs(*state);
  } else if (&c == kSystemFilterMembers) {
    if (!isBool) return unreadable(quotedValue() + " is not true or false");
    static_cast<MountFilterSystem&>(e).includedSystemIs(Vex::Name(key), value == "true");
  } else if (&c == kVersionFilterMembers) {
    const auto version = numberKey(key);
    if (!version) return unreadable("not a version number");
    if (!isBool) return unreadable(quotedValue() + " is not true or false");
    static_cast<MountFilterServiceVersion&>(e).includedServiceVersionIs(*version, value == "true");
  } else if (&c == kPublishGroupStatusMembers) {
    if (value != "true") return unreadable(quotedValue() + " is not true");
    static_cast<ServicePublishGroupStatus&>(e).publishStatusIs(context.name(key));
  }
  return true;
}

bool RecordCodec::readableValue(const Vex::Entity& e, const Collection& c, const Fields& fields,
                                const Context& context) {
  // The fields a value member holds, as this process would write them.
  Fields expected;
  visitMembers(e, c, [&](const std::string&, const Vex::Entity*, const Fields* values) {
    if (expected.empty()) expected = *values;
  });
  if (expected.empty()) {
    const std::string_view name = c.name;
    expected = name == "mountConfig"     ? Fields{{"vexcType", ""}, {"vexcFlags", ""}, {"hubstorePath", ""}}
               : name == "publishConfig" ? Fields{{"remotePath", ""}, {"vexcType", ""}}
                                         : Fields{{"value", ""}};
  }
  bool readable = true;
  for (const auto& [name, value] : fields) {
    if (!expected.count(name)) context.problem("unknown field " + name);
    if (value.size() > kMaxValueBytes) {
      context.problem("field " + name + ": " + std::to_string(value.size()) + " bytes, over " +
                      std::to_string(kMaxValueBytes));
      readable = false;
    }
  }
  for (const auto& [name, value] : expected) {
    if (!fields.count(name)) {
      context.problem("missing field " + name);
      readable = false;
    }
  }
  const std::string_view name = c.name;
  const std::string* value = field(fields, "value");
  if (readable && name == "initialMountsComplete" && *value != "true" && *value != "false") {
    context.problem("field value: '" + *value + "' is not true or false");
    readable = false;
  }
  return readable;
}

void RecordCodec::applyFieldMembers(Vex::Entity& e, const Collection& c, const Fields& fields,
                                    const Context& context) {
  // Held by a count: a handler run by a write may release the holder.
  Vex::Ptr<Vex::Entity> holder(&e);
  if (context.names) context.names->restart();
  std::size_t applied = 0;
  for (const auto& [field, value] : fields) {
    if (!isMemberField(field)) continue;
    // Most keys are not quoted: read without a copy.
    const std::string_view key = std::string_view(field).substr(1, field.size() - 2);
    if (isPlainKey(key)) {
      applied += applyFieldMember(e, c, key, value, context);
    } else if (auto unquoted = fieldKey(field)) {
      applied += applyFieldMember(e, c, *unquoted, value, context);
    } else {
      context.problem("field " + field + ": not a member's name");
    }
  }
  // Each member is one of those just written, unless some are left over.
  if (fieldMemberCount(e) == applied) return;
  std::vector<std::string> gone;
  visitMembers(e, c, [&](const std::string& key, const Vex::Entity*, const Fields*) {
    if (!fields.count(memberField(key))) gone.push_back(key);
  });
  for (const std::string& key : gone) applyMember(e, c, key, nullptr, context);
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

void RecordCodec::applyPath(Vex::Entity& record, const std::vector<RedisKeySchema::Step>& steps,
                            const Fields* fields, const Context& context) {
  if (steps.empty()) {
    fields ? applyFields(record, *fields, context) : clear(record);
    return;
  }
  // Held by a count: a handler run by a write may release what it holds.
  Vex::Ptr<Vex::Entity> entity(&record);
  for (std::size_t i = 0; i + 1 < steps.size(); ++i) {
    const RedisKeySchema::Step& step = steps[i];
    const Collection* c = collection(*entity, step.attribute);
    if (!c || !c->holdsRecords || c->inFields) {
      context.problem(std::string(c ? "no records in " : "no collection ") + step.attribute + " of " +
                      entity->fwkType().name());
      return;
    }
    Vex::Ptr<Vex::Entity> member(recordMember(*entity, *c, step.key));
    if (!member) {
      if (!fields) return;
      const Fields named{{"name", step.key}};
      member = applyMember(*entity, *c, step.key, &named, context);
      if (!member) return;
    }
    entity = member;
  }
  const Collection* c = collection(*entity, steps.back().attribute);
  if (!c || c->inFields) {
    context.problem(std::string(c ? "a member held in a field, " : "no collection ") + steps.back().attribute +
                    " of " + entity->fwkType().name());
    return;
  }
  applyMember(*entity, *c, steps.back().key, fields, context);
}

void RecordCodec::clear(Vex::Entity& entity) {
  for (const Collection& c : collectionsOf(entity)) {
    std::vector<std::string> keys;
    visitMembers(entity, c, [&](const std::string& key, const Vex::Entity*, const Fields*) { keys.push_back(key); });
    for (const std::string& key : keys) applyMember(entity, c, key, nullptr, {});
  }
}

}  // namespace hubstore::redis
