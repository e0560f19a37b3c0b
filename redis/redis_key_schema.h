#pragma once
/// \class hubstore::redis::RedisKeySchema
/// The names of one agent's records and of
/// their members in Redis. Every key starts with the agent's name and a colon;
/// then comes the record, then one ".ATTRIBUTE[KEY]" step per collection level,
/// in the form hubstore-sim's `dump` prints:
///
///     agentB:mountConfig                                        the record
///     agentB:mountConfig.mountGroupConfig[g1]                   a member record
///     agentB:mountConfig.mountGroupConfig[g1].mountConfig[/a]   a member value
///     agentB:mountStatus.systemStatus[00:1c:73:00:00:01].serviceMountGroupStatus[g1]
///
/// A KEY that is empty or holds a blank, `"`, `=`, `[`, `]` or `\` is written
/// in double quotes, with `"` and `\` escaped by a backslash. Each key holds a
/// hash: see docs/store.md for the fields.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace hubstore::redis {

/// The five records of an agent.
enum class RecordSlot { status, mountConfig, mountStatus, publishConfig, publishStatus };
/// The five records, in the order the store reads and writes them.
inline constexpr RecordSlot kRecordSlots[] = {RecordSlot::status, RecordSlot::mountConfig, RecordSlot::mountStatus,
                                              RecordSlot::publishConfig, RecordSlot::publishStatus};

/// The configuration side (the agent writes it) or the status side (the mount
/// machinery writes it).
enum class Side { config, status };
/// The side a record is on: the mount and publish configurations are config,
/// the rest status.
Side sideOf(RecordSlot slot);

class RedisKeySchema {
 public:
  /// One ".ATTRIBUTE[KEY]" step of a key, the KEY unquoted.
  struct Step {
    std::string attribute;  ///< the collection attribute
    std::string key;        ///< the member's key, unquoted
    /// The same attribute and key.
    friend bool operator==(const Step&, const Step&) = default;
  };
  /// A key taken apart: the record, then the steps down to the member.
  struct Path {
    RecordSlot record;        ///< the record the key starts with
    std::vector<Step> steps;  ///< the collection levels, outermost first
  };

  /// The schema of the agent `agentName`.
  explicit RedisKeySchema(std::string agentName);

  /// The agent's name.
  const std::string& agentName() const { return agentName_; }
  /// "agentB:"
  const std::string& prefix() const { return prefix_; }
  /// A glob (SCAN MATCH, PSUBSCRIBE) that matches exactly the keys with the prefix.
  std::string pattern() const;

  /// "mountConfig"
  static const char* recordName(RecordSlot record);
  /// "controller/mount/config/service/agentB"
  std::string recordPath(RecordSlot record) const;
  /// The record at a state database path, or nullopt when it is none of this
  /// agent's five.
  std::optional<RecordSlot> recordAtPath(std::string_view path) const;

  /// "agentB:mountConfig"
  std::string recordKey(RecordSlot record) const;
  /// "agentB:lease": the configuration's lease, no record's key.
  std::string leaseKey() const { return prefix_ + "lease"; }
  /// `parent` + ".attribute[key]", the key quoted as it needs.
  static std::string memberKey(std::string_view parent, std::string_view attribute, std::string_view key);
  /// A key taken apart; nullopt for a key that is not one of this agent's.
  std::optional<Path> parse(std::string_view key) const;
  /// The same for a key without the prefix: "mountConfig.systemFilter[L]".
  static std::optional<Path> parseRelative(std::string_view key);
  /// Whether `key` is `ancestor` or lies below it.
  static bool isWithin(std::string_view key, std::string_view ancestor);

  /// The quoting of a KEY (also used for FILTER values), and its reverse
  /// (nullopt when `text` is not a whole KEY).
  ///@{
  static std::string quoted(std::string_view key);
  static std::optional<std::string> unquoted(std::string_view text);
  ///@}

 private:
  std::string agentName_;
  std::string prefix_;
};

}  // namespace hubstore::redis
