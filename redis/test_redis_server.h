#pragma once
// A private redis-server for the store's tests: on 127.0.0.1, a free port, no
// persistence, stopped (and restartable on the same port) by the test.
//
//   TestRedisServer server;                 // or TestRedisServer server("secret");
//   TestRedisServer replica("", {"--replicaof", "127.0.0.1", std::to_string(server.port())});
//   server.url();                           // "redis://127.0.0.1:PORT"
//   server.kill();  server.start();         // a restart that loses everything
//   server.hashes("agentB:*");              // each hash key and its fields
//
// Every wait is bounded; a server that does not come up fails the test.

#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <hiredis/hiredis.h>

#include <hubstore/redis/fields.h>

namespace hubstore::redis::testing {

class TestRedisServer {
 public:
  explicit TestRedisServer(std::string password = "", std::vector<std::string> extraArgs = {})
      : password_(std::move(password)), extraArgs_(std::move(extraArgs)), port_(freePort()) {
    start();
  }
  ~TestRedisServer() { kill(SIGTERM); }
  TestRedisServer(const TestRedisServer&) = delete;
  TestRedisServer& operator=(const TestRedisServer&) = delete;

  int port() const { return port_; }
  std::string url() const {
    return "redis://" + (password_.empty() ? std::string() : ":" + password_ + "@") + "127.0.0.1:" +
           std::to_string(port_);
  }

  void start() {
    const std::string port = std::to_string(port_);
    std::vector<std::string> args{HUBSTORE_REDIS_SERVER, "--port", port, "--bind", "127.0.0.1", "--save", "",
                                  "--appendonly", "no", "--logfile", "", "--loglevel", "warning"};
    if (!password_.empty()) {
      args.push_back("--requirepass");
      args.push_back(password_);
    }
    args.insert(args.end(), extraArgs_.begin(), extraArgs_.end());
    pid_ = spawn(std::move(args));
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < deadline) {
      if (auto* context = connect()) {
        redisFree(context);
        return;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    throw std::runtime_error("redis-server did not start on port " + port);
  }

  // SIGKILL: the server loses every key, as a crash without persistence does.
  void kill(int signal = SIGKILL) {
    if (pid_ <= 0) return;
    ::kill(pid_, signal);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
  }

  // Starts `args` (the program's path first) with its output discarded.
  static pid_t spawn(std::vector<std::string> args) {
    const pid_t pid = fork();
    if (pid == 0) {
      const int null = open("/dev/null", O_WRONLY);
      dup2(null, 1);
      dup2(null, 2);
      std::vector<char*> argv;
      for (std::string& arg : args) argv.push_back(arg.data());
      argv.push_back(nullptr);
      execv(argv[0], argv.data());
      _exit(127);
    }
    return pid;
  }

  static int freePort() {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    close(fd);
    return ntohs(address.sin_port);
  }

  // A plain blocking connection, logged in; null when the server is not up.
  redisContext* connect() const {
    redisContext* context = redisConnectWithTimeout("127.0.0.1", port_, timeval{1, 0});
    if (!context || context->err) {
      if (context) redisFree(context);
      return nullptr;
    }
    if (!password_.empty()) {
      auto* reply = static_cast<redisReply*>(redisCommand(context, "AUTH %s", password_.c_str()));
      if (reply) freeReplyObject(reply);
    }
    return context;
  }

  // Each hash whose key matches `pattern` (other types are left out); none
  // when the server is not up.
  std::map<std::string, Fields> hashes(const std::string& pattern) const {
    std::map<std::string, Fields> hashes;
    redisContext* context = connect();
    if (!context) return hashes;
    auto* keys = static_cast<redisReply*>(redisCommand(context, "KEYS %s", pattern.c_str()));
    for (std::size_t i = 0; keys && keys->type == REDIS_REPLY_ARRAY && i < keys->elements; ++i) {
      const std::string key(keys->element[i]->str, keys->element[i]->len);
      auto* hash = static_cast<redisReply*>(redisCommand(context, "HGETALL %b", key.data(), key.size()));
      for (std::size_t j = 0; hash && hash->type == REDIS_REPLY_ARRAY && j + 1 < hash->elements; j += 2) {
        hashes[key][std::string(hash->element[j]->str, hash->element[j]->len)] =
            std::string(hash->element[j + 1]->str, hash->element[j + 1]->len);
      }
      if (hash) freeReplyObject(hash);
    }
    if (keys) freeReplyObject(keys);
    redisFree(context);
    return hashes;
  }

 private:
  std::string password_;
  std::vector<std::string> extraArgs_;
  int port_;
  pid_t pid_ = -1;
};

}  // namespace hubstore::redis::testing
