// The LHS and VALUE of `set` and `unset`, checked against the lines that
// `dump` prints (config_schema.h).
#include <cstdint>

#include "tools/sim/config_schema.h"
#include "tools/sim/scenario_forms.h"
#include "tools/sim/word_forms.h"

namespace hubstore::sim {
namespace {

using K = ConfigValueKind;

// Splits a path word into segments; only unquoted '.', '[' and ']' count.
std::optional<std::string> splitPath(const Word& word, ConfigPath& path) {
  const std::vector<Char>& cs = word.chars;
  const std::size_t n = cs.size();
  auto is = [&](std::size_t k, char c) {
    return !cs[k].quoted && cs[k].c == c;
  };
  std::size_t i = 0;
  while (true) {
    ConfigSegment seg;
    while (i < n && !is(i, '.') && !is(i, '[')) {
      if (is(i, ']')) return "unexpected ']'";
      if (!cs[i].emptyQuotes) seg.attribute += cs[i].c;
      ++i;
    }
    if (seg.attribute.empty()) return "empty attribute name";
    if (i < n && is(i, '[')) {
      const std::size_t keyStart = ++i;
      while (i < n && !is(i, ']')) {
        if (is(i, '[')) return "'[' inside a key (quote the key)";
        ++i;
      }
      if (i == n) return "missing ']'";
      if (i == keyStart) return "empty key (the empty name is written \"\")";
      seg.key = textOf(std::span(cs).subspan(keyStart, i - keyStart));
      ++i;
    }
    path.push_back(std::move(seg));
    if (i == n) return std::nullopt;
    if (!is(i, '.')) return "expected '.' after ']'";
    ++i;
  }
}

// Parses a path word and finds its line in the schema.
const SchemaNode* resolvePath(const Word& word, ConfigPath& path,
                              std::string& error) {
  const std::string where = "'" + word.raw + "': ";
  if (auto bad = splitPath(word, path)) {
    error = where + *bad;
    return nullptr;
  }
  std::span<const SchemaNode> level = configRoots();
  const SchemaNode* node = nullptr;
  for (const ConfigSegment& seg : path) {
    if (node && node->members.empty()) {
      error = where + "'" + std::string(node->attribute) + "' has no members";
      return nullptr;
    }
    const SchemaNode* parent = node;
    node = nullptr;
    for (const SchemaNode& candidate : level) {
      if (candidate.attribute == seg.attribute) node = &candidate;
    }
    if (!node) {
      error = where + (parent ? std::string(parent->typeName) +
                                    " has no attribute '" + seg.attribute + "'"
                              : "a path begins with mountConfig or "
                                "publishConfig");
      return nullptr;
    }
    const std::string attr(node->attribute);
    if (node->key != KeyKind::None && !seg.key) {
      error = where + "'" + attr + "' is a collection; name a member as " +
              attr + "[" + std::string(node->keyName) + "]";
      return nullptr;
    }
    if (node->key == KeyKind::None && seg.key) {
      error = where + "'" + attr + "' is not a collection and takes no key";
      return nullptr;
    }
    if (node->key == KeyKind::U32 && !isU32(*seg.key)) {
      error = where + "the key of '" + attr + "' is " + std::string(kU32Desc) +
              ", got '" + *seg.key + "'";
      return nullptr;
    }
    level = node->members;
  }
  return node;
}

std::optional<std::string> parseFilter(const SchemaNode& slot,
                                       std::span<const Word> value,
                                       Command& cmd) {
  if (value.size() == 1 && value[0].text == "none") return std::nullopt;
  if (value.size() == 2 && value[0].text == "detached") {
    cmd.detachedName = value[1].text;
    return std::nullopt;
  }
  if (value.size() == 1) {
    ConfigPath place;
    std::string ignored;
    const SchemaNode* target = resolvePath(value[0], place, ignored);
    if (target && target->kind == K::RecordType &&
        target->typeName == slot.typeName) {
      cmd.filter = std::move(place);
      return std::nullopt;
    }
  }
  return "FILTER (none, the place of a " + std::string(slot.typeName) +
         " record such as mountConfig." + std::string(slot.attribute) + "[" +
         (slot.attribute == "systemFilter" ? "L" : "V") + "], or detached " +
         (slot.attribute == "systemFilter" ? "L" : "V") + ")";
}

std::optional<std::string> parseFields(const SchemaNode& slot,
                                       std::span<const Word> value,
                                       Command& cmd) {
  std::string want;
  for (const FieldShape& f : slot.fields) {
    if (!want.empty()) want += ' ';
    want += std::string(f.name) + "=" + std::string(f.placeholder);
  }
  if (value.size() != slot.fields.size()) return want;
  for (std::size_t i = 0; i < value.size(); ++i) {
    auto kv = splitAssignment(value[i]);
    if (!kv || kv->first != slot.fields[i].name) return want;
    if (slot.fields[i].placeholder == "BOOL" && !isBool(kv->second)) {
      return want + " (BOOL: true or false)";
    }
    cmd.fields.push_back(std::move(*kv));
  }
  return std::nullopt;
}

// Checks VALUE against the line the LHS names; returns what it should be.
std::optional<std::string> parseValue(const SchemaNode& slot, bool isRoot,
                                      std::span<const Word> value,
                                      Command& cmd) {
  cmd.valueKind = slot.kind;
  const bool oneWord = value.size() == 1;
  switch (slot.kind) {
    case K::RecordType:
      if (oneWord && (value[0].text == slot.typeName ||
                      (isRoot && value[0].text == "none"))) {
        cmd.scalar = value[0].text;
        return std::nullopt;
      }
      return "the type name " + std::string(slot.typeName) +
             (isRoot ? " or none" : "");
    case K::Scalar:
      if (oneWord) {
        cmd.scalar = value[0].text;
        return std::nullopt;
      }
      return "one word (quote a value that holds blanks)";
    case K::Bool:
      if (oneWord && isBool(value[0].text)) {
        cmd.scalar = value[0].text;
        return std::nullopt;
      }
      return std::string(kBoolDesc);
    case K::Filter:
      return parseFilter(slot, value, cmd);
    case K::Fields:
      return parseFields(slot, value, cmd);
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> parseSetOrUnset(std::span<const Word> words,
                                           Command& cmd) {
  const bool isSet = cmd.verb == "set";
  if (isSet && words.size() >= 2 && words[1].raw != "=") {
    return "'set' takes LHS = VALUE, got '" + words[1].raw +
           "' where '=' belongs";
  }
  if (isSet ? words.size() < 3 : words.size() != 1) {
    return "'" + cmd.verb + "' takes " +
           (isSet ? "LHS = VALUE (blanks around '=')" : "LHS") + ", got " +
           wordCount(words.size());
  }
  std::string error;
  const SchemaNode* slot = resolvePath(words[0], cmd.lhs, error);
  if (!slot) return error;
  if (!isSet) return std::nullopt;
  if (auto want =
          parseValue(*slot, cmd.lhs.size() == 1, words.subspan(2), cmd)) {
    return "'" + words[0].raw + "' takes " + *want + ", got '" +
           joinRaw(words.subspan(2)) + "'";
  }
  return std::nullopt;
}


}  // namespace hubstore::sim
