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

// A hash read back from Redis written into the records, through their setters.
namespace hubstore::redis {

using namespace Controller;
using namespace layout;

namespace {

// The filter record that a FILTER text names, created in its collection when
// it is missing there; `current` is kept when it is the detached filter named.
// `slot` is the group configuration's filter attribute.
Vex::Ptr<Vex::Entity> resolveFilter(const std::string& place, const SchemaNode& slot, Vex::Entity* current,
                                    const RecordCodec::Context& context) {
  if (place == "none") return nullptr;
  auto unreadable = [&] {
    context.problem("field " + std::string(slot.attribute) + ": '" + place + "' names no filter");
    return Vex::Ptr<Vex::Entity>(current);
  };
  constexpr std::string_view detached = "detached ";
  if (place.rfind(detached, 0) == 0) {
    const auto name = RedisKeySchema::unquoted(std::string_view(place).substr(detached.size()));
    if (!name) return unreadable();
    if (current && current->name() == std::string_view(*name) && !current->parent()) return current;
    return slot.make(Vex::Name(*name));
  }
  auto parsed = RedisKeySchema::parseRelative(place);
  if (!parsed || parsed->steps.size() != 1 || parsed->steps[0].attribute != slot.attribute) return unreadable();
  if (parsed->record != RecordSlot::mountConfig && parsed->record != RecordSlot::publishConfig) return unreadable();
  const SchemaNode& root = configRoots()[parsed->record == RecordSlot::mountConfig ? 0 : 1];
  Vex::Entity* config = context.root(parsed->record);
  if (!config || !root.isType(*config)) return nullptr;
  for (const SchemaNode& collection : root.members) {
    if (collection.attribute == slot.attribute) {
      return Vex::Ptr<Vex::Entity>(collection.write(*config, parsed->steps[0].key, {}));
    }
  }
  return unreadable();
}

}  // namespace

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
  auto boolField = [&](std::string_view name) -> std::optional<bool> {
    const std::string* value = field(fields, name);
    if (!value) return std::nullopt;
    if (*value != "true" && *value != "false") {
      context.problem("field " + std::string(name) + ": '" + *value + "' is not true or false");
      return std::nullopt;
    }
    return *value == "true";
  };
  if (auto* r = as<Hubstore::Status>(e)) {
    if (field(fields, "leaderGenId")) r->leaderGenIdIs(stringField(fields, "leaderGenId"));
  } else if (auto* r = as<PublishDir>(e)) {
    if (field(fields, "vexcType")) r->vexcTypeIs(stringField(fields, "vexcType"));
    if (field(fields, "remoteTargetPath")) r->remoteTargetPathIs(stringField(fields, "remoteTargetPath"));
    if (auto ready = boolField("readyToPublish")) r->readyToPublishIs(*ready);
  } else if (const SchemaNode* node = configRecordNode(e)) {
    for (const SchemaNode& member : node->members) {
      const std::string* value = member.key == KeyKind::None ? field(fields, member.attribute) : nullptr;
      if (!value) continue;
      if (member.kind == ConfigValueKind::Filter) {
        member.bind(e, resolveFilter(*value, member, member.bound(e), context).get());
      } else if (member.kind == ConfigValueKind::Scalar) {
        member.write(e, {}, {*value});
      } else if (auto flag = boolField(member.attribute)) {
        member.write(e, {}, {text(*flag)});
      }
    }
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
