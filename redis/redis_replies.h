#pragma once
// hubstore::redis::replies: what the store's parts read out of a server's
// reply (redisReply, which RedisConnection hands to each command's callback).

#include <optional>
#include <string>
#include <string_view>

#include <hubstore/redis/fields.h>

struct redisReply;

namespace hubstore::redis::replies {

// A string, status or error reply's text; "" for the others.
std::string_view text(const redisReply& reply);
bool isError(const redisReply& reply);
// A hash's fields (HGETALL), or nullopt for a key that does not exist (an
// empty hash).
std::optional<Fields> hashFields(const redisReply& reply);
// " (the user needs PERMISSION)" when `error` is a missing permission (NOPERM).
std::string permissionNeeded(const redisReply& error, const std::string& permission);

}  // namespace hubstore::redis::replies
