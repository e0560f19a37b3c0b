#include <hubstore/redis/write_through.h>

#include <hubstore/redis/record_codec.h>
#include <hubstore/redis/redis_store.h>

namespace hubstore::redis {

void WriteThrough::recordChanged(const RecordWatcher& watcher, Vex::AttributeId attribute, const void* key) {
  const Vex::Entity* entity = watcher.notifier();
  if (!entity) return;
  StoreWriter& writer = store_.writer_;
  const std::string& entityKey = watcher.key();
  if (!watcher.field().empty()) {
    // A record held in a field of its holder's hash: a group status's state.
    writer.writeField(entityKey, watcher.field(), RecordCodec::fieldValue(*entity));
    return;
  }
  const RecordCodec::Collection* collection = RecordCodec::collection(*entity, attribute);
  if (!collection) {
    writer.write(entityKey, RecordCodec::ownFields(*entity));
    return;
  }
  if (!key) return;
  const std::string memberName = RecordCodec::keyText(*collection, key);
  if (collection->inFields) {
    const std::string field = RecordCodec::memberField(memberName);
    unwatch(watchAddress(entityKey, field));
    if (auto value = RecordCodec::fieldMember(*entity, *collection, memberName)) {
      writer.writeField(entityKey, field, *value);
      if (const Vex::Entity* member = collection->holdsRecords
                                          ? RecordCodec::recordMember(*entity, *collection, memberName)
                                          : nullptr) {
        watchField(*member, entityKey, field);
      }
    } else {
      writer.eraseField(entityKey, field);
    }
    return;
  }
  const std::string memberKey = RedisKeySchema::memberKey(entityKey, collection->name, memberName);
  if (!collection->holdsRecords) {
    if (auto fields = RecordCodec::valueMember(*entity, *collection, memberName)) {
      writer.write(memberKey, *fields);
    } else {
      writer.erase({memberKey});
    }
    return;
  }
  const Vex::Entity* member = RecordCodec::recordMember(*entity, *collection, memberName);
  if (auto old = watchers_.find(memberKey); old != watchers_.end()) {
    if (old->second->notifier() == member) return;
    if (Vex::Ptr<const Vex::Entity> gone = old->second->notifierPtr()) writer.eraseSubtree(*gone, memberKey);
    unwatch(memberKey);
  }
  if (member) {
    writer.writeSubtree(*member, memberKey);
    watch(*member, memberKey);
  }
  const std::string_view name = collection->name;
  if (name == "systemFilter" || name == "versionFilter") rewriteFilterUsers(memberName);
}

void WriteThrough::rewriteFilterUsers(const std::string& filterName) {
  for (RecordSlot slot : {RecordSlot::mountConfig, RecordSlot::publishConfig}) {
    const Vex::Entity* config = store_.root(slot);
    if (!config) continue;
    const std::string configKey = store_.keys_.recordKey(slot);
    RecordCodec::forEachRecordMember(
        *config, [&](const RecordCodec::Collection& collection, const std::string& key, const Vex::Entity& member) {
          const std::string_view kind = collection.name;
          if (kind != "mountGroupConfig" && kind != "publishGroupConfig") return;
          const Fields fields = RecordCodec::ownFields(member);
          for (const char* filter : {"systemFilter", "versionFilter"}) {
            const std::string& place = fields.at(filter);
            if (place == RedisKeySchema::memberKey("mountConfig", filter, filterName) ||
                place == RedisKeySchema::memberKey("publishConfig", filter, filterName) ||
                place == "detached " + RedisKeySchema::quoted(filterName)) {
              store_.writer_.write(RedisKeySchema::memberKey(configKey, collection.name, key), fields);
              return;
            }
          }
        });
  }
}

std::string WriteThrough::watchAddress(const std::string& key, const std::string& field) {
  // A newline is in no key: it keeps a holder's field watchers beside the holder's.
  return key + '\n' + field;
}

void WriteThrough::watch(const Vex::Entity& record, const std::string& key) {
  watchers_[key] = RecordWatcher::RecordWatcherIs(this, key, &record);
  RecordCodec::forEachRecordMember(
      record, [&](const RecordCodec::Collection& collection, const std::string& name, const Vex::Entity& member) {
        if (collection.inFields) {
          watchField(member, key, RecordCodec::memberField(name));
        } else {
          watch(member, RedisKeySchema::memberKey(key, collection.name, name));
        }
      });
}

void WriteThrough::watchField(const Vex::Entity& member, const std::string& key, const std::string& field) {
  watchers_[watchAddress(key, field)] = RecordWatcher::RecordWatcherIs(this, key, &member, field);
}

void WriteThrough::unwatch(const std::string& address) {
  for (auto it = watchers_.lower_bound(address); it != watchers_.end() && it->first.compare(0, address.size(), address) == 0;) {
    const char next = it->first.size() > address.size() ? it->first[address.size()] : '.';
    it = next == '.' || next == '\n' ? watchers_.erase(it) : std::next(it);
  }
}

}  // namespace hubstore::redis
