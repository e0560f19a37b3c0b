#include "tools/sim/scenario_parser.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <span>

#include "tools/sim/repetition.h"
#include "tools/sim/scenario_words.h"

namespace hubstore::sim {
namespace {

// NAME=VALUE split at the first unquoted '='.
std::optional<std::pair<std::string, std::string>> splitAssignment(
    const Word& word) {
  const std::span<const Char> chars(word.chars);
  for (std::size_t i = 0; i < chars.size(); ++i) {
    if (!chars[i].quoted && chars[i].c == '=') {
      return std::pair{textOf(chars.first(i)), textOf(chars.subspan(i + 1))};
    }
  }
  return std::nullopt;
}

// ---------------------------------------------------------------------------
// Word forms

bool isBool(std::string_view s) { return s == "true" || s == "false"; }

bool isMountState(std::string_view s) {
  return s == "unknown" || s == "mounting" || s == "mounted" ||
         s == "unmounted" || s == "failed";
}

bool isU32(std::string_view s) {
  if (s.empty()) return false;
  std::uint64_t value = 0;
  for (char c : s) {
    if (c < '0' || c > '9') return false;
    value = value * 10 + static_cast<unsigned>(c - '0');
    if (value > UINT32_MAX) return false;
  }
  return true;
}

bool isHex(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') ||
         (c >= 'A' && c <= 'F');
}

// xx:xx:xx:xx:xx:xx, xx-xx-xx-xx-xx-xx or xxxx.xxxx.xxxx; one separator
// throughout.
bool isEthernetAddress(std::string_view s) {
  std::size_t group;
  char sep;
  if (s.size() == 17) {
    group = 2;
    sep = s[2];
    if (sep != ':' && sep != '-') return false;
  } else if (s.size() == 14) {
    group = 4;
    sep = '.';
  } else {
    return false;
  }
  for (std::size_t i = 0; i < s.size(); ++i) {
    const bool atSep = (i + 1) % (group + 1) == 0;
    if (atSep ? s[i] != sep : !isHex(s[i])) return false;
  }
  return true;
}

constexpr std::array<std::string_view, 5> kRecordTypes = {
    "Hubstore::Status", "Controller::ServiceMountConfig",
    "Controller::ServiceMountStatus", "Controller::ServicePublishConfig",
    "Controller::ServicePublishStatus"};

std::optional<std::string> qualifiedRecordType(std::string_view type) {
  for (std::string_view q : kRecordTypes) {
    if (type == q || type == q.substr(q.find("::") + 2)) return std::string(q);
  }
  return std::nullopt;
}

constexpr std::string_view kBoolDesc = "BOOL (true or false)";
constexpr std::string_view kU32Desc = "a decimal number from 0 to 4294967295";

// ---------------------------------------------------------------------------
// Commands other than set / unset

enum class Arg {
  Word,
  Bool,
  State,
  EthernetAddress,
  U32,
  RecordType,
  Levels,
  Default,
  LeaderGenId,
  GroupState,
  CommandName,
};

struct Param {
  std::string_view name;
  Arg kind = Arg::Word;
};

// Parses the words after the verb of a command whose words depend on one
// another; returns the error if there is one.
using WordsParser = std::optional<std::string> (*)(std::span<const Word>,
                                                   Command&);

// params[required..] are optional; when variadic the last one repeats. A verb
// with its own words parser has no params but a synopsis.
struct VerbShape {
  std::vector<Param> params;
  std::size_t required = 0;
  bool variadic = false;
  WordsParser parser = nullptr;
  std::string_view synopsis = {};
  // An agent or mount machinery command: one that a hook may run (`when`).
  bool hookAction = false;
};

VerbShape fixed(std::initializer_list<Param> params) {
  return {params, params.size(), false};
}
VerbShape lastOptional(std::initializer_list<Param> params) {
  return {params, params.size() - 1, false};
}
VerbShape lastRepeated(std::initializer_list<Param> params) {
  return {params, params.size() - 1, true};
}
VerbShape parsedBy(WordsParser parser, std::string_view synopsis) { return {{}, 0, false, parser, synopsis}; }

std::optional<std::string> parseMounter(std::span<const Word> words,
                                        Command& cmd);
std::optional<std::string> parseWhen(std::span<const Word> words, Command& cmd);
std::optional<std::string> parseRepeat(std::span<const Word> words, Command& cmd);
std::optional<std::string> parseSetOrUnset(std::span<const Word> words,
                                           Command& cmd);

using VerbTable = std::map<std::string, VerbShape, std::less<>>;

const VerbTable& verbTable() {
  const Param G{"G"}, SYS{"SYS"}, REMOTE{"REMOTE"}, H{"HUBSTOREPATH"},
      TYPE{"TYPE"}, L{"L"}, V{"V"};
  const Param BOOL{"BOOL", Arg::Bool};
  static const VerbTable table = [&] {
    VerbTable verbs;
    // hookAction: the section's commands are those a hook may run (`when`).
    auto section = [&verbs](bool hookAction, const VerbTable& entries) {
      for (auto [verb, shape] : entries) {
        shape.hookAction = hookAction;
        verbs.emplace(verb, std::move(shape));
      }
    };
    section(false, {
        // The world
        {"agent", fixed({{"NAME"}})},
        {"records", lastOptional({{"leaderGenId=ID", Arg::LeaderGenId}})},
        {"record", fixed({{"PATH"}, {"TYPE", Arg::RecordType}})},
        {"recordDel", fixed({{"PATH"}})},
        {"leaderGenId", fixed({{"ID"}})},
        {"restart", fixed({})},
        {"set", parsedBy(parseSetOrUnset, "set LHS = VALUE")},
        {"unset", parsedBy(parseSetOrUnset, "unset LHS")},
        // Tool
        {"trace", fixed({{"LEVELS|off", Arg::Levels}})},
        {"dump", fixed({})},
        {"explain", lastOptional({G})},
        {"hookCounts", fixed({{"M"}})},
        {"echo", lastRepeated({{"TEXT"}})},
        {"help", lastOptional({{"COMMAND", Arg::CommandName}})},
        {"quit", fixed({})},
        // A hook runs no `when` of its own.
        {"when", parsedBy(parseWhen, "when M HOOK G|* COMMAND ...")},
        {"repeat", parsedBy(parseRepeat, Repetition::kSynopsis)},
    });
    section(true, {
        // Status records. SYS here is the record's name, not checked: a badly
        // spelled switch is one of the things a scenario may exercise.
        {"systemStatus", lastRepeated({SYS, {"G=STATE", Arg::GroupState}})},
        {"systemStatusDel", fixed({SYS})},
        {"serviceMountGroupStatus",
         lastOptional({SYS, G, {"STATE", Arg::State}})},
        {"serviceMountGroupStatusDel", fixed({SYS, G})},
        {"mountState", fixed({SYS, G, {"STATE", Arg::State}})},
        {"initialMountsComplete", fixed({G, BOOL})},
        {"initialMountsCompleteDel", fixed({G})},
        {"mountedPathPrefix", fixed({REMOTE, {"PREFIX"}})},
        {"mountedPathPrefixDel", fixed({REMOTE})},
        {"publishGroupStatus", fixed({G})},
        {"publishGroupStatusDel", fixed({G})},
        {"publishStatus", fixed({G, H})},
        {"publishStatusDel", fixed({G, H})},
        // The agent
        {"mounter", parsedBy(parseMounter, "mounter M [default | counting | throwing HOOK]")},
        {"service", fixed({{"NAME"}})},
        {"serviceDel", fixed({})},
        {"closed", fixed({BOOL})},
        {"publishMountsSynchronized", fixed({BOOL})},
        {"reportMountStates", fixed({})},
        {"group", fixed({G, {"M|none"}})},
        {"groupDel", fixed({G})},
        {"controllerMount", fixed({G, REMOTE, H, TYPE, {"FLAGS"}})},
        {"publishMount", fixed({G, H, REMOTE, TYPE})},
        {"perSwitchPublishMount", fixed({G, H, REMOTE, TYPE})},
        {"controllerMountDel", fixed({G, REMOTE})},
        {"publishMountDel", fixed({G, H})},
        {"perSwitchPublishMountDel", fixed({G, H})},
        {"controllerMountDelAll", fixed({G})},
        {"publishMountDelAll", fixed({G})},
        {"perSwitchPublishMountDelAll", fixed({G})},
        {"publishActive", fixed({G, H, BOOL})},
        {"groupSwitchWhiteList", fixed({G, {"L|none"}})},
        {"groupVersionWhiteList", fixed({G, {"V|none"}})},
        {"groupClosed", fixed({G, BOOL})},
        {"groupPreserveMountsOnDisconnect", fixed({G, BOOL})},
        {"switchWhiteList", fixed({L})},
        {"switchWhiteListDel", fixed({L})},
        {"allowedSwitch", fixed({L, {"SYS", Arg::EthernetAddress}, BOOL})},
        {"allowedSwitchDel", fixed({L, {"SYS", Arg::EthernetAddress}})},
        {"allowedSwitchDelAll", fixed({L})},
        {"versionWhiteList", fixed({V})},
        {"versionWhiteListDel", fixed({V})},
        {"allowedVersion", fixed({V, {"N", Arg::U32}, BOOL})},
        {"allowedVersionDel", fixed({V, {"N", Arg::U32}})},
        {"allowedVersionDelAll", fixed({V})},
        {"whenDel", fixed({{"M"}})},
    });
    return verbs;
  }();
  return table;
}

std::string usage(std::string_view verb, const VerbShape& shape) {
  if (shape.parser) return std::string(shape.synopsis);
  std::string out(verb);
  for (std::size_t i = 0; i < shape.params.size(); ++i) {
    const bool optional = i >= shape.required;
    out += optional ? " [" : " ";
    out += shape.params[i].name;
    if (shape.variadic && i + 1 == shape.params.size()) out += " ...";
    if (optional) out += ']';
  }
  return out;
}

std::string wordCount(std::size_t n) {
  if (n == 0) return "no words";
  return std::to_string(n) + (n == 1 ? " word" : " words");
}

std::optional<std::string> checkArity(std::string_view verb,
                                      const VerbShape& shape, std::size_t got) {
  const std::size_t max = shape.params.size();
  if (got >= shape.required && (shape.variadic || got <= max)) {
    return std::nullopt;
  }
  std::string count;
  if (shape.variadic) {
    count = "at least " + wordCount(shape.required);
  } else if (shape.required == max) {
    count = wordCount(max);
  } else {
    count = std::to_string(shape.required) + " or " + wordCount(max);
  }
  return "'" + std::string(verb) + "' takes " + count + " (" +
         usage(verb, shape) + "), got " + std::to_string(got);
}

// Checks one word against its parameter; on failure returns what the word
// should have been.
std::optional<std::string> checkArg(const Param& param, const Word& word,
                                    Command& cmd) {
  constexpr std::string_view kStates =
      "unknown, mounting, mounted, unmounted or failed";
  switch (param.kind) {
    case Arg::Word:
      return std::nullopt;
    case Arg::Bool:
      if (isBool(word.text)) return std::nullopt;
      return std::string(kBoolDesc);
    case Arg::State:
      if (isMountState(word.text)) return std::nullopt;
      return "STATE (" + std::string(kStates) + ")";
    case Arg::EthernetAddress:
      if (isEthernetAddress(word.text)) return std::nullopt;
      return "SYS as an Ethernet address (xx:xx:xx:xx:xx:xx, "
             "xx-xx-xx-xx-xx-xx or xxxx.xxxx.xxxx)";
    case Arg::U32:
      if (isU32(word.text)) return std::nullopt;
      return "N as " + std::string(kU32Desc);
    case Arg::RecordType:
      if (auto type = qualifiedRecordType(word.text)) {
        cmd.scalar = *type;
        return std::nullopt;
      }
      return "TYPE, one of Hubstore::Status, Controller::ServiceMountConfig, "
             "Controller::ServiceMountStatus, Controller::ServicePublishConfig "
             "or Controller::ServicePublishStatus (namespace optional)";
    case Arg::Levels:
      if (parseTraceLevels(word.text)) return std::nullopt;
      return "LEVELS (levels 0-9 as a comma list of levels and ranges, e.g. "
             "5,7 or 0-8) or off";
    case Arg::Default:
      if (word.text == "default") return std::nullopt;
      return "only 'default' after M";
    case Arg::LeaderGenId:
      if (auto kv = splitAssignment(word); kv && kv->first == "leaderGenId") {
        cmd.fields.push_back(std::move(*kv));
        return std::nullopt;
      }
      return "leaderGenId=ID";
    case Arg::GroupState:
      if (auto kv = splitAssignment(word); kv && isMountState(kv->second)) {
        cmd.fields.push_back(std::move(*kv));
        return std::nullopt;
      }
      return "G=STATE after SYS, STATE one of " + std::string(kStates);
    case Arg::CommandName:
      if (verbTable().count(word.text)) return std::nullopt;
      return "the name of a command";
  }
  return std::nullopt;
}

std::optional<std::string> parseWords(const VerbShape& shape,
                                      std::span<const Word> words,
                                      Command& cmd) {
  if (auto error = checkArity(cmd.verb, shape, words.size())) return error;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const Param& param = shape.params[std::min(i, shape.params.size() - 1)];
    if (auto want = checkArg(param, words[i], cmd)) {
      return "'" + cmd.verb + "' takes " + *want + ", got '" + words[i].raw +
             "'";
    }
    cmd.args.push_back(words[i].text);
  }
  return std::nullopt;
}

// ---------------------------------------------------------------------------
// Configuration paths: the lines that dump prints

enum class KeyKind { None, Name, U32 };

struct FieldShape {
  std::string_view name;
  std::string_view placeholder;
};

struct SchemaNode {
  std::string_view attribute;
  KeyKind key;
  std::string_view keyName;  // for messages
  ConfigValueKind kind;
  // RecordType: the type that `set` names; Filter: the type it binds.
  std::string_view typeName;
  std::span<const SchemaNode> members;
  std::span<const FieldShape> fields;  // Fields: in the order dump prints them
};

using K = ConfigValueKind;

constexpr FieldShape kMountConfigFields[] = {
    {"vexcType", "TYPE"}, {"vexcFlags", "FLAGS"}, {"hubstorePath", "PATH"}};
constexpr FieldShape kPublishConfigFields[] = {{"remotePath", "REMOTE"},
                                              {"vexcType", "TYPE"}};
constexpr FieldShape kPublishDirFields[] = {{"vexcType", "TYPE"},
                                           {"remoteTargetPath", "REMOTE"},
                                           {"readyToPublish", "BOOL"}};

constexpr SchemaNode kSystemFilterMembers[] = {
    {"includedSystem", KeyKind::Name, "SYS", K::Bool, {}, {}, {}}};
constexpr SchemaNode kVersionFilterMembers[] = {
    {"includedServiceVersion", KeyKind::U32, "N", K::Bool, {}, {}, {}}};

constexpr SchemaNode kSystemFilters = {
    "systemFilter",      KeyKind::Name,        "L", K::RecordType,
    "MountFilterSystem", kSystemFilterMembers, {}};
constexpr SchemaNode kVersionFilters = {
    "versionFilter",   KeyKind::Name, "V", K::RecordType,
    "MountFilterServiceVersion", kVersionFilterMembers, {}};
constexpr SchemaNode kSystemFilterRef = {
    "systemFilter", KeyKind::None, {}, K::Filter, "MountFilterSystem", {}, {}};
constexpr SchemaNode kVersionFilterRef = {
    "versionFilter", KeyKind::None, {}, K::Filter, "MountFilterServiceVersion",
    {},           {}};
constexpr SchemaNode kServiceName = {
    "serviceName", KeyKind::None, {}, K::Scalar, {}, {}, {}};
constexpr SchemaNode kLeaderGenId = {
    "leaderGenId", KeyKind::None, {}, K::Scalar, {}, {}, {}};

constexpr SchemaNode kMountGroupMembers[] = {
    {"preserveMountsOnDisconnect", KeyKind::None, {}, K::Bool, {}, {}, {}},
    kSystemFilterRef,
    kVersionFilterRef,
    {"mountConfig", KeyKind::Name, "REMOTE", K::Fields, {}, {},
     kMountConfigFields},
};
constexpr SchemaNode kPublishGroupMembers[] = {
    kSystemFilterRef,
    kVersionFilterRef,
    {"publishConfig", KeyKind::Name, "HUBSTOREPATH", K::Fields, {}, {},
     kPublishConfigFields},
    {"publishDir", KeyKind::Name, "HUBSTOREPATH", K::Fields, {}, {},
     kPublishDirFields},
};
constexpr SchemaNode kMountConfigMembers[] = {
    kServiceName,
    kLeaderGenId,
    {"warm", KeyKind::None, {}, K::Bool, {}, {}, {}},
    {"mountGroupConfig", KeyKind::Name, "G", K::RecordType,
     "ServiceMountGroupConfig", kMountGroupMembers, {}},
    kSystemFilters,
    kVersionFilters,
};
constexpr SchemaNode kPublishConfigMembers[] = {
    kServiceName,
    kLeaderGenId,
    {"ready", KeyKind::None, {}, K::Bool, {}, {}, {}},
    {"publishGroupConfig", KeyKind::Name, "G", K::RecordType,
     "ServicePublishGroupConfig", kPublishGroupMembers, {}},
    kSystemFilters,
    kVersionFilters,
};
constexpr SchemaNode kRoots[] = {
    {"mountConfig", KeyKind::None, {}, K::RecordType, "ServiceMountConfig",
     kMountConfigMembers, {}},
    {"publishConfig", KeyKind::None, {}, K::RecordType, "ServicePublishConfig",
     kPublishConfigMembers, {}},
};

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
  std::span<const SchemaNode> level = kRoots;
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

// ---------------------------------------------------------------------------
// set / unset

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

// Parses the words of one line into cmd; returns the error if there is one.
std::optional<std::string> parseCommand(std::span<const Word> words,
                                        Command& cmd) {
  cmd.verb = words[0].text;
  const auto rest = words.subspan(1);
  const auto& table = verbTable();
  const auto it = table.find(cmd.verb);
  if (it == table.end()) return "unknown command '" + words[0].raw + "'";
  if (it->second.parser) return it->second.parser(rest, cmd);
  return parseWords(it->second, rest, cmd);
}

std::optional<std::string> checkHook(std::string_view verb, const Word& word,
                                     Command& cmd) {
  cmd.hook = mounterHookFromName(word.text);
  if (cmd.hook) return std::nullopt;
  return "'" + std::string(verb) + "' takes HOOK (" +
         std::string(kMounterHookNames[0]) + ", " +
         std::string(kMounterHookNames[1]) + " or " +
         std::string(kMounterHookNames[2]) + "), got '" + word.raw + "'";
}

// mounter M, mounter M default, mounter M counting, mounter M throwing HOOK
std::optional<std::string> parseMounter(std::span<const Word> words,
                                        Command& cmd) {
  if (words.empty() || words.size() > 3) {
    return "'mounter' takes 1 to 3 words (" + usage("mounter", verbTable().at("mounter")) + "), got " +
           std::to_string(words.size());
  }
  for (const Word& word : words) cmd.args.push_back(word.text);
  const auto rest = words.subspan(1);
  if (rest.empty() || (rest.size() == 1 && (rest[0].text == "default" || rest[0].text == "counting"))) {
    return std::nullopt;
  }
  if (rest.size() == 2 && rest[0].text == "throwing") {
    return checkHook("mounter", rest[1], cmd);
  }
  return "'mounter' takes 'default', 'counting' or 'throwing HOOK' after M, got '" +
         joinRaw(rest) + "'";
}

// when M HOOK G COMMAND...: COMMAND is checked as a line of its own.
std::optional<std::string> parseWhen(std::span<const Word> words,
                                     Command& cmd) {
  if (words.size() < 4) {
    return "'when' takes at least 4 words (" + usage("when", verbTable().at("when")) + "), got " +
           std::to_string(words.size());
  }
  if (auto error = checkHook("when", words[1], cmd)) return error;
  for (const Word& word : words.first(3)) cmd.args.push_back(word.text);
  const auto command = words.subspan(3);
  const auto& table = verbTable();
  const auto shape = table.find(command[0].text);
  if (shape != table.end() && !shape->second.hookAction) {
    return "a hook runs an agent or mount machinery command, not '" +
           command[0].raw + "'";
  }
  auto action = std::make_shared<Command>();
  action->file = cmd.file;
  action->line = cmd.line;
  action->bindings = cmd.bindings;
  action->source = joinRaw(command);
  if (auto error = parseCommand(command, *action)) {
    return "in the command of 'when': " + *error;
  }
  cmd.action = std::move(action);
  return std::nullopt;
}

// A command of a repeat at `values`, parsed into `cmd`; returns the error.
std::optional<std::string> parseRepeated(const Repetition& repetition, std::span<const Word> words,
                                         const Repetition::Values& values, Command& cmd) {
  cmd.source = joinRaw(words);
  cmd.bindings = repetition.bindings(values);
  if (auto error = parseCommand(words, cmd)) return repeatedCommandError(cmd, *error);
  return std::nullopt;
}

// repeat [VAR=]RANGE COMMAND...: COMMAND is checked at its first and last
// values. A value's text grows with the value, so a form that holds at both
// ends holds between them (the word counts do not depend on the values).
std::optional<std::string> parseRepeat(std::span<const Word> words, Command& cmd) {
  auto repetition = std::make_shared<Repetition>();
  if (auto error = Repetition::parse(words, *repetition)) return error;
  std::vector<Word> expanded;
  for (const Repetition::Values& values : {repetition->firstValues(), repetition->lastValues()}) {
    repetition->expand(values, expanded);
    Command check;
    if (auto error = parseRepeated(*repetition, expanded, values, check)) return error;
  }
  cmd.repetition = std::move(repetition);
  return std::nullopt;
}

}  // namespace

