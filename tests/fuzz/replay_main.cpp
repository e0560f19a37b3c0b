// Runs fuzz inputs once each through the fuzz target without libFuzzer, so
// that builds made with another compiler replay the corpus too:
//   hubstore_fuzz_replay [--open TEXT] DIR_OR_FILE...
// A violated invariant aborts, as it does under the fuzzer. With --open, the
// inputs must still meet the open finding TEXT (open_findings.txt): the run
// fails once it is fixed, so that its line there is removed.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tests/fuzz/fuzz_run.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  std::string open;
  std::set<std::filesystem::path> inputs;  // in name order
  for (int i = 1; i < argc; ++i) {
    const std::string_view arg = argv[i];
    if (arg == "--open" && i + 1 < argc) {
      open = argv[++i];
    } else if (std::filesystem::is_directory(arg)) {
      for (const auto& entry : std::filesystem::directory_iterator(arg)) {
        if (entry.is_regular_file()) inputs.insert(entry.path());
      }
    } else {
      inputs.insert(arg);
    }
  }
  if (inputs.empty()) {
    std::fprintf(stderr, "usage: hubstore_fuzz_replay [--open TEXT] DIR_OR_FILE...  (no input found)\n");
    return 2;
  }
  for (const auto& path : inputs) {
    std::ifstream in(path, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }
  std::printf("replayed %zu inputs\n", inputs.size());
  if (open.empty()) return 0;
  const auto& met = hubstore::fuzz::FuzzRun::openFindingsMet();
  if (std::find(met.begin(), met.end(), open) != met.end()) {
    std::printf("open finding still shows: %s\n", open.c_str());
    return 0;
  }
  std::printf("open finding no longer shows: %s\n(fixed? then remove its line from tests/fuzz/open_findings.txt)\n",
              open.c_str());
  return 1;
}
