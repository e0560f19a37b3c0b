#pragma once
/// \class hubstore::redis::RedisStoreError
/// The store could not be opened (the server
/// is not there, refused the login, or did not answer in time). The message
/// says which, and where.

#include <stdexcept>
#include <string>

namespace hubstore::redis {

class RedisStoreError : public std::runtime_error {
 public:
  /// An error saying `message`.
  explicit RedisStoreError(const std::string& message) : std::runtime_error(message) {}
};

}  // namespace hubstore::redis
