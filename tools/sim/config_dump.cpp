#include "tools/sim/config_dump.h"

#include <stdexcept>
#include <string_view>
#include <utility>

#include "tools/sim/scenario_error.h"

namespace hubstore::sim {
namespace {

using K = ConfigValueKind;

ConfigSegment seg(std::string_view attribute) { return {std::string(attribute), std::nullopt}; }
ConfigSegment seg(std::string_view attribute, std::string key) { return {std::string(attribute), std::move(key)}; }

ConfigPath child(ConfigPath path, ConfigSegment segment) {
  path.push_back(std::move(segment));
  return path;
}

// The parser checked every attribute of a line against the schema.
const SchemaNode& nodeNamed(std::span<const SchemaNode> nodes, std::string_view attribute) {
  for (const SchemaNode& node : nodes) {
    if (node.attribute == attribute) return node;
  }
  throw std::logic_error("the parser let through the attribute " + std::string(attribute));
}

[[noreturn]] void throwMissing(const ConfigPath& path, std::size_t segments) {
  throw ScenarioError(formatConfigPath(ConfigPath(path.begin(), path.begin() + static_cast<std::ptrdiff_t>(segments))) +
                      " does not exist");
}

// VALUE of a Scalar, Bool or Fields place.
std::string valueText(const SchemaNode& node, const ConfigTexts& value) {
  if (node.kind != K::Fields) return quoteIfNeeded(value.at(0));
  std::string text;
  for (std::size_t i = 0; i < node.fields.size(); ++i) {
    if (i > 0) text += ' ';
    text += std::string(node.fields[i].name) + "=" + quoteIfNeeded(value.at(i));
  }
  return text;
}

constexpr std::string_view kDetached = "detached ";

}  // namespace

class ConfigDump::LineWriter {
 public:
  // `detached` collects the detached filter records by the LHS that binds them.
  explicit LineWriter(std::map<std::string, Vex::Ptr<Vex::Entity>>* detached = nullptr) : detached(detached) {}
  void add(const ConfigPath& path, const std::string& value) { lines.push_back(formatConfigPath(path) + " = " + value); }
  std::vector<std::string> lines;
  std::map<std::string, Vex::Ptr<Vex::Entity>>* detached;
};

ConfigDump::ConfigDump(Mirra::EntityManager& em, const Vex::String& agentName) : em_(em), agentName_(agentName) {}

std::string ConfigDump::mountConfigPath(const Vex::String& agentName) {
  return "controller/mount/config/service/" + agentName.stdString();
}

std::string ConfigDump::publishConfigPath(const Vex::String& agentName) {
  return "controller/publish/config/service/" + agentName.stdString();
}

std::string ConfigDump::rootPath(const SchemaNode& root) const {
  return root.attribute == "mountConfig" ? mountConfigPath(agentName_) : publishConfigPath(agentName_);
}

Vex::Ptr<Vex::Entity> ConfigDump::rootRecord(const SchemaNode& root) const {
  Vex::Ptr<Vex::Entity> record = em_.getEntity(rootPath(root));
  return record && root.isType(*record) ? record : nullptr;
}

void ConfigDump::rootIs(const SchemaNode& root, bool present) {
  const std::string path = rootPath(root);
  if (!present) {
    em_.entityDel(path);
    return;
  }
  if (auto existing = em_.getEntity(path)) {
    if (!root.isType(*existing)) throw ScenarioError(path + " holds a " + existing->fwkType().name());
    return;
  }
  em_.entityIs(path, root.make(agentName_));
}

std::string ConfigDump::filterPlace(const SchemaNode& slot, const Vex::Entity* filter) const {
  if (!filter) return "none";
  for (const SchemaNode& root : configRoots()) {
    const Vex::Ptr<Vex::Entity> record = rootRecord(root);
    if (!record) continue;
    for (const SchemaNode& collection : root.members) {
      if (collection.kind != K::RecordType || collection.typeName != slot.typeName) continue;
      for (const std::string& key : collection.keys(*record)) {
        if (collection.member(*record, key) == filter) {
          return formatConfigPath({seg(root.attribute), seg(collection.attribute, key)});
        }
      }
    }
  }
  return std::string(kDetached) + quoteIfNeeded(filter->name().view());
}

void ConfigDump::addLines(LineWriter& out, const SchemaNode& node, const Vex::Entity& record,
                          const ConfigPath& place) const {
  out.add(place, std::string(node.typeName));
  for (const SchemaNode& member : node.members) {
    if (member.key == KeyKind::None) {
      const ConfigPath at = child(place, seg(member.attribute));
      if (member.kind != K::Filter) {
        out.add(at, valueText(member, *member.read(record, {})));
        continue;
      }
      Vex::Entity* filter = member.bound(record);
      const std::string value = filterPlace(member, filter);
      if (out.detached && value.starts_with(kDetached)) (*out.detached)[formatConfigPath(at)] = Vex::Ptr(filter);
      out.add(at, value);
      continue;
    }
    for (const std::string& key : member.keys(record)) {
      const ConfigPath at = child(place, seg(member.attribute, key));
      if (member.kind == K::RecordType) {
        addLines(out, member, *member.member(record, key), at);
      } else {
        out.add(at, valueText(member, *member.read(record, key)));
      }
    }
  }
}

void ConfigDump::addAll(LineWriter& out) const {
  for (const SchemaNode& root : configRoots()) {
    const ConfigPath place{seg(root.attribute)};
    if (const Vex::Ptr<Vex::Entity> record = rootRecord(root)) {
      addLines(out, root, *record, place);
    } else {
      out.add(place, "none");
    }
  }
}

std::vector<std::string> ConfigDump::lines() const {
  LineWriter out;
  addAll(out);
  return std::move(out.lines);
}

Vex::Ptr<Vex::Entity> ConfigDump::filterNamed(const SchemaNode& slot, const Command& command) {
  if (command.detachedName) {
    if (restoring_) {
      auto kept = restoring_->detachedFilters.find(formatConfigPath(command.lhs));
      if (kept != restoring_->detachedFilters.end()) return kept->second;
    }
    return slot.make(Vex::Name(*command.detachedName));
  }
  if (!command.filter) return nullptr;
  const ConfigPath& place = *command.filter;
  // The parser checked that the place is a collection member of this type.
  // A dump prints a group's binding before the filter record it names, and
  // the mount configuration before the publish one, so binding creates the
  // filter and its configuration record when they are not there yet: dump
  // lines fed to set in their printed order rebuild the configuration.
  const SchemaNode& root = nodeNamed(configRoots(), place[0].attribute);
  rootIs(root, true);
  return Vex::Ptr(nodeNamed(root.members, place[1].attribute).write(*rootRecord(root), *place[1].key, {}));
}

void ConfigDump::write(const Command& command, bool isSet) {
  const ConfigPath& lhs = command.lhs;
  const SchemaNode& root = nodeNamed(configRoots(), lhs[0].attribute);
  if (lhs.size() == 1) {
    rootIs(root, isSet && command.scalar != "none");
    return;
  }
  Vex::Ptr<Vex::Entity> holder = rootRecord(root);
  if (!holder) throwMissing(lhs, 1);
  const SchemaNode* node = &root;
  for (std::size_t i = 1; i + 1 < lhs.size(); ++i) {
    node = &nodeNamed(node->members, lhs[i].attribute);
    Vex::Entity* member = node->member(*holder, *lhs[i].key);
    if (!member) throwMissing(lhs, i + 1);
    holder = Vex::Ptr(member);
  }
  const SchemaNode& slot = nodeNamed(node->members, lhs.back().attribute);
  const std::string key = lhs.back().key.value_or("");
  if (slot.kind == K::Filter) {
    slot.bind(*holder, isSet ? filterNamed(slot, command).get() : nullptr);
  } else if (!isSet && slot.key != KeyKind::None) {
    slot.remove(*holder, key);
  } else if (!isSet) {
    slot.write(*holder, key, {slot.kind == K::Bool ? "false" : ""});
  } else if (slot.kind == K::Fields) {
    ConfigTexts value;
    for (const auto& [name, text] : command.fields) value.push_back(text);
    slot.write(*holder, key, value);
  } else {
    slot.write(*holder, key, {command.scalar});
  }
}

void ConfigDump::set(const Command& command) { write(command, true); }

void ConfigDump::unset(const Command& command) { write(command, false); }

ConfigDump::Snapshot ConfigDump::snapshot() const {
  Snapshot snapshot;
  LineWriter out(&snapshot.detachedFilters);
  addAll(out);
  snapshot.lines = std::move(out.lines);
  return snapshot;
}

void ConfigDump::restore(const Snapshot& snapshot) {
  std::string text;
  for (const std::string& line : snapshot.lines) text += "set " + line + "\n";
  const ParseResult parsed = parseScenario("restart", text);
  if (!parsed.errors.empty()) {
    // Only a text holding a line break has no form that parses back.
    throw std::logic_error("configuration that does not read back: " + parsed.errors.front());
  }
  em_.entityDel(mountConfigPath(agentName_));
  em_.entityDel(publishConfigPath(agentName_));
  restoring_ = &snapshot;
  try {
    for (const Command& command : parsed.commands) set(command);
  } catch (...) {
    restoring_ = nullptr;
    throw;
  }
  restoring_ = nullptr;
}

}  // namespace hubstore::sim
