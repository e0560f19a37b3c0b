#include "tools/sim/output.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

#include "foundations/ferrolink.h"

namespace hubstore::sim {
namespace {

class OutputTest : public ::testing::Test {
 protected:
  // What has been written so far.
  std::string written() {
    std::fflush(file_.get());
    std::rewind(file_.get());
    std::string text;
    for (int c; (c = std::fgetc(file_.get())) != EOF;) text += static_cast<char>(c);
    return text;
  }

  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_{std::tmpfile(), &std::fclose};
  Output out_{file_.get()};
};

TEST_F(OutputTest, JsonLinesHoldTheKindThenTheFieldsInOrder) {
  out_.formatIs(OutputFormat::Json);
  out_.line(LineKind::Echo, "# ignored in json", {{"text", "a \"b\" c\\d"}});
  out_.traceLine(Controller::ferrolink, 7, "x\ty");
  out_.exceptionLine("Vex::InternalException", "line one\nline two");
  EXPECT_EQ(written(),
            R"({"kind":"echo","text":"a \"b\" c\\d"})" "\n"
            R"({"kind":"trace","level":7,"text":"x\ty"})" "\n"
            R"({"kind":"error","type":"Vex::InternalException","message":"line one\nline two"})" "\n");
}

TEST_F(OutputTest, ControlCharactersAreEscapedAndOtherBytesPassThrough) {
  EXPECT_EQ(jsonString(std::string("\x01\x1f\r\x7f", 4) + "\xc3\xa9"), "\"\\u0001\\u001f\\r\x7f\xc3\xa9\"");
}

TEST_F(OutputTest, QuietKeepsOnlyErrorLinesAndMutedDropsEverything) {
  out_.quietIs(true);
  out_.line(LineKind::Hook, "hook m1 doMountsComplete g1", {});
  out_.traceLine(Controller::ferrolink, 5, "hidden");
  out_.exceptionLine("T", "kept");
  {
    Output::Muted muted(out_);
    out_.exceptionLine("T", "muted");
  }
  EXPECT_EQ(written(), "error T: kept\n");
}

}  // namespace
}  // namespace hubstore::sim
