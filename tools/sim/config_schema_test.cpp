#include "tools/sim/config_schema.h"

#include <gtest/gtest.h>

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
void expectCodecAgrees(Vex::Entity& holder, const SchemaNode& node, const std::string& place) {
  SCOPED_TRACE(place);
  if (node.key == KeyKind::None) {
    EXPECT_EQ(RecordCodec::ownFields(holder).count(std::string(node.attribute)), 1u);
    return;
  }
  const RecordCodec::Collection* collection = RecordCodec::collection(holder, node.attribute);
  ASSERT_NE(collection, nullptr);
  EXPECT_EQ(collection->numericKey, node.key == KeyKind::U32);
  const bool record = node.kind == ConfigValueKind::RecordType;
  EXPECT_EQ(collection->holdsRecords, record || node.attribute == "publishDir");
  if (!record) return;
  const redis::Fields named{{"name", "k"}};
  Vex::Entity* member = RecordCodec::applyMember(holder, *collection, "k", &named, {});
  ASSERT_NE(member, nullptr);
  for (const SchemaNode& child : node.members) {
    expectCodecAgrees(*member, child, place + "." + std::string(child.attribute));
  }
}

TEST(ConfigSchema, TheRedisCodecHoldsEveryPlaceOfTheSchema) {
  auto mount = Controller::ServiceMountConfig::ServiceMountConfigIs("agentB");
  auto publish = Controller::ServicePublishConfig::ServicePublishConfigIs("agentB");
  const auto roots = configRoots();
  ASSERT_EQ(roots.size(), 2u);
  for (const auto& [root, record] : {std::pair{&roots[0], static_cast<Vex::Entity*>(mount.get())},
                                     std::pair{&roots[1], static_cast<Vex::Entity*>(publish.get())}}) {
    for (const SchemaNode& node : root->members) {
      expectCodecAgrees(*record, node, std::string(root->attribute) + "." + std::string(node.attribute));
    }
  }
}
#endif

}  // namespace
}  // namespace hubstore::sim
