// The libFuzzer entry: bytes become a scenario (command_alphabet.h), the
// scenario runs in a fresh simulated world under the invariants of
// fuzz_run.h.

#include <cstddef>
#include <cstdint>
#include <string>

#include "tests/fuzz/command_alphabet.h"
#include "tests/fuzz/fuzz_run.h"
#include "tools/sim/scenario_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string scenario = hubstore::fuzz::decode({data, size});
  // Lines the parser refuses (an allow-list entry for the malformed switch)
  // are left out; the others run.
  const hubstore::sim::ParseResult parsed = hubstore::sim::parseScenario("fuzz", scenario);
  hubstore::fuzz::FuzzRun run(scenario);
  for (const hubstore::sim::Command& command : parsed.commands) run.step(command);
  run.finish();
  return 0;
}
