#include "json_record.h"

#include <cmath>
#include <cstdio>

namespace bench {

JsonRecord& JsonRecord::number(std::string_view field, double value) {
  name(field);
  if (!std::isfinite(value)) {
    fields_ += "null";
    return *this;
  }
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", value);
  fields_ += text;
  return *this;
}

JsonRecord& JsonRecord::integer(std::string_view field, long long value) {
  name(field);
  fields_ += std::to_string(value);
  return *this;
}

JsonRecord& JsonRecord::text(std::string_view field, std::string_view value) {
  name(field);
  fields_ += quoted(value);
  return *this;
}

JsonRecord& JsonRecord::numbers(std::string_view field, const std::vector<double>& values) {
  std::vector<std::string> elements;
  for (const double value : values) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    elements.push_back(std::isfinite(value) ? text : "null");
  }
  return raw(field, array(elements));
}

JsonRecord& JsonRecord::raw(std::string_view field, std::string_view json) {
  name(field);
  fields_ += json;
  return *this;
}

std::string JsonRecord::array(const std::vector<std::string>& jsonElements) {
  std::string json = "[";
  for (const std::string& element : jsonElements) {
    if (json.size() > 1) json += ", ";
    json += element;
  }
  return json + "]";
}

std::string JsonRecord::quoted(std::string_view text) {
  std::string json = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      json += '\\';
      json += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
      json += escaped;
    } else {
      json += c;
    }
  }
  return json + "\"";
}

void JsonRecord::name(std::string_view field) {
  if (!fields_.empty()) fields_ += ", ";
  fields_ += quoted(field);
  fields_ += ": ";
}

}  // namespace bench