std::optional<std::string> forEachRepeated(const Command& repeat, const std::function<bool(const Command&)>& visit) {
  std::optional<std::string> error;
  repeat.repetition->forEach([&](std::span<const Word> words, const Repetition::Values& values) {
    Command command;
    command.file = repeat.file;
    command.line = repeat.line;
    error = parseRepeated(*repeat.repetition, words, values, command);
    return !error && visit(command);
  });
  return error;
}

std::string repeatedCommandError(const Command& command, std::string_view message) {
  return "in '" + command.source + "' (" + command.bindings + "): " + std::string(message);
}

ParseResult parseScenario(std::string_view fileName, std::string_view text, int firstLine) {
  ParseResult result;
  int lineNo = firstLine - 1;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view{}
                                         : text.substr(end + 1);
    ++lineNo;

    std::vector<Word> words;
    Command cmd;
    cmd.file = fileName;
    cmd.line = lineNo;
    auto error = lexLine(line, words);
    if (!error && words.empty()) continue;
    if (!error) {
      cmd.source = joinRaw(words);
      error = parseCommand(words, cmd);
    }
    if (error) {
      result.errors.push_back(std::string(fileName) + ":" +
                              std::to_string(lineNo) + ": error: " + *error);
    } else {
      result.commands.push_back(std::move(cmd));
    }
  }
  return result;
}

