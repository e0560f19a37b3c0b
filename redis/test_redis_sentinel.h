#pragma once
// A private sentinel for the store's tests: a TestRedisServer in sentinel
// mode watching one master, its configuration file (which a sentinel
// rewrites) in a temporary directory of its own. Its timeouts are short, so
// that a failover takes seconds:
//
//   TestSentinel sentinel("main", master.port());
//   sentinel.command({"SENTINEL", "ckquorum", "main"});  // "OK 3 usable ..."

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "redis/test_redis_server.h"

namespace hubstore::redis::testing {

class TestSentinel : public TestRedisServer {
 public:
  TestSentinel(const std::string& masterName, int masterPort, int quorum = 2)
      : TestRedisServer({HUBSTORE_REDIS_SENTINEL, configFile(masterName, masterPort, quorum)}, "", {}) {}
  ~TestSentinel() {
    kill(SIGTERM);
    std::error_code ignored;
    std::filesystem::remove_all(std::filesystem::path(program_[1]).parent_path(), ignored);
  }

 private:
  static std::string configFile(const std::string& masterName, int masterPort, int quorum) {
    char directory[] = "/tmp/hubstore-sentinel-XXXXXX";
    if (!mkdtemp(directory)) throw std::runtime_error("no temporary directory for a sentinel");
    const std::string file = std::string(directory) + "/sentinel.conf";
    std::ofstream(file) << "dir " << directory << "\nsentinel monitor " << masterName << " 127.0.0.1 "
                        << masterPort << " " << quorum << "\nsentinel down-after-milliseconds " << masterName
                        << " 1000\nsentinel failover-timeout " << masterName << " 3000\n";
    return file;
  }
};

}  // namespace hubstore::redis::testing
