#pragma once
// bench::JsonRecord: one JSON object, built field by field in the order the
// fields are added: the store figures' machine-readable output.
//
//   JsonRecord record;
//   record.number("seconds", 1.25).integer("keys", 10003).text("error", what);
//   record.raw("samples", JsonRecord::array(samples));
//   std::puts(record.json().c_str());

#include <string>
#include <string_view>
#include <vector>

namespace bench {

class JsonRecord {
 public:
  JsonRecord& number(std::string_view name, double value);
  JsonRecord& integer(std::string_view name, long long value);
  JsonRecord& text(std::string_view name, std::string_view value);
  JsonRecord& numbers(std::string_view name, const std::vector<double>& values);
  // A value that is JSON already (an object, an array).
  JsonRecord& raw(std::string_view name, std::string_view json);

  std::string json() const { return "{" + fields_ + "}"; }
  static std::string array(const std::vector<std::string>& jsonElements);
  static std::string quoted(std::string_view text);

 private:
  void name(std::string_view name);

  std::string fields_;
};

}  // namespace bench
