#include <hubstore/redis/redis_replies.h>

#include <hiredis/hiredis.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace hubstore::redis::replies {

std::string_view text(const redisReply& reply) { return {reply.str ? reply.str : "", reply.len}; }

bool isError(const redisReply& reply) { return reply.type == REDIS_REPLY_ERROR; }

std::optional<Fields> hashFields(const redisReply& reply) {
  if (reply.type != REDIS_REPLY_ARRAY || reply.elements == 0) return std::nullopt;
  // Put in name order as views, which move cheaply, then copied once.
  std::vector<std::pair<std::string_view, std::string_view>> views;
  views.reserve(reply.elements / 2);
  for (std::size_t i = 0; i + 1 < reply.elements; i += 2) views.emplace_back(text(*reply.element[i]), text(*reply.element[i + 1]));
  // A writer's hash is in order but for a field or two (its "name" written
  // first): an insertion sort moves them in a pass, where it is short.
  const auto byName = [](const auto& a, const auto& b) { return a.first < b.first; };
  if (views.size() > 128) {
    std::sort(views.begin(), views.end(), byName);
  } else {
    for (std::size_t i = 1; i < views.size(); ++i) {
      for (std::size_t j = i; j > 0 && byName(views[j], views[j - 1]); --j) std::swap(views[j], views[j - 1]);
    }
  }
  std::vector<Fields::value_type> fields;
  fields.reserve(views.size());
  for (const auto& [name, value] : views) fields.emplace_back(std::string(name), std::string(value));
  return Fields::inOrder(std::move(fields));
}

std::string permissionNeeded(const redisReply& error, const std::string& permission) {
  return text(error).rfind("NOPERM", 0) == 0 ? " (the user needs " + permission + ")" : std::string();
}

}  // namespace hubstore::redis::replies
