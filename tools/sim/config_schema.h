#pragma once
// The configuration records as `dump` prints them and `set` and `unset` name
// them: the records' own schema (foundations/records/config_schema.h), and
// the path of one line through it.

#include <optional>
#include <string>
#include <vector>

#include <hubstore/foundations/records/config_schema.h>

namespace hubstore::sim {

using Controller::ConfigTexts;
using Controller::ConfigValueKind;
using Controller::configRoots;
using Controller::FieldShape;
using Controller::KeyKind;
using Controller::SchemaNode;

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

}  // namespace hubstore::sim
