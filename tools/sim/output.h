#pragma once
// The simulator's transcript on standard output: hook calls, trace lines,
// echo and dump lines, and the exceptions that left a library call, one line
// per event in the order they happen.
//
// It is also the trace sink, so the library's traces interleave with the hook
// lines exactly as they occur. Every line is flushed at once: a failed library
// assertion aborts the process, and what was printed before it must be there.
//
//   Output out(stdout);
//   Vex::traceSinkIs(&out);
//   out.line("dump begin");
//   { Output::Muted quiet(out); service = nullptr; }  // a teardown nobody sees
//
// quiet (--quiet) drops ordinary lines for the whole run but keeps exception
// lines; muted drops every line for a while, and nests.

#include <cstdio>
#include <string_view>

#include <hubstore/foundations/framework/trace.h>

namespace hubstore::sim {

class Output : public Vex::TraceSink {
 public:
  explicit Output(std::FILE* stream) : stream_(stream) {}
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  bool quiet() const { return quiet_; }
  void quietIs(bool quiet) { quiet_ = quiet; }
  bool muted() const { return mutedDepth_ > 0; }

  // An ordinary line: a hook call, echo, dump.
  void line(std::string_view text);
  // "error TYPE: MESSAGE" for an exception that left a library call.
  void exceptionLine(std::string_view type, std::string_view message);
  // "trace LEVEL TEXT".
  void traceLine(const Vex::TraceHandle& handle, int level, std::string_view text) override;

  // Mutes the output for its lifetime.
  class Muted {
   public:
    explicit Muted(Output& out) : out_(out) { ++out_.mutedDepth_; }
    ~Muted() { --out_.mutedDepth_; }
    Muted(const Muted&) = delete;
    Muted& operator=(const Muted&) = delete;

   private:
    Output& out_;
  };

 private:
  void write(std::string_view text);

  std::FILE* stream_;
  bool quiet_ = false;
  int mutedDepth_ = 0;
};

}  // namespace hubstore::sim
