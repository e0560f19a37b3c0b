#include "fleet_loader.h"

#include <stdexcept>

namespace bench {

namespace {

// Replies read back at a time: enough to keep the server busy, little to hold.
constexpr int kPipelineDepth = 1000;

void check(const redisContext* context, redisReply* reply) {
  if (!reply) throw std::runtime_error(std::string("redis: ") + context->errstr);
  if (reply->type == REDIS_REPLY_ERROR) {
    const std::string message(reply->str, reply->len);
    freeReplyObject(reply);
    throw std::runtime_error("redis: " + message);
  }
}

}  // namespace

FleetLoader::FleetLoader(redisContext* context, Fleet fleet) : context_(context), fleet_(std::move(fleet)) {
  for (int g = 0; g < fleet_.groups; ++g) {
    groupFields_.push_back(Fleet::groupField(g));
    groupFields_.push_back("mounted");
  }
}

void FleetLoader::load() {
  append({"HSET", fleet_.agent + ":status", "name", "status", "leaderGenId", "1"});
  append({"HSET", fleet_.agent + ":mountStatus", "name", fleet_.agent});
  append({"HSET", fleet_.agent + ":publishStatus", "name", fleet_.agent});
  for (int s = 0; s < fleet_.switches; ++s) appendSwitch(s);
  drain();
}

void FleetLoader::switchRestore(int index) {
  appendSwitch(index);
  drain();
}

void FleetLoader::appendSwitch(int index) {
  std::vector<std::string> arguments{"HSET", fleet_.switchKey(index), "name", Fleet::switchName(index)};
  arguments.insert(arguments.end(), groupFields_.begin(), groupFields_.end());
  append(arguments);
}

void FleetLoader::configurationDel() {
  for (const char* record : {":mountConfig*", ":publishConfig*"}) {
    std::string cursor = "0";
    do {
      redisReply* page = command({"SCAN", cursor, "MATCH", fleet_.agent + record, "COUNT", "1000"});
      cursor = page->element[0]->str;
      const redisReply* keys = page->element[1];
      if (keys->elements > 0) {
        std::vector<std::string> del{"DEL"};
        for (std::size_t i = 0; i < keys->elements; ++i) del.emplace_back(keys->element[i]->str, keys->element[i]->len);
        freeReplyObject(command(del));
      }
      freeReplyObject(page);
    } while (cursor != "0");
  }
}

std::string FleetLoader::info(const std::string& section, const std::string& field) {
  redisReply* reply = command({"INFO", section});
  // Each line "field:value"; the first line is a "# Section" title.
  const std::string text(reply->str, reply->len);
  freeReplyObject(reply);
  std::string line = "\n";
  line += field;
  line += ':';
  const std::size_t at = text.find(line);
  if (at == std::string::npos) return "";
  const std::size_t start = at + line.size();
  return text.substr(start, text.find_first_of("\r\n", start) - start);
}

long long FleetLoader::keys() {
  redisReply* reply = command({"DBSIZE"});
  const long long count = reply->integer;
  freeReplyObject(reply);
  return count;
}

void FleetLoader::append(const std::vector<std::string>& arguments) {
  std::vector<const char*> argv;
  std::vector<std::size_t> lengths;
  for (const std::string& argument : arguments) {
    argv.push_back(argument.data());
    lengths.push_back(argument.size());
  }
  redisAppendCommandArgv(context_, static_cast<int>(argv.size()), argv.data(), lengths.data());
  if (++pending_ == kPipelineDepth) drain();
}

void FleetLoader::drain() {
  for (; pending_ > 0; --pending_) {
    void* reply = nullptr;
    redisGetReply(context_, &reply);
    check(context_, static_cast<redisReply*>(reply));
    freeReplyObject(reply);
  }
}

redisReply* FleetLoader::command(const std::vector<std::string>& arguments) {
  drain();
  append(arguments);
  void* reply = nullptr;
  redisGetReply(context_, &reply);
  --pending_;
  auto* typed = static_cast<redisReply*>(reply);
  check(context_, typed);
  return typed;
}

}  // namespace bench
