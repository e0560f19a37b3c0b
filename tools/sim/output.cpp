#include "tools/sim/output.h"

#include <string>

namespace hubstore::sim {

void Output::line(std::string_view text) {
  if (!quiet_) write(text);
}

void Output::exceptionLine(std::string_view type, std::string_view message) {
  std::string text = "error ";
  text += type;
  text += ": ";
  text += message;
  write(text);
}

void Output::traceLine(const Vex::TraceHandle&, int level, std::string_view text) {
  if (quiet_ || muted()) return;  // spares building the line
  line("trace " + std::to_string(level) + " " + std::string(text));
}

void Output::write(std::string_view text) {
  if (muted()) return;
  std::fwrite(text.data(), 1, text.size(), stream_);
  std::fputc('\n', stream_);
  std::fflush(stream_);
}

}  // namespace hubstore::sim
