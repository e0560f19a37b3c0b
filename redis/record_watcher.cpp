#include <hubstore/redis/record_watcher.h>

namespace hubstore::redis {

Vex::Ptr<RecordWatcher> RecordWatcher::RecordWatcherIs(Owner* owner, std::string key, const Vex::Entity* record,
                                                       std::string field) {
  Vex::Ptr<RecordWatcher> watcher = Vex::make<RecordWatcher>(owner, std::move(key), std::move(field));
  watcher->notifierIs(Vex::Ptr<const Vex::PtrInterface>(record));
  watcher->isRegisteredNotifieeIs(true);
  watcher->hasNotificationActiveIs(true);
  return watcher;
}

const Vex::TypeDescriptor& RecordWatcher::staticType() {
  static const Vex::TypeDescriptor type("hubstore::redis::RecordWatcher", {});
  return type;
}

void RecordWatcher::onAttribute(Vex::AttributeId attribute, const void* key) {
  owner_->recordChanged(*this, attribute, key);
}

}  // namespace hubstore::redis
