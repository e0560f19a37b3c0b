#include <hubstore/redis/redis_key_schema.h>

namespace hubstore::redis {

namespace {

constexpr const char* kRecordNames[] = {"status", "mountConfig", "mountStatus", "publishConfig", "publishStatus"};

bool needsQuotes(std::string_view key) {
  return key.empty() || key.find_first_of(" \t\"=[]\\") != std::string_view::npos;
}

// Reads a KEY from `text` up to its closing ']', which it consumes.
std::optional<std::string> takeKey(std::string_view& text) {
  std::string key;
  if (!text.empty() && text[0] == '"') {
    std::size_t i = 1;
    for (; i < text.size() && text[i] != '"'; ++i) {
      if (text[i] == '\\' && i + 1 < text.size()) ++i;
      key += text[i];
    }
    if (i + 1 >= text.size() || text[i + 1] != ']') return std::nullopt;
    text.remove_prefix(i + 2);
    return key;
  }
  const std::size_t close = text.find(']');
  if (close == std::string_view::npos) return std::nullopt;
  key = std::string(text.substr(0, close));
  text.remove_prefix(close + 1);
  return key;
}

}  // namespace

Side sideOf(RecordSlot slot) {
  return slot == RecordSlot::mountConfig || slot == RecordSlot::publishConfig ? Side::config : Side::status;
}

RedisKeySchema::RedisKeySchema(std::string agentName)
    : agentName_(std::move(agentName)), prefix_(agentName_ + ":") {}

std::string RedisKeySchema::pattern() const {
  std::string glob;
  for (char c : prefix_) {
    if (c == '*' || c == '?' || c == '[' || c == ']' || c == '\\') glob += '\\';
    glob += c;
  }
  return glob + "*";
}

const char* RedisKeySchema::recordName(RecordSlot record) { return kRecordNames[static_cast<int>(record)]; }

std::string RedisKeySchema::recordPath(RecordSlot record) const {
  switch (record) {
    case RecordSlot::status:
      return "controller/status";
    case RecordSlot::mountConfig:
      return "controller/mount/config/service/" + agentName_;
    case RecordSlot::mountStatus:
      return "controller/mount/status/service/" + agentName_;
    case RecordSlot::publishConfig:
      return "controller/publish/config/service/" + agentName_;
    case RecordSlot::publishStatus:
      return "controller/publish/status/service/" + agentName_;
  }
  return {};
}

std::optional<RecordSlot> RedisKeySchema::recordAtPath(std::string_view path) const {
  for (RecordSlot slot : kRecordSlots) {
    if (recordPath(slot) == path) return slot;
  }
  return std::nullopt;
}

std::string RedisKeySchema::recordKey(RecordSlot record) const { return prefix_ + recordName(record); }

std::string RedisKeySchema::memberKey(std::string_view parent, std::string_view attribute, std::string_view key) {
  std::string text(parent);
  text += '.';
  text += attribute;
  text += '[';
  text += quoted(key);
  text += ']';
  return text;
}

std::optional<RedisKeySchema::Path> RedisKeySchema::parse(std::string_view key) const {
  if (key.substr(0, prefix_.size()) != prefix_) return std::nullopt;
  return parseRelative(key.substr(prefix_.size()));
}

std::optional<RedisKeySchema::Path> RedisKeySchema::parseRelative(std::string_view key) {
  const std::size_t end = key.find('.');
  const std::string_view record = key.substr(0, end);
  Path path{RecordSlot::status, {}};
  bool known = false;
  for (RecordSlot slot : kRecordSlots) {
    if (record == recordName(slot)) {
      path.record = slot;
      known = true;
    }
  }
  if (!known) return std::nullopt;
  key.remove_prefix(record.size());
  while (!key.empty()) {
    const std::size_t open = key.find('[');
    if (key[0] != '.' || open == std::string_view::npos || open == 1) return std::nullopt;
    Step step{std::string(key.substr(1, open - 1)), {}};
    key.remove_prefix(open + 1);
    auto member = takeKey(key);
    if (!member) return std::nullopt;
    step.key = std::move(*member);
    path.steps.push_back(std::move(step));
  }
  return path;
}

bool RedisKeySchema::isWithin(std::string_view key, std::string_view ancestor) {
  if (key.substr(0, ancestor.size()) != ancestor) return false;
  return key.size() == ancestor.size() || key[ancestor.size()] == '.';
}

std::optional<std::string> RedisKeySchema::unquoted(std::string_view text) {
  std::string bracketed = std::string(text) + "]";
  std::string_view rest = bracketed;
  auto key = takeKey(rest);
  if (!key || !rest.empty()) return std::nullopt;
  return key;
}

std::string RedisKeySchema::quoted(std::string_view key) {
  if (!needsQuotes(key)) return std::string(key);
  std::string text = "\"";
  for (char c : key) {
    if (c == '"' || c == '\\') text += '\\';
    text += c;
  }
  return text + "\"";
}

}  // namespace hubstore::redis
