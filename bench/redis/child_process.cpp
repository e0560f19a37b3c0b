#include "child_process.h"

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <stdexcept>

namespace bench {

std::string ChildProcess::Result::failure() const {
  if (timedOut) return "killed at its deadline";
  if (exitStatus == -1) return "killed by a signal";
  return "exit status " + std::to_string(exitStatus);
}

ChildProcess::Result ChildProcess::forked(const std::function<void(int out)>& body, std::chrono::seconds limit) {
  int out[2];
  if (pipe(out) != 0) throw std::runtime_error("pipe failed");
  std::fflush(nullptr);  // what stdio holds would be written twice
  const pid_t pid = fork();
  if (pid < 0) throw std::runtime_error("fork failed");
  if (pid == 0) {
    close(out[0]);
    int status = 0;
    try {
      body(out[1]);
    } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
      status = 1;
    }
    std::fflush(nullptr);
    _exit(status);
  }
  close(out[1]);
  return collect(pid, out[0], limit);
}

ChildProcess::Result ChildProcess::program(const std::vector<std::string>& argv, std::chrono::seconds limit) {
  int out[2];
  if (pipe(out) != 0) throw std::runtime_error("pipe failed");
  std::vector<char*> arguments;
  for (const std::string& argument : argv) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  std::fflush(nullptr);
  const pid_t pid = fork();
  if (pid < 0) throw std::runtime_error("fork failed");
  if (pid == 0) {
    close(out[0]);
    dup2(out[1], 1);
    close(out[1]);
    execv(arguments[0], arguments.data());
    std::fprintf(stderr, "cannot run %s\n", arguments[0]);
    _exit(127);
  }
  close(out[1]);
  return collect(pid, out[0], limit);
}

ChildProcess::Result ChildProcess::collect(int pid, int out, std::chrono::seconds limit) {
  Result result;
  const auto deadline = std::chrono::steady_clock::now() + limit;
  char buffer[4096];
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) {
      kill(pid, SIGKILL);
      result.timedOut = true;
      break;
    }
    pollfd readable{out, POLLIN, 0};
    if (poll(&readable, 1, static_cast<int>(left.count())) <= 0) continue;
    const ssize_t n = read(out, buffer, sizeof buffer);
    if (n <= 0) break;
    result.output.append(buffer, static_cast<std::size_t>(n));
  }
  close(out);
  int status = 0;
  waitpid(pid, &status, 0);
  if (!result.timedOut && WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
  return result;
}

}  // namespace bench
