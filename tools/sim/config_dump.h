#pragma once
// The two configuration records of the current agent (ServiceMountConfig and
// ServicePublishConfig) as text: `dump` prints them as `LHS = VALUE` lines,
// `set` and `unset` write one such line back, and a restart rebuilds fresh
// records from a snapshot of the lines.
//
//   ConfigDump config(*em, "agentB");
//   for (const std::string& line : config.lines()) std::puts(line.c_str());
//   config.set(command);   // command: `set mountConfig.warm = true`
//
// The records are looked up at their paths on every call, so a ConfigDump may
// be made for one command and dropped. set and unset raise ScenarioError when
// the line names a record whose parent does not exist, or binds a filter in a
// configuration record that does not exist.
//
// Filter bindings name a filter record by its place (mountConfig.systemFilter[L]).
// A dump lists a group's bindings before the filter records, so binding
// creates the named filter record when it is missing: a dump's lines fed to
// set in their printed order rebuild the configuration.

#include <map>
#include <string>
#include <vector>

#include <hubstore/foundations/framework/entity.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/string.h>
#include <hubstore/foundations/platform/entity_manager.h>
#include "tools/sim/scenario_parser.h"

namespace hubstore::sim {

// dump, set and unset walk the configuration schema (config_schema.h): a
// line's place is a path through it, and its value is read and written by the
// schema's accessors.
class ConfigDump {
 public:
  // What a restart keeps of the configuration. A dump line says only
  // `detached L` of a filter record that is no member of its configuration,
  // so the records themselves are kept too, by the LHS of the line that binds
  // them: the rebuilt group configuration points at the same record, with
  // its entries.
  struct Snapshot {
    std::vector<std::string> lines;
    std::map<std::string, Vex::Ptr<Vex::Entity>> detachedFilters;
  };

  ConfigDump(Mirra::EntityManager& em, const Vex::String& agentName);

  static std::string mountConfigPath(const Vex::String& agentName);
  static std::string publishConfigPath(const Vex::String& agentName);

  // The lines between "dump begin" and "dump end", in their fixed order.
  std::vector<std::string> lines() const;

  // `set LHS = VALUE` and `unset LHS` as the parser read them.
  void set(const Command& command);
  void unset(const Command& command);

  Snapshot snapshot() const;
  // Replaces the records at both paths by fresh ones rebuilt from `snapshot`
  // through set(); a root that the snapshot has as `none` is left absent.
  void restore(const Snapshot& snapshot);

 private:
  class LineWriter;

  // Where the record of a root of the schema lives, and the record or null.
  std::string rootPath(const SchemaNode& root) const;
  Vex::Ptr<Vex::Entity> rootRecord(const SchemaNode& root) const;
  // Creates (present) or removes the record of a root; an existing record of
  // the right type is kept.
  void rootIs(const SchemaNode& root, bool present);
  // The lines of both roots.
  void addAll(LineWriter& out) const;
  // The lines of `record`, a member of `node`, and of everything below it.
  void addLines(LineWriter& out, const SchemaNode& node, const Vex::Entity& record, const ConfigPath& place) const;
  // FILTER text of a group configuration's filter pointer.
  std::string filterPlace(const SchemaNode& slot, const Vex::Entity* filter) const;
  // The filter record that a FILTER value names; null for `none`.
  Vex::Ptr<Vex::Entity> filterNamed(const SchemaNode& slot, const Command& command);
  void write(const Command& command, bool isSet);

  Mirra::EntityManager& em_;
  Vex::String agentName_;
  // Set while restore() runs.
  const Snapshot* restoring_ = nullptr;
};

}  // namespace hubstore::sim
