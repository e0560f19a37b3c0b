#include <hubstore/redis/redis_endpoint.h>

#include <charconv>
#include <stdexcept>

namespace hubstore::redis {

namespace {

[[noreturn]] void invalid(std::string_view url, const std::string& why) {
  std::string message = "bad store URL '";
  message.append(url).append("': ").append(why);
  throw std::invalid_argument(message);
}

int number(std::string_view url, std::string_view text, const char* what, int max) {
  int value = -1;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size() || value < 0 || value > max) {
    std::string why(what);
    why.append(" '").append(text).append("' is not a number from 0 to ").append(std::to_string(max));
    invalid(url, why);
  }
  return value;
}

std::string percentDecoded(std::string_view url, std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      out += text[i];
      continue;
    }
    unsigned value = 0;
    if (i + 2 >= text.size() || std::from_chars(text.data() + i + 1, text.data() + i + 3, value, 16).ptr !=
                                         text.data() + i + 3) {
      invalid(url, "bad percent escape in the credentials");
    }
    out += static_cast<char>(value);
    i += 2;
  }
  return out;
}

// "user:password@rest" → the credentials, and `rest` what follows the '@'.
void takeCredentials(std::string_view url, std::string_view& rest, RedisEndpoint& endpoint) {
  const std::size_t at = rest.rfind('@');
  if (at == std::string_view::npos) return;
  const std::string_view credentials = rest.substr(0, at);
  rest.remove_prefix(at + 1);
  const std::size_t colon = credentials.find(':');
  if (colon == std::string_view::npos) invalid(url, "credentials are 'user:password' or ':password'");
  endpoint.user = percentDecoded(url, credentials.substr(0, colon));
  endpoint.password = percentDecoded(url, credentials.substr(colon + 1));
  if (endpoint.password.empty()) invalid(url, "empty password");
}

}  // namespace

RedisEndpoint RedisEndpoint::parse(std::string_view url) {
  RedisEndpoint endpoint;
  constexpr std::string_view redisScheme = "redis://";
  constexpr std::string_view unixScheme = "unix://";
  std::string_view rest = url;
  if (rest.substr(0, unixScheme.size()) == unixScheme) {
    rest.remove_prefix(unixScheme.size());
    takeCredentials(url, rest, endpoint);
    if (rest.empty() || rest[0] != '/') invalid(url, "a unix socket is given by its absolute path: unix:///path");
    endpoint.socketPath = std::string(rest);
    return endpoint;
  }
  if (rest.substr(0, redisScheme.size()) != redisScheme) {
    invalid(url, "expected redis://[user:password@]host:port[/db] or unix:///path");
  }
  rest.remove_prefix(redisScheme.size());
  takeCredentials(url, rest, endpoint);
  const std::size_t slash = rest.find('/');
  if (slash != std::string_view::npos) {
    endpoint.database = number(url, rest.substr(slash + 1), "database", 1 << 20);
    rest = rest.substr(0, slash);
  }
  const std::size_t colon = rest.rfind(':');
  if (colon != std::string_view::npos) {
    endpoint.port = number(url, rest.substr(colon + 1), "port", 65535);
    rest = rest.substr(0, colon);
  }
  if (rest.empty()) invalid(url, "no host");
  endpoint.host = std::string(rest);
  return endpoint;
}

std::string RedisEndpoint::describe() const {
  std::string text;
  if (socketPath.empty()) {
    text.append(host).append(":").append(std::to_string(port));
  } else {
    text.append("unix:").append(socketPath);
  }
  if (database != 0) text.append("/").append(std::to_string(database));
  return text;
}

}  // namespace hubstore::redis
