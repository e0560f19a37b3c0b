#include "tools/sim/interactive_session.h"

#include <string>

#include "tools/sim/scenario_parser.h"

namespace hubstore::sim {

void runInteractiveSession(Simulator& simulator, std::istream& in, std::FILE* messages) {
  std::string line;
  for (int lineNo = 1; !simulator.ended(); ++lineNo) {
    std::fputs("hubstore-sim> ", messages);
    std::fflush(messages);
    if (!std::getline(in, line)) {
      std::fputc('\n', messages);  // the shell's prompt starts a line of its own
      break;
    }
    const ParseResult parsed = parseScenario("<stdin>", line, lineNo);
    for (const std::string& error : parsed.errors) std::fprintf(messages, "%s\n", error.c_str());
    simulator.run(parsed.commands, messages);
  }
  std::fflush(messages);
}

}  // namespace hubstore::sim
