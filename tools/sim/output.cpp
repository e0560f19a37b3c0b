#include "tools/sim/output.h"

#include <algorithm>
#include <string>

namespace hubstore::sim {

std::string_view lineKindName(LineKind kind) {
  switch (kind) {
    case LineKind::Hook:
      return "hook";
    case LineKind::Trace:
      return "trace";
    case LineKind::Error:
      return "error";
    case LineKind::Dump:
      return "dump";
    case LineKind::Echo:
      return "echo";
    case LineKind::Help:
      return "help";
    case LineKind::Explain:
      return "explain";
    case LineKind::HookCounts:
      return "hookCounts";
    case LineKind::Metrics:
      return "metrics";
  }
  return "?";
}

std::string jsonString(std::string_view text) {
  static constexpr char kHex[] = "0123456789abcdef";
  std::string out = "\"";
  for (const char c : text) {
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          out += "\\u00";
          out += kHex[(c >> 4) & 0xf];
          out += kHex[c & 0xf];
        } else {
          out += c;
        }
    }
  }
  out += '"';
  return out;
}

void Output::lines(LineKind kind, std::string_view text) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string line(text.substr(0, end));
    this->line(kind, line, {{"line", line}});
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

void Output::line(LineKind kind, std::string_view text, std::initializer_list<LineField> fields) {
  if (dropped(kind)) return;
  if (format_ == OutputFormat::Transcript) {
    write(text);
    return;
  }
  std::string json = "{\"kind\":" + jsonString(lineKindName(kind));
  for (const LineField& field : fields) {
    json += ',' + jsonString(field.name) + ':';
    if (const auto* number = std::get_if<std::int64_t>(&field.value)) {
      json += std::to_string(*number);
    } else {
      json += jsonString(std::get<std::string>(field.value));
    }
  }
  json += '}';
  write(json);
}

void Output::exceptionLine(std::string_view type, std::string_view message) {
  line(LineKind::Error, "error " + std::string(type) + ": " + std::string(message),
       {{"type", std::string(type)}, {"message", std::string(message)}});
}

void Output::traceLine(const Vex::TraceHandle&, int level, std::string_view text) {
  if (dropped(LineKind::Trace)) return;  // spares building the line
  line(LineKind::Trace, "trace " + std::to_string(level) + " " + std::string(text),
       {{"level", level}, {"text", std::string(text)}});
}

void Output::write(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stream_);
  std::fputc('\n', stream_);
  std::fflush(stream_);
}

}  // namespace hubstore::sim
