#include <hubstore/redis/record_codec.h>

#include <gtest/gtest.h>

#include <hubstore/foundations/records/hubstore_status.h>
#include <hubstore/foundations/records/service_mount_config.h>
#include <hubstore/foundations/records/service_mount_status.h>
#include <hubstore/foundations/records/service_publish_config.h>
#include <hubstore/foundations/records/service_publish_status.h>

namespace hubstore::redis {
namespace {

using namespace Controller;
using Keys = std::map<std::string, Fields>;

// The five records of one agent, to flatten and to fill.
struct Records {
  Vex::Ptr<Vex::Entity> bySlot[5];
  Vex::Entity* operator()(RecordSlot slot) const { return bySlot[static_cast<int>(slot)].get(); }

  Records() {
    for (RecordSlot slot : kRecordSlots) {
      bySlot[static_cast<int>(slot)] = RecordCodec::newRecord(slot, slot == RecordSlot::status ? "status" : "agentB");
    }
  }
  Keys keys() const {
    Keys keys;
    const RedisKeySchema schema("agentB");
    for (RecordSlot slot : kRecordSlots) {
      RecordCodec::flatten(*(*this)(slot), schema.recordKey(slot),
                           [&keys](const std::string& key, const Fields& fields) { keys.emplace(key, fields); });
    }
    return keys;
  }
  // Writes a key the way the store applies what it reads; null: the key is gone.
  void apply(const std::string& key, const Fields* fields) {
    const auto path = RedisKeySchema("agentB").parse(key);
    ASSERT_TRUE(path) << key;
    RecordCodec::applyPath(*(*this)(path->record), path->steps, fields,
                           {[this](RecordSlot slot) { return (*this)(slot); }});
  }
};

// Every kind of record and member, with names that need quoting.
Records populated() {
  Records records;
  static_cast<Hubstore::Status*>(records(RecordSlot::status))->leaderGenIdIs("gen-7");
  auto* mount = static_cast<ServiceMountConfig*>(records(RecordSlot::mountConfig));
  mount->serviceNameIs("svcA");
  mount->warmIs(true);
  auto systems = mount->systemFilterIs("L");
  systems->includedSystemIs("00:1c:73:00:00:01", true);
  auto versions = mount->versionFilterIs("V 1");
  versions->includedServiceVersionIs(42, true);
  auto group = mount->mountGroupConfigIs("g1");
  group->mountConfigIs("/remote/a b", "type", "flags=x", "/db/a");
  group->preserveMountsOnDisconnectIs(true);
  group->systemFilterIs(systems);
  group->versionFilterIs(versions);
  auto* publish = static_cast<ServicePublishConfig*>(records(RecordSlot::publishConfig));
  publish->readyIs(true);
  auto publishGroup = publish->publishGroupConfigIs("g1");
  publishGroup->publishConfigIs("/db/p", "/remote/p", "t");
  publishGroup->publishDirIs("/db/dir", "dirType")->remoteTargetPathIs("/remote/dir");
  // A filter that left its collection but is still pointed at.
  publishGroup->systemFilterIs(Vex::make<MountFilterSystem>(Vex::Name("gone")));
  auto* status = static_cast<ServiceMountStatus*>(records(RecordSlot::mountStatus));
  status->systemStatusIs("00:1c:73:00:00:01")->serviceMountGroupStatusIs("g1", mountStateFailed);
  status->initialMountsCompleteIs("g1", true);
  status->mountedPathPrefixIs("/remote/a b", "/prefix");
  static_cast<ServicePublishStatus*>(records(RecordSlot::publishStatus))->publishGroupStatusIs("g1")->publishStatusIs("/db/p");
  return records;
}

TEST(RecordCodecTest, EachRecordIsOneKeyOfItsValuesAndItsFleetSizedMembers) {
  const Keys keys = populated().keys();
  EXPECT_EQ(keys.size(), 16u);
  // A switch and its group states, a filter and its switches or versions, a
  // publish group status and its statuses: one key each.
  EXPECT_EQ(keys.at("agentB:mountStatus.systemStatus[00:1c:73:00:00:01]"),
            (Fields{{"name", "00:1c:73:00:00:01"}, {"[g1]", "failed"}}));
  EXPECT_EQ(keys.at("agentB:mountConfig.systemFilter[L]"), (Fields{{"name", "L"}, {"[00:1c:73:00:00:01]", "true"}}));
  EXPECT_EQ(keys.at("agentB:publishStatus.publishGroupStatus[g1]"), (Fields{{"name", "g1"}, {"[/db/p]", "true"}}));
  EXPECT_EQ(keys.at("agentB:mountConfig.mountGroupConfig[g1].mountConfig[\"/remote/a b\"]"),
            (Fields{{"vexcType", "type"}, {"vexcFlags", "flags=x"}, {"hubstorePath", "/db/a"}}));
  EXPECT_EQ(keys.at("agentB:mountConfig.mountGroupConfig[g1]"),
            (Fields{{"name", "g1"},
                    {"preserveMountsOnDisconnect", "true"},
                    {"systemFilter", "mountConfig.systemFilter[L]"},
                    {"versionFilter", "mountConfig.versionFilter[\"V 1\"]"}}));
  EXPECT_EQ(keys.at("agentB:publishConfig.publishGroupConfig[g1]").at("systemFilter"), "detached gone");
  EXPECT_EQ(keys.at("agentB:mountConfig.versionFilter[\"V 1\"]"), (Fields{{"name", "V 1"}, {"[42]", "true"}}));
}

TEST(RecordCodecTest, KeysReadBackInAnyOrderRebuildTheSameRecords) {
  const Keys keys = populated().keys();
  Records inOrder;
  for (const auto& [key, fields] : keys) inOrder.apply(key, &fields);
  EXPECT_EQ(inOrder.keys(), keys);
  // Read again, a group keeps the detached filter record it points at.
  const auto* publish = static_cast<ServicePublishConfig*>(inOrder(RecordSlot::publishConfig));
  const Vex::Ptr<MountFilterSystem> detached = publish->publishGroupConfig("g1")->systemFilter();
  for (const auto& [key, fields] : keys) inOrder.apply(key, &fields);
  EXPECT_EQ(publish->publishGroupConfig("g1")->systemFilter(), detached);
  // Members before the records that hold them: the holders are made first
  // and get their own values when their keys come.
  Records reversed;
  for (auto it = keys.rbegin(); it != keys.rend(); ++it) reversed.apply(it->first, &it->second);
  EXPECT_EQ(reversed.keys(), keys);
  const auto* config = static_cast<ServiceMountConfig*>(reversed(RecordSlot::mountConfig));
  EXPECT_EQ(config->mountGroupConfig("g1")->systemFilter(), config->systemFilter("L"));
}

TEST(RecordCodecTest, AGoneKeyRemovesItsMemberAndEverythingBelow) {
  Records records = populated();
  for (const char* key : {"agentB:mountStatus.systemStatus[00:1c:73:00:00:01]",
                          "agentB:mountConfig.mountGroupConfig[g1].mountConfig[\"/remote/a b\"]",
                          "agentB:mountConfig.nothing[x]"}) {
    records.apply(key, nullptr);
  }
  const Keys keys = records.keys();
  EXPECT_EQ(keys.count("agentB:mountStatus.systemStatus[00:1c:73:00:00:01]"), 0u);
  EXPECT_EQ(keys.count("agentB:mountConfig.mountGroupConfig[g1]"), 1u);
  EXPECT_EQ(keys.size(), 14u);
  // The root record itself is emptied, never replaced.
  records.apply("agentB:mountConfig", nullptr);
  EXPECT_EQ(static_cast<ServiceMountConfig*>(records(RecordSlot::mountConfig))->mountGroupConfigMembers().count(), 0u);
  EXPECT_TRUE(static_cast<ServiceMountConfig*>(records(RecordSlot::mountConfig))->warm());
}

}  // namespace
}  // namespace hubstore::redis
