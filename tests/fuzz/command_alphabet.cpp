#include "tests/fuzz/command_alphabet.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "tools/sim/config_schema.h"
#include "tools/sim/verb_table.h"

namespace hubstore::fuzz {
namespace {

struct Kind {
  std::string_view name;
  // A renamable kind takes any word when encoding (a name); the others must
  // match one of their alternatives exactly (true, mounted, ...).
  bool renamable;
  std::vector<std::string_view> alternatives;
};

// Verbs whose words say too little for the alphabet: a NAME of one kind or
// another, and the verbs with words of their own form.
const std::map<std::string_view, std::vector<std::string_view>, std::less<>>& ownTemplates() {
  static const std::map<std::string_view, std::vector<std::string_view>, std::less<>> table = {
      {"agent", {"{agent}"}},
      {"service", {"{service}"}},
      {"record", {"{PATH} {recordType}"}},
      {"set", {"{configLine}"}},
      {"unset", {"{configPlace}"}},
      {"mounter", {"{M}", "{M} default", "{M} counting", "{M} throwing {hook}"}},
      {"when", {"{M} {hook} {groupOrStar} {hookAction}"}},
  };
  return table;
}

// Left out: the reports and the tool's own verbs, and repeat, whose commands
// are each one the alphabet has already.
bool leftOut(std::string_view verb) {
  static const std::set<std::string_view, std::less<>> verbs = {"echo", "explain", "hookCounts", "help", "quit",
                                                               "repeat"};
  return verbs.count(verb) > 0;
}

// A synopsis word in the alphabet's terms: a kind is named by its synopsis
// word (`G`, `M|none`); `leaderGenId=ID` is the literal and the kind.
std::string placeholderOf(std::string_view word) {
  const std::size_t equals = word.find('=');
  if (equals != std::string_view::npos) {
    return placeholderOf(word.substr(0, equals)) + "=" + placeholderOf(word.substr(equals + 1));
  }
  return std::islower(static_cast<unsigned char>(word[0])) ? std::string(word) : "{" + std::string(word) + "}";
}

// A verb's lines: its words, then its optional words one more at a time (a
// repeated one twice at most).
std::vector<std::string> templatesOf(const sim::Verb& verb) {
  std::vector<std::string> templates;
  const std::string name(verb.name);
  if (auto own = ownTemplates().find(verb.name); own != ownTemplates().end()) {
    for (std::string_view words : own->second) templates.push_back(name + " " + std::string(words));
    return templates;
  }
  const sim::Words& words = verb.words;
  if (words.parser) throw std::logic_error("the fuzzer's alphabet cannot say " + name);
  std::string line = name;
  const std::size_t most = words.params.size() + (words.variadic ? 1 : 0);
  for (std::size_t i = 0; i < most; ++i) {
    if (i >= words.required) templates.push_back(line);
    const sim::Param& param = words.params[std::min(i, words.params.size() - 1)];
    line += " " + placeholderOf(param.name);
  }
  templates.push_back(line);
  return templates;
}

// What a hook may run: the verbs a hook may run (the language allows no
// other), without the two that could end in a documented fatal assertion at
// a moment the fuzzer cannot see: `service` (its records may be gone by
// then) and `groupClosed G true` (the group may have no version allow-list
// by then).
std::vector<std::string_view> hookActions() {
  std::vector<std::string_view> actions;
  for (const std::string& line : commandTemplates()) {
    const std::string_view verb = std::string_view(line).substr(0, line.find(' '));
    if (sim::findVerb(verb)->hookMayRun && verb != "service" && verb != "groupClosed") actions.push_back(line);
  }
  actions.push_back("groupClosed {G} false");
  return actions;
}

// The `set` and `unset` lines of every place of the configuration schema,
// in the alphabet's words.
struct ConfigLines {
  std::vector<std::string> lines;
  std::vector<std::string> places;
};

std::string valueOf(const sim::SchemaNode& node) {
  using Kind = sim::ConfigValueKind;
  switch (node.kind) {
    case Kind::RecordType:
      return std::string(node.typeName);
    case Kind::Scalar:
      return node.attribute == "serviceName" ? "{service}" : "{ID}";
    case Kind::Bool:
      return "{BOOL}";
    case Kind::Filter:
      return node.attribute == "systemFilter" ? "{systemFilterRef}" : "{versionFilterRef}";
    case Kind::Fields:
      break;
  }
  std::string fields;
  for (const sim::FieldShape& field : node.fields) {
    // PATH in a field is a path of the controller's database, as HUBSTOREPATH.
    const std::string_view word = field.placeholder == "PATH" ? "HUBSTOREPATH" : field.placeholder;
    fields += (fields.empty() ? "" : " ") + std::string(field.name) + "=" + placeholderOf(word);
  }
  return fields;
}

void addConfigLines(const sim::SchemaNode& node, const std::string& parent, ConfigLines& out) {
  std::string place = parent.empty() ? std::string(node.attribute) : parent + "." + std::string(node.attribute);
  if (node.key != sim::KeyKind::None) place += "[" + placeholderOf(node.keyName) + "]";
  out.places.push_back(place);
  out.lines.push_back(place + " = " + valueOf(node));
  if (parent.empty()) out.lines.push_back(place + " = none");
  for (const sim::SchemaNode& member : node.members) addConfigLines(member, place, out);
}

const ConfigLines& configLines() {
  static const ConfigLines lines = [] {
    ConfigLines all;
    for (const sim::SchemaNode& root : sim::configRoots()) addConfigLines(root, "", all);
    return all;
  }();
  return lines;
}

const std::map<std::string_view, Kind, std::less<>>& kinds() {
  static const std::map<std::string_view, Kind, std::less<>> table = [] {
    const Kind list[] = {
        {"agent", true, {"agentB", "agentC"}},
        {"service", true, {"svcA", "svcB"}},
        {"G", true, {"g1", "g2", "g3"}},
        {"M", true, {"m1", "m2"}},
        {"L", true, {"L1", "L2"}},
        {"V", true, {"V1", "V2"}},
        // Three switches; the parser and the library accept colons, dashes
        // and dotted quads in either case. The last is no address at all.
        {"SYS",
         true,
         {"00:1c:73:00:00:01", "00-1C-73-00-00-01", "001c.7300.0001", "00:1c:73:00:00:02", "00-1c-73-00-00-02",
          "001C.7300.0002", "00:1C:73:00:00:03", "001c.7300.0003", "00:1c:73:zz:00:01"}},
        {"N", true, {"0", "1", "2", "3"}},
        {"REMOTE", true, {"/r/a", "/r/b", "/r/c"}},
        {"HUBSTOREPATH", true, {"/db/a", "/db/b", "/db/c"}},
        {"PREFIX", true, {"/mnt/a", "/mnt/b"}},
        {"TYPE", true, {"T", "U"}},
        {"FLAGS", true, {"F", "ro"}},
        {"ID", true, {"gen-1", "gen-2"}},
        {"PATH",
         true,
         {"controller/status", "controller/mount/config/service/agentB", "controller/mount/status/service/agentB",
          "controller/publish/config/service/agentB", "controller/publish/status/service/agentB",
          "controller/mount/config/service/agentC", "controller/mount/status/service/agentC",
          "controller/publish/config/service/agentC", "controller/publish/status/service/agentC"}},
        {"LEVELS|off", true, {"off", "0-9", "5,7", "8"}},
        {"BOOL", false, {"true", "false"}},
        {"STATE", false, {"unknown", "mounting", "mounted", "unmounted", "failed"}},
        {"recordType",
         false,
         {"Status", "ServiceMountConfig", "ServiceMountStatus", "ServicePublishConfig", "ServicePublishStatus"}},
        {"hook", false, {"doHandleControllerMountState", "doMountsComplete", "doInitialSwitchMountsComplete"}},
        // "none" first: encoding takes the first alternative that matches.
        {"M|none", false, {"none", "{M}"}},
        {"groupOrStar", false, {"*", "{G}"}},
        {"hookAction", false, hookActions()},
        {"L|none", false, {"none", "{L}"}},
        {"V|none", false, {"none", "{V}"}},
        {"systemFilterRef",
         false,
         {"none", "mountConfig.systemFilter[{L}]", "publishConfig.systemFilter[{L}]", "detached {L}"}},
        {"versionFilterRef",
         false,
         {"none", "mountConfig.versionFilter[{V}]", "publishConfig.versionFilter[{V}]", "detached {V}"}},
        // A `set` line: a place of the configuration records and a value;
        // an `unset` line: the place alone.
        {"configLine", false, {configLines().lines.begin(), configLines().lines.end()}},
        {"configPlace", false, {configLines().places.begin(), configLines().places.end()}},
    };
    std::map<std::string_view, Kind, std::less<>> byName;
    for (const Kind& kind : list) byName.emplace(kind.name, kind);
    return byName;
  }();
  return table;
}

const Kind& kindNamed(std::string_view name) {
  const auto found = kinds().find(name);
  if (found == kinds().end()) throw std::logic_error("the fuzzer's alphabet has no word for " + std::string(name));
  return found->second;
}

// A template as literal text and placeholders, in order.
struct Piece {
  bool placeholder;
  std::string_view text;  // the literal, or the kind's name
};

std::vector<Piece> piecesOf(std::string_view pattern) {
  std::vector<Piece> pieces;
  while (!pattern.empty()) {
    const std::size_t open = std::min(pattern.find('{'), pattern.size());
    if (open > 0) pieces.push_back({false, pattern.substr(0, open)});
    if (open == pattern.size()) break;
    const std::size_t close = pattern.find('}', open);
    pieces.push_back({true, pattern.substr(open + 1, close - open - 1)});
    pattern.remove_prefix(close + 1);
  }
  return pieces;
}

bool isLeaf(const Kind& kind) {
  return std::none_of(kind.alternatives.begin(), kind.alternatives.end(),
                      [](std::string_view alternative) { return alternative.find('{') != std::string_view::npos; });
}

// ---------------------------------------------------------------------------
// Decoding

// Appends the line `pattern` stands for, each choice among two or more
// alternatives read off `in`; false when the bytes run out first.
bool expandPattern(std::string_view pattern, std::span<const std::uint8_t>& in, std::string& out) {
  std::vector<Piece> pending = piecesOf(pattern);  // the next one last
  std::reverse(pending.begin(), pending.end());
  while (!pending.empty()) {
    const Piece piece = pending.back();
    pending.pop_back();
    if (!piece.placeholder) {
      out += piece.text;
      continue;
    }
    const Kind& kind = kindNamed(piece.text);
    std::size_t choice = 0;
    if (kind.alternatives.size() > 1) {
      if (in.empty()) return false;
      choice = in.front() % kind.alternatives.size();
      in = in.subspan(1);
    }
    const std::vector<Piece> pieces = piecesOf(kind.alternatives[choice]);
    pending.insert(pending.end(), pieces.rbegin(), pieces.rend());
  }
  return true;
}

// ---------------------------------------------------------------------------
// Encoding

// Per kind, which index each name of the text was given.
using Renaming = std::map<std::string_view, std::map<std::string, std::size_t, std::less<>>, std::less<>>;

// A word of the alphabet keeps its own index; any other word takes the
// first index no word of the text holds yet (all held: they wrap around).
// A name of the alphabet that comes later may so share its index with a
// renamed word, which only merges two objects of the seed.
std::size_t indexFor(const Kind& kind, const std::string& word, Renaming& renaming) {
  auto& given = renaming[kind.name];
  if (auto found = given.find(word); found != given.end()) return found->second;
  const auto own = std::find(kind.alternatives.begin(), kind.alternatives.end(), word);
  std::size_t index = static_cast<std::size_t>(own - kind.alternatives.begin());
  if (own == kind.alternatives.end()) {
    index = given.size() % kind.alternatives.size();
    // Downwards, so that the lowest free index is the last one taken.
    for (std::size_t candidate = kind.alternatives.size(); candidate-- > 0;) {
      if (std::none_of(given.begin(), given.end(), [&](const auto& entry) { return entry.second == candidate; })) {
        index = candidate;
      }
    }
  }
  given.emplace(word, index);
  return index;
}

struct Match {
  std::vector<std::uint8_t> bytes;
  Renaming renaming;
};

// Whether the pieces still to match (`pending`, the next one last) match
// `line` from `at` to its end. The first way that does, depth first in the
// order decode() reads the bytes, extends `match`. A word ends at a blank, at
// the end, or at the first character of the piece that follows.
bool matchRest(std::string_view line, std::size_t at, std::vector<Piece> pending, Match& match) {
  if (pending.empty()) return at == line.size();
  const Piece piece = pending.back();
  pending.pop_back();
  if (!piece.placeholder) {
    return line.substr(at, piece.text.size()) == piece.text && matchRest(line, at + piece.text.size(), pending, match);
  }
  const Kind& kind = kindNamed(piece.text);
  // Alternative `index` taken, the rest matched from `from`: `match` becomes `tried`.
  auto matchWith = [&](std::size_t index, std::size_t from, std::vector<Piece> next, Match tried) {
    if (kind.alternatives.size() > 1) tried.bytes.push_back(static_cast<std::uint8_t>(index));
    if (!matchRest(line, from, std::move(next), tried)) return false;
    match = std::move(tried);
    return true;
  };
  if (isLeaf(kind)) {
    const char stop = pending.empty() ? '\0' : pending.back().text.front();
    std::size_t end = at;
    while (end < line.size() && line[end] != ' ' && line[end] != stop) ++end;
    const std::string word(line.substr(at, end - at));
    const auto own = std::find(kind.alternatives.begin(), kind.alternatives.end(), word);
    if (word.empty() || (!kind.renamable && own == kind.alternatives.end())) return false;
    Match tried = match;
    const std::size_t index = kind.renamable ? indexFor(kind, word, tried.renaming)
                                             : static_cast<std::size_t>(own - kind.alternatives.begin());
    return matchWith(index, end, pending, std::move(tried));
  }
  for (std::size_t index = 0; index < kind.alternatives.size(); ++index) {
    std::vector<Piece> next = pending;
    const std::vector<Piece> pieces = piecesOf(kind.alternatives[index]);
    next.insert(next.end(), pieces.rbegin(), pieces.rend());
    if (matchWith(index, at, std::move(next), match)) return true;
  }
  return false;
}

// The line without its comment, its words joined by single blanks.
std::string normalized(std::string_view line) {
  std::istringstream words{std::string(line)};
  std::string out;
  std::string word;
  while (words >> word && word[0] != '#') out += (out.empty() ? "" : " ") + word;
  return out;
}

}  // namespace

const std::vector<std::string>& commandTemplates() {
  static const std::vector<std::string> templates = [] {
    std::vector<std::string> lines;
    for (const sim::VerbSection& section : sim::verbSections()) {
      for (const sim::Verb& verb : section.verbs) {
        if (leftOut(verb.name)) continue;
        for (std::string& line : templatesOf(verb)) lines.push_back(std::move(line));
      }
    }
    // One byte chooses the line.
    if (lines.size() > 256) throw std::logic_error("the fuzzer's alphabet needs a second byte for its lines");
    return lines;
  }();
  return templates;
}

std::string decode(std::span<const std::uint8_t> bytes) {
  const auto& slots = commandTemplates();
  std::string scenario;
  for (std::size_t commands = 0; commands < kMaxCommands && !bytes.empty(); ++commands) {
    const std::string_view slot = slots[bytes.front() % slots.size()];
    bytes = bytes.subspan(1);
    std::string line;
    if (!expandPattern(slot, bytes, line)) break;
    scenario += line + "\n";
  }
  return scenario;
}

Encoding encode(std::string_view scenario) {
  const auto& slots = commandTemplates();
  Encoding encoding;
  Renaming renaming;
  std::istringstream lines{std::string(scenario)};
  for (std::string text; std::getline(lines, text);) {
    const std::string line = normalized(text);
    if (line.empty()) continue;
    bool encoded = false;
    for (std::size_t slot = 0; slot < slots.size() && !encoded; ++slot) {
      Match match{{static_cast<std::uint8_t>(slot)}, renaming};
      const std::vector<Piece> pieces = piecesOf(slots[slot]);
      encoded = matchRest(line, 0, {pieces.rbegin(), pieces.rend()}, match);
      if (!encoded) continue;
      encoding.bytes.insert(encoding.bytes.end(), match.bytes.begin(), match.bytes.end());
      renaming = std::move(match.renaming);
    }
    if (!encoded) encoding.droppedLines.push_back(line);
  }
  return encoding;
}

}  // namespace hubstore::fuzz
