#pragma once
// A private sentinel for the store's tests: on 127.0.0.1, a free port,
// watching one master, its configuration file (which a sentinel rewrites) in
// a temporary directory of its own, stopped by its process id. Its timeouts
// are short, so that a failover takes seconds:
//
//   TestSentinel sentinel("main", master.port());
//   sentinel.address();                                  // "127.0.0.1:PORT"
//   sentinel.command({"SENTINEL", "ckquorum", "main"});  // "OK 3 usable ..."
//
// Every wait is bounded; a sentinel that does not come up fails the test.

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "redis/test_redis_server.h"

namespace hubstore::redis::testing {

// A reply as text: an array's elements (nested ones too) joined by blanks.
inline std::string replyText(const redisReply* reply) {
  if (!reply) return "(no reply)";
  switch (reply->type) {
    case REDIS_REPLY_INTEGER:
      return std::to_string(reply->integer);
    case REDIS_REPLY_NIL:
      return "(nil)";
    case REDIS_REPLY_ARRAY: {
      std::string text;
      for (std::size_t i = 0; i < reply->elements; ++i) text += (i ? " " : "") + replyText(reply->element[i]);
      return text;
    }
    default:
      return std::string(reply->str, reply->len);
  }
}

// One command on a fresh connection to 127.0.0.1:port, its reply as text.
inline std::string commandText(int port, const std::vector<std::string>& args) {
  redisContext* context = redisConnectWithTimeout("127.0.0.1", port, timeval{1, 0});
  if (!context || context->err) {
    if (context) redisFree(context);
    return "(not reached)";
  }
  std::vector<const char*> argv;
  std::vector<std::size_t> lengths;
  for (const std::string& arg : args) {
    argv.push_back(arg.data());
    lengths.push_back(arg.size());
  }
  auto* reply = static_cast<redisReply*>(
      redisCommandArgv(context, static_cast<int>(args.size()), argv.data(), lengths.data()));
  std::string text = replyText(reply);
  if (reply) freeReplyObject(reply);
  redisFree(context);
  return text;
}

class TestSentinel {
 public:
  TestSentinel(const std::string& masterName, int masterPort, int quorum = 2)
      : port_(TestRedisServer::freePort()) {
    char directory[] = "/tmp/hubstore-sentinel-XXXXXX";
    if (!mkdtemp(directory)) throw std::runtime_error("no temporary directory for a sentinel");
    directory_ = directory;
    const std::string config = directory_ + "/sentinel.conf";
    std::ofstream(config) << "port " << port_ << "\nbind 127.0.0.1\ndir " << directory_
                          << "\nsentinel monitor " << masterName << " 127.0.0.1 " << masterPort << " " << quorum
                          << "\nsentinel down-after-milliseconds " << masterName << " 1000"
                          << "\nsentinel failover-timeout " << masterName << " 3000\n";
    pid_ = TestRedisServer::spawn({HUBSTORE_REDIS_SENTINEL, config, "--loglevel", "warning"});
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < deadline) {
      if (command({"PING"}) == "PONG") return;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    stop();
    throw std::runtime_error("redis-sentinel did not start on port " + std::to_string(port_));
  }
  ~TestSentinel() { stop(); }
  TestSentinel(const TestSentinel&) = delete;
  TestSentinel& operator=(const TestSentinel&) = delete;

  int port() const { return port_; }
  std::string address() const { return "127.0.0.1:" + std::to_string(port_); }
  std::string command(const std::vector<std::string>& args) const { return commandText(port_, args); }

 private:
  void stop() {
    if (pid_ > 0) {
      ::kill(pid_, SIGTERM);
      waitpid(pid_, nullptr, 0);
      pid_ = -1;
    }
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
  }

  int port_;
  std::string directory_;
  pid_t pid_ = -1;
};

}  // namespace hubstore::redis::testing
