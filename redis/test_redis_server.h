#pragma once
// A private redis-server for the store's tests: on 127.0.0.1, a free port, no
// persistence, stopped (and restartable on the same port) by the test.
//
//   TestRedisServer server;                 // or TestRedisServer server("secret");
//   TestRedisServer replica("", {"--replicaof", "127.0.0.1", std::to_string(server.port())});
//   server.url();                           // "redis://127.0.0.1:PORT"
//   server.kill();  server.start();         // a restart that loses everything
//   server.stop();                          // a port that never answers
//   server.command({"HSET", "k", "f", "v"}); // "1"
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

// Queues `args` on `context`, binary-safe.
inline void appendCommand(redisContext* context, const std::vector<std::string>& args) {
  std::vector<const char*> argv;
  std::vector<std::size_t> lengths;
  for (const std::string& arg : args) {
    argv.push_back(arg.data());
    lengths.push_back(arg.size());
  }
  redisAppendCommandArgv(context, static_cast<int>(args.size()), argv.data(), lengths.data());
}

// A reply as text: an array's elements (nested ones too) joined by blanks.
inline std::string replyText(const redisReply* reply) {
  if (!reply) return "(no reply)";
  if (reply->type == REDIS_REPLY_INTEGER) return std::to_string(reply->integer);
  if (reply->type == REDIS_REPLY_NIL) return "(nil)";
  if (reply->type != REDIS_REPLY_ARRAY) return std::string(reply->str, reply->len);
  std::string text;
  for (std::size_t i = 0; i < reply->elements; ++i) {
    if (i) text += ' ';
    text += replyText(reply->element[i]);
  }
  return text;
}

class TestRedisServer {
 public:
  explicit TestRedisServer(std::string password = "", std::vector<std::string> extraArgs = {})
      : TestRedisServer({HUBSTORE_REDIS_SERVER}, std::move(password), std::move(extraArgs)) {}
  ~TestRedisServer() { kill(); }
  TestRedisServer(const TestRedisServer&) = delete;
  TestRedisServer& operator=(const TestRedisServer&) = delete;

  int port() const { return port_; }
  std::string address() const { return "127.0.0.1:" + std::to_string(port_); }
  std::string url() const { return "redis://" + (password_.empty() ? "" : ":" + password_ + "@") + address(); }

  void start() {
    std::vector<std::string> args = program_;
    args.insert(args.end(), {"--port", std::to_string(port_), "--bind", "127.0.0.1", "--save", "", "--appendonly", "no",
                             "--logfile", "", "--loglevel", "warning"});
    if (!password_.empty()) args.insert(args.end(), {"--requirepass", password_});
    args.insert(args.end(), extraArgs_.begin(), extraArgs_.end());
    pid_ = fork();
    if (pid_ == 0) {
      const int null = open("/dev/null", O_WRONLY);
      dup2(null, 1);
      dup2(null, 2);
      std::vector<char*> argv;
      for (std::string& arg : args) argv.push_back(arg.data());
      argv.push_back(nullptr);
      execv(argv[0], argv.data());
      _exit(127);
    }
    for (int tries = 0; tries < 1000; ++tries) {  // 10 s
      if (command({"PING"}) == "PONG") return;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    kill();
    throw std::runtime_error(program_[0] + " did not start on port " + std::to_string(port_));
  }

  // SIGSTOP: the kernel still accepts connections, and nothing answers them.
  void stop() const { ::kill(pid_, SIGSTOP); }

  // SIGKILL: the server loses every key, as a crash without persistence does.
  void kill(int signal = SIGKILL) {
    if (pid_ <= 0) return;
    ::kill(pid_, signal);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
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
    if (!password_.empty()) freeReplyObject(redisCommand(context, "AUTH %s", password_.c_str()));
    return context;
  }

  // One command on a fresh connection, its reply as text.
  std::string command(const std::vector<std::string>& args) const {
    redisContext* context = connect();
    if (!context) return "(not reached)";
    appendCommand(context, args);
    void* reply = nullptr;
    redisGetReply(context, &reply);
    std::string text = replyText(static_cast<redisReply*>(reply));
    freeReplyObject(reply);
    redisFree(context);
    return text;
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
      freeReplyObject(hash);
    }
    freeReplyObject(keys);
    redisFree(context);
    return hashes;
  }

 protected:
  // `program`: the server's path and the arguments that go before the options.
  TestRedisServer(std::vector<std::string> program, std::string password, std::vector<std::string> extraArgs)
      : program_(std::move(program)), password_(std::move(password)), extraArgs_(std::move(extraArgs)),
        port_(freePort()) {
    start();
  }

 protected:
  std::vector<std::string> program_;

 private:
  std::string password_;
  std::vector<std::string> extraArgs_;
  int port_;
  pid_t pid_ = -1;
};

}  // namespace hubstore::redis::testing
