#pragma once
// Commands typed at a terminal, each run as soon as its line is entered, in
// one simulated world. The prompt and the error messages go to `messages`
// (standard error), so that standard output holds the transcript alone, as
// it does for a file. An error of a line (a syntax error, a command that
// cannot run) is reported and the session goes on; end of input or `quit`
// ends it. A failed library assertion still ends the process.
//
//   Simulator simulator(out);
//   runInteractiveSession(simulator, std::cin, stderr);

#include <cstdio>
#include <istream>

#include "tools/sim/simulator.h"

namespace hubstore::sim {

// The lines are named <stdin>:N in messages, N counting from 1.
void runInteractiveSession(Simulator& simulator, std::istream& in, std::FILE* messages);

}  // namespace hubstore::sim
