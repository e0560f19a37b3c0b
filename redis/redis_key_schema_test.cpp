#include <hubstore/redis/redis_key_schema.h>

#include <gtest/gtest.h>

namespace hubstore::redis {
namespace {

TEST(RedisKeySchemaTest, NamesRecordsAndMembersUnderTheAgentAndMatchesOnlyItsOwnKeys) {
  const RedisKeySchema keys("agentB");
  EXPECT_EQ(keys.recordKey(RecordSlot::mountConfig), "agentB:mountConfig");
  EXPECT_EQ(keys.recordPath(RecordSlot::publishStatus), "controller/publish/status/service/agentB");
  EXPECT_EQ(keys.recordAtPath("controller/status"), RecordSlot::status);
  EXPECT_EQ(keys.recordAtPath("controller/mount/config/service/agentC"), std::nullopt);
  const std::string group = RedisKeySchema::memberKey(keys.recordKey(RecordSlot::mountConfig), "mountGroupConfig", "g1");
  EXPECT_EQ(RedisKeySchema::memberKey(group, "mountConfig", "/a/b"), "agentB:mountConfig.mountGroupConfig[g1].mountConfig[/a/b]");
  // The pattern of an agent's keys, and the keys within a member's.
  EXPECT_EQ(RedisKeySchema("a*[b]").pattern(), "a\\*\\[b\\]:*");
  EXPECT_TRUE(RedisKeySchema::isWithin("a:mountConfig.g[x].m[y]", "a:mountConfig.g[x]"));
  EXPECT_TRUE(RedisKeySchema::isWithin("a:mountConfig.g[x]", "a:mountConfig.g[x]"));
  EXPECT_FALSE(RedisKeySchema::isWithin("a:mountConfig.g[x1]", "a:mountConfig.g[x"));
  EXPECT_FALSE(RedisKeySchema::isWithin("a:mountConfig", "a:mountConfig.g[x]"));
}

TEST(RedisKeySchemaTest, MemberNamesOfAnyTextReadBack) {
  const RedisKeySchema keys("agentB");
  for (const std::string name : {"g1", "", "a b", "x]y", "q\"uote", "back\\slash", "[", "a.b[c]", "k=v"}) {
    const std::string key = RedisKeySchema::memberKey(keys.recordKey(RecordSlot::mountStatus), "systemStatus", name) +
                            ".serviceMountGroupStatus[" + RedisKeySchema::quoted(name) + "]";
    const auto path = keys.parse(key);
    ASSERT_TRUE(path) << key;
    EXPECT_EQ(path->record, RecordSlot::mountStatus);
    const std::vector<RedisKeySchema::Step> expected{{"systemStatus", name}, {"serviceMountGroupStatus", name}};
    EXPECT_EQ(path->steps, expected) << key;
    EXPECT_EQ(RedisKeySchema::unquoted(RedisKeySchema::quoted(name)), name);
  }
  EXPECT_EQ(RedisKeySchema::quoted("a b"), "\"a b\"");
  EXPECT_EQ(RedisKeySchema::quoted("plain:00:1c"), "plain:00:1c");
}

TEST(RedisKeySchemaTest, RejectsKeysOfOthersAndMalformedKeys) {
  const RedisKeySchema keys("agentB");
  for (const char* key : {"agentC:mountConfig", "agentB:nothing", "agentB:mountConfig.", "agentB:mountConfig.x[",
                          "agentB:mountConfig.[k]", "agentB:mountConfig.x[\"k]", "agentB:mountConfigX"}) {
    EXPECT_FALSE(keys.parse(key)) << key;
  }
}

}  // namespace
}  // namespace hubstore::redis