std::vector<std::string> commandNames() {
  std::vector<std::string> names;
  for (const auto& [verb, shape] : verbTable()) names.push_back(verb);
  return names;
}

std::optional<std::string> commandSynopsis(std::string_view verb) {
  const auto& table = verbTable();
  const auto shape = table.find(verb);
  if (shape == table.end()) return std::nullopt;
  return usage(verb, shape->second);
}

std::optional<unsigned> parseTraceLevels(std::string_view text) {
  if (text == "off") return 0u;
  std::size_t i = 0;
  auto level = [&]() -> std::optional<unsigned> {
    const std::size_t start = i;
    unsigned value = 0;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9') {
      value = value * 10 + static_cast<unsigned>(text[i++] - '0');
      if (value > 9) return std::nullopt;
    }
    if (i == start) return std::nullopt;
    return value;
  };
  unsigned mask = 0;
  while (true) {
    const auto low = level();
    if (!low) return std::nullopt;
    auto high = low;
    if (i < text.size() && text[i] == '-') {
      ++i;
      high = level();
      if (!high || *high < *low) return std::nullopt;
    }
    for (unsigned l = *low; l <= *high; ++l) mask |= 1u << l;
    if (i == text.size()) return mask;
    if (text[i++] != ',') return std::nullopt;
  }
}

std::string quoteIfNeeded(std::string_view text) {
  // Inside a path or a NAME=VALUE word these mark structure too.
  const bool structure = text.find_first_of("=[]") != std::string_view::npos;
  return structure ? quoted(text) : quoteWord(text);
}

std::string formatConfigPath(const ConfigPath& path) {
  std::string out;
  for (const ConfigSegment& seg : path) {
    if (!out.empty()) out += '.';
    out += seg.attribute;
    if (seg.key) {
      out += '[';
      out += quoteIfNeeded(*seg.key);
      out += ']';
    }
  }
  return out;
}

}  // namespace hubstore::sim
