#include <hubstore/testing/trace_capture.h>

#include <stdexcept>

#include <hubstore/foundations/framework/ferrolink.h>

namespace Controller::testing {

TraceCapture::TraceCapture(const std::string& levels)
    : previousSink_(Vex::traceSink()), previousLevels_(ferrolink.levels()) {
  levelsIs(levels);
  Vex::traceSinkIs(&sink_);
}

TraceCapture::~TraceCapture() {
  Vex::traceSinkIs(previousSink_);
  ferrolink.levelsIs(previousLevels_);
}

void TraceCapture::levelsIs(const std::string& levels) {
  const auto mask = Vex::parseTraceLevels(levels);
  if (!mask) throw std::invalid_argument("bad trace levels '" + levels + "'");
  ferrolink.levelsIs(*mask);
  sink_.clear();
}

}  // namespace Controller::testing
