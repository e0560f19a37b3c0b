#pragma once
// bench::ChildProcess: a measurement run in a process of its own, so that the
// heap and the peak RSS it reports are its own and nothing it leaves behind
// weighs on the next one. What the child writes to its output is collected.
// Every wait is bounded: a child still running at its deadline is killed by
// its process id, and the result says so.
//
//   auto result = ChildProcess::forked([&](int out) { write(out, ...); }, 120s);
//   auto floor = ChildProcess::program({"/path/floor", "6390", "agentB"}, 120s);
//   if (!result.ok()) ... result.failure() ...

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace bench {

class ChildProcess {
 public:
  struct Result {
    std::string output;
    int exitStatus = -1;  // -1: killed by a signal or at the deadline
    bool timedOut = false;
    bool ok() const { return exitStatus == 0 && !timedOut; }
    std::string failure() const;
  };

  // Runs `body` in a forked child, which writes its output to the descriptor
  // it is given and then ends with _exit: the parent's destructors (its
  // servers) never run in it. An exception out of `body` is its exit status 1,
  // the exception's text on stderr.
  static Result forked(const std::function<void(int out)>& body, std::chrono::seconds limit);
  // Runs a program (argv[0] is its path); its standard output is collected.
  static Result program(const std::vector<std::string>& argv, std::chrono::seconds limit);

 private:
  static Result collect(int pid, int out, std::chrono::seconds limit);
};

}  // namespace bench
