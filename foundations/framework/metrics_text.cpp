#include <hubstore/foundations/framework/metrics_text.h>

#include <charconv>
#include <cmath>

namespace Vex {

namespace {

void appendEscaped(std::string& out, std::string_view text, bool quotes) {
  for (const char c : text) {
    if (c == '\\') {
      out += "\\\\";
    } else if (c == '\n') {
      out += "\\n";
    } else if (quotes && c == '"') {
      out += "\\\"";
    } else {
      out += c;
    }
  }
}

const char* typeName(MetricsText::Type type) {
  switch (type) {
    case MetricsText::counter:
      return "counter";
    case MetricsText::gauge:
      return "gauge";
    case MetricsText::summary:
      return "summary";
  }
  return "untyped";
}

}  // namespace

void MetricsText::family(std::string_view name, Type type, std::string_view help) {
  text_ += "# HELP ";
  text_ += name;
  text_ += ' ';
  appendEscaped(text_, help, false);
  text_ += "\n# TYPE ";
  text_ += name;
  text_ += ' ';
  text_ += typeName(type);
  text_ += '\n';
}

void MetricsText::labels(std::initializer_list<Label> labels) {
  if (labels.size() == 0) return;
  char separator = '{';
  for (const Label& label : labels) {
    text_ += separator;
    text_ += label.name;
    text_ += "=\"";
    appendEscaped(text_, label.value, true);
    text_ += '"';
    separator = ',';
  }
  text_ += '}';
}

void MetricsText::sample(std::string_view name, std::initializer_list<Label> labelList, double value) {
  text_ += name;
  labels(labelList);
  text_ += ' ';
  if (std::isnan(value)) {
    text_ += "NaN";
  } else if (std::isinf(value)) {
    text_ += value > 0 ? "+Inf" : "-Inf";
  } else {
    char buffer[32];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    text_.append(buffer, end);
  }
  text_ += '\n';
}

void MetricsText::sample(std::string_view name, std::initializer_list<Label> labelList, std::uint64_t value) {
  text_ += name;
  labels(labelList);
  text_ += ' ';
  text_ += std::to_string(value);
  text_ += '\n';
}

}  // namespace Vex
