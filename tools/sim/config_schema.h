#pragma once
// The configuration records as `dump` prints them and `set` and `unset` name
// them: one node per attribute, from the two roots (mountConfig,
// publishConfig) down, members in the order dump prints them. The parser
// checks an LHS and its VALUE against it, the fuzzer's alphabet writes its
// `set` and `unset` lines from it, and a test holds `dump` to its order.
//
//   mountConfig.mountGroupConfig[G].mountConfig[REMOTE] = vexcType=TYPE vexcFlags=FLAGS hubstorePath=PATH
//   is roots[0] -> member "mountGroupConfig" (key G) -> member "mountConfig"
//   (key REMOTE, a Fields value with three fields).

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace hubstore::sim {

// What the VALUE of a `set` is, decided by its LHS.
enum class ConfigValueKind { RecordType, Scalar, Bool, Filter, Fields };

enum class KeyKind { None, Name, U32 };

struct FieldShape {
  std::string_view name;
  std::string_view placeholder;
};

struct SchemaNode {
  std::string_view attribute;
  KeyKind key;
  std::string_view keyName;  // as the lines above write it: G, REMOTE, SYS, N, ...
  ConfigValueKind kind;
  // RecordType: the type that `set` names; Filter: the type it binds.
  std::string_view typeName;
  std::span<const SchemaNode> members;
  std::span<const FieldShape> fields;  // Fields: in the order dump prints them
};

// One step of a configuration path: `mountGroupConfig[G]` is
// {"mountGroupConfig", "G"}, `warm` is {"warm", nullopt}.
struct ConfigSegment {
  std::string attribute;
  std::optional<std::string> key;  // unquoted; present for a collection member
  bool operator==(const ConfigSegment&) const = default;
};

// A place in a configuration record, as `dump` names it; the first segment is
// "mountConfig" or "publishConfig" and has no key.
using ConfigPath = std::vector<ConfigSegment>;

// mountConfig and publishConfig.
std::span<const SchemaNode> configRoots();

}  // namespace hubstore::sim
