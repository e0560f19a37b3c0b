// Converts between scenario files and fuzz inputs, and replays inputs.
//   hubstore_fuzz_seeds encode OUT_DIR FILE.scn...   one input OUT_DIR/NAME per scenario
//   hubstore_fuzz_seeds decode INPUT                  the scenario an input stands for
//   hubstore_fuzz_seeds replay DIR_OR_FILE...         each input once through the fuzz target
// encode is how the seed corpus is made from the project's scenarios and
// from tests/fuzz/regressions; decode shows what a crashing input did; replay
// runs the corpus without libFuzzer, so that builds made with another
// compiler check it too (a violated invariant aborts, as under the fuzzer).

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tests/fuzz/command_alphabet.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::string readFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

int usage() {
  std::fprintf(stderr,
               "usage: hubstore_fuzz_seeds encode OUT_DIR FILE.scn...\n"
               "       hubstore_fuzz_seeds decode INPUT\n"
               "       hubstore_fuzz_seeds replay DIR_OR_FILE...\n");
  return 2;
}

int replay(char** paths, int count) {
  std::set<std::filesystem::path> inputs;  // in name order
  for (int i = 0; i < count; ++i) {
    if (!std::filesystem::is_directory(paths[i])) {
      inputs.insert(paths[i]);
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(paths[i])) {
      if (entry.is_regular_file()) inputs.insert(entry.path());
    }
  }
  if (inputs.empty()) return usage();
  for (const auto& path : inputs) {
    const std::string bytes = readFile(path);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }
  std::printf("replayed %zu inputs\n", inputs.size());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return usage();
  const std::string_view mode = argv[1];
  if (mode == "replay") return replay(argv + 2, argc - 2);
  if (mode == "decode" && argc == 3) {
    const std::string bytes = readFile(argv[2]);
    const std::string scenario = hubstore::fuzz::decode(
        {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    std::fwrite(scenario.data(), 1, scenario.size(), stdout);
    return 0;
  }
  if (mode != "encode" || argc < 4) return usage();
  const std::filesystem::path outDir = argv[2];
  std::filesystem::create_directories(outDir);
  std::size_t dropped = 0;
  for (int i = 3; i < argc; ++i) {
    const std::filesystem::path scenario = argv[i];
    const hubstore::fuzz::Encoding encoding = hubstore::fuzz::encode(readFile(scenario));
    dropped += encoding.droppedLines.size();
    // Seeds from different folders may share a name.
    const std::string name = scenario.parent_path().filename().string() + "-" + scenario.stem().string();
    std::ofstream out(outDir / name, std::ios::binary);
    out.write(reinterpret_cast<const char*>(encoding.bytes.data()), static_cast<std::streamsize>(encoding.bytes.size()));
  }
  std::printf("%d seeds in %s, %zu scenario lines outside the alphabet left out\n", argc - 3, outDir.c_str(), dropped);
  return 0;
}
