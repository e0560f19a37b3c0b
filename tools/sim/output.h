#pragma once
// The simulator's transcript on standard output: hook calls, trace lines,
// echo, dump, help, explain and hookCounts lines, and the exceptions that
// left a library call, one line per event in the order they happen.
//
// Each line has a kind and named fields besides its text. The transcript
// prints the text; --json prints one JSON object per line instead, its kind
// first and then its fields in the order given:
//
//   out.line(LineKind::Hook, "hook m1 doMountsComplete g1",
//            {{"mounter", "m1"}, {"hook", "doMountsComplete"}, {"group", "g1"}});
//   // transcript: hook m1 doMountsComplete g1
//   // json:       {"kind":"hook","mounter":"m1","hook":"doMountsComplete","group":"g1"}
//
// A new kind of line is a new LineKind with its name in lineKindName().
//
// It is also the trace sink, so the library's traces interleave with the hook
// lines exactly as they occur. Every line is flushed at once: a failed library
// assertion aborts the process, and what was printed before it must be there.
//
//   Output out(stdout);
//   Vex::traceSinkIs(&out);
//   { Output::Muted quiet(out); service = nullptr; }  // a teardown nobody sees
//
// quiet (--quiet) drops every line but the error lines for the whole run;
// muted drops every line for a while, and nests.

#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>

#include <hubstore/foundations/framework/trace.h>

namespace hubstore::sim {

enum class LineKind { Hook, Trace, Error, Dump, Echo, Help, Explain, HookCounts, Metrics };

// The kind's name in a JSON line: "hook", "trace", ...
std::string_view lineKindName(LineKind kind);

enum class OutputFormat { Transcript, Json };

// One named value of a line: a text, or a number.
struct LineField {
  std::string_view name;
  std::variant<std::string, std::int64_t> value;
};

class Output : public Vex::TraceSink {
 public:
  explicit Output(std::FILE* stream) : stream_(stream) {}
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  bool quiet() const { return quiet_; }
  void quietIs(bool quiet) { quiet_ = quiet; }
  bool muted() const { return mutedDepth_ > 0; }
  OutputFormat format() const { return format_; }
  void formatIs(OutputFormat format) { format_ = format; }

  void line(LineKind kind, std::string_view text, std::initializer_list<LineField> fields);
  // Each line of `text` as a line of `kind` whose one field is "line".
  void lines(LineKind kind, std::string_view text);
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
  bool dropped(LineKind kind) const { return muted() || (quiet_ && kind != LineKind::Error); }
  void write(std::string_view text);

  std::FILE* stream_;
  bool quiet_ = false;
  OutputFormat format_ = OutputFormat::Transcript;
  int mutedDepth_ = 0;
};

// `text` as a JSON string, quotes included. Bytes of 0x80 and above pass
// through as they are: a text in UTF-8 stays valid, one in another encoding
// does not.
std::string jsonString(std::string_view text);

}  // namespace hubstore::sim
