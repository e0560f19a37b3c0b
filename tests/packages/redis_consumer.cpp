// Links the store's library as installed and calls into it: the endpoint
// parser needs no server, and a wrong parse is a wrong library.
#include <cstdio>

#include <hubstore/redis/redis_endpoint.h>
#include <hubstore/version.h>

int main() {
  const auto endpoint = hubstore::redis::RedisEndpoint::parse("redis://127.0.0.1:6390/3");
  if (endpoint.describe() != "127.0.0.1:6390/3") {
    std::printf("redis_consumer: parsed as %s\n", endpoint.describe().c_str());
    return 1;
  }
  std::printf("redis_consumer: hubstore %s, endpoint %s\n", HUBSTORE_VERSION_STRING, endpoint.describe().c_str());
  return 0;
}
