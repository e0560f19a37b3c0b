#include "tools/sim/config_schema.h"

#include <gtest/gtest.h>

#include <span>
#include <string>

#ifdef HUBSTORE_SIM_REDIS
#include <hubstore/foundations/records/service_mount_config.h>
#include <hubstore/foundations/records/service_publish_config.h>
#include <hubstore/redis/record_codec.h>
#endif

namespace hubstore::sim {
namespace {

#ifdef HUBSTORE_SIM_REDIS
using redis::RecordCodec;

// The store writes the same records as Redis hashes: each value that `dump`
// prints is a field of its holder's hash, each collection a collection of the
// codec, keyed by number where the schema says N, a record member where the
// schema has a type line. A publish directory is the one record that dump
// prints as one line of fields.
void expectCodecAgrees(Vex::Entity& holder, std::span<const SchemaNode> members, const std::string& holderPlace) {
  for (const SchemaNode& node : members) {
    const std::string place = holderPlace + "." + std::string(node.attribute);
    SCOPED_TRACE(place);
    if (node.key == KeyKind::None) {
      EXPECT_EQ(RecordCodec::ownFields(holder).count(std::string(node.attribute)), 1u);
      continue;
    }
    const RecordCodec::Collection* collection = RecordCodec::collection(holder, node.attribute);
    ASSERT_NE(collection, nullptr);
    EXPECT_EQ(collection->numericKey, node.key == KeyKind::U32);
    const bool record = node.kind == ConfigValueKind::RecordType;
    EXPECT_EQ(collection->holdsRecords, record || node.attribute == "publishDir");
    if (!record) continue;
    const redis::Fields named{{"name", "k"}};
    Vex::Entity* member = RecordCodec::applyMember(holder, *collection, "k", &named, {});
    ASSERT_NE(member, nullptr);
    expectCodecAgrees(*member, node.members, place);
  }
}

TEST(ConfigSchema, TheRedisCodecHoldsEveryPlaceOfTheSchema) {
  const auto roots = configRoots();
  ASSERT_EQ(roots.size(), 2u);
  expectCodecAgrees(*Controller::ServiceMountConfig::ServiceMountConfigIs("agentB"), roots[0].members, "mountConfig");
  expectCodecAgrees(*Controller::ServicePublishConfig::ServicePublishConfigIs("agentB"), roots[1].members,
                    "publishConfig");
}
#endif

}  // namespace
}  // namespace hubstore::sim
