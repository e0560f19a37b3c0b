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

std::string percentDecoded(std::string_view url, std::string_view text, const char* what) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      out += text[i];
      continue;
    }
    unsigned value = 0;
    if (i + 2 >= text.size() || std::from_chars(text.data() + i + 1, text.data() + i + 3, value, 16).ptr !=
                                         text.data() + i + 3) {
      invalid(url, std::string("bad percent escape in ") + what);
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
  endpoint.user = percentDecoded(url, credentials.substr(0, colon), "the credentials");
  endpoint.password = percentDecoded(url, credentials.substr(colon + 1), "the credentials");
  if (endpoint.password.empty()) invalid(url, "empty password");
}

// "host[:port]"
RedisEndpoint::Address address(std::string_view url, std::string_view text, int defaultPort, const char* noHost) {
  RedisEndpoint::Address address{"", defaultPort};
  const std::size_t colon = text.rfind(':');
  if (colon != std::string_view::npos) {
    address.port = number(url, text.substr(colon + 1), "port", 65535);
    text = text.substr(0, colon);
  }
  if (text.empty()) invalid(url, noHost);
  address.host = std::string(text);
  return address;
}

}  // namespace

RedisEndpoint RedisEndpoint::parse(std::string_view url) {
  RedisEndpoint endpoint;
  constexpr std::string_view redisScheme = "redis://";
  constexpr std::string_view sentinelScheme = "redis-sentinel://";
  constexpr std::string_view unixScheme = "unix://";
  std::string_view rest = url;
  if (rest.substr(0, unixScheme.size()) == unixScheme) {
    rest.remove_prefix(unixScheme.size());
    takeCredentials(url, rest, endpoint);
    if (rest.empty() || rest[0] != '/') invalid(url, "a unix socket is given by its absolute path: unix:///path");
    endpoint.socketPath = std::string(rest);
    return endpoint;
  }
  const bool viaSentinels = rest.substr(0, sentinelScheme.size()) == sentinelScheme;
  if (!viaSentinels && rest.substr(0, redisScheme.size()) != redisScheme) {
    invalid(url,
            "expected redis://[user:password@]host:port[/db], "
            "redis-sentinel://[user:password@]host:port[,host:port...][/db]#master or unix:///path");
  }
  rest.remove_prefix(viaSentinels ? sentinelScheme.size() : redisScheme.size());
  if (viaSentinels) {
    // The name goes first: a password may hold a '#', percent-encoded or not.
    const std::size_t hash = rest.rfind('#');
    if (hash == std::string_view::npos) {
      invalid(url, "no master name: redis-sentinel://host:port[,host:port...][/db]#master");
    }
    endpoint.masterName = percentDecoded(url, rest.substr(hash + 1), "the master name");
    if (endpoint.masterName.empty()) invalid(url, "empty master name");
    rest = rest.substr(0, hash);
  }
  takeCredentials(url, rest, endpoint);
  const std::size_t slash = rest.find('/');
  if (slash != std::string_view::npos) {
    endpoint.database = number(url, rest.substr(slash + 1), "database", 1 << 20);
    rest = rest.substr(0, slash);
  }
  if (!viaSentinels) {
    Address server = address(url, rest, 6379, "no host");
    endpoint.host = std::move(server.host);
    endpoint.port = server.port;
    return endpoint;
  }
  while (true) {
    const std::size_t comma = rest.find(',');
    endpoint.sentinels.push_back(address(url, rest.substr(0, comma), 26379, "a sentinel without a host"));
    if (comma == std::string_view::npos) break;
    rest.remove_prefix(comma + 1);
  }
  return endpoint;
}

std::string RedisEndpoint::describe() const {
  std::string text;
  if (viaSentinels()) text.append("master ").append(masterName);
  if (viaSentinels() && host.empty()) {
    text.append(" via sentinels ");
    for (std::size_t i = 0; i < sentinels.size(); ++i) text.append(i ? "," : "").append(sentinels[i].describe());
  } else if (socketPath.empty()) {
    text.append(viaSentinels() ? " at " : "").append(host).append(":").append(std::to_string(port));
  } else {
    text.append("unix:").append(socketPath);
  }
  if (database != 0) text.append("/").append(std::to_string(database));
  return text;
}

}  // namespace hubstore::redis
