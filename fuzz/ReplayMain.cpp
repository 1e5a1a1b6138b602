// qossnmp_agent_replay FILE|DIR...: runs each file (every regular file of a directory) once
// through the fuzz target, in name order, as libFuzzer would run a reproducer (files whose
// name starts with a dot are skipped). For builds
// without libFuzzer (GCC, the sanitizer build): the seed corpus and the reproducers of fixed
// faults stay regression tests there. Exits 0 when every input was handled.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size);

namespace {

std::vector<std::filesystem::path> inputsOf(int argc, char** argv) {
  std::vector<std::filesystem::path> inputs;
  for (int i = 1; i < argc; ++i) {
    std::filesystem::path arg = argv[i];
    if (std::filesystem::is_directory(arg)) {
      std::vector<std::filesystem::path> files;
      for (const auto& entry : std::filesystem::directory_iterator(arg)) {
        if (entry.is_regular_file() && entry.path().filename().string()[0] != '.') {
          files.push_back(entry.path());
        }
      }
      std::sort(files.begin(), files.end());
      inputs.insert(inputs.end(), files.begin(), files.end());
    } else {
      inputs.push_back(arg);
    }
  }
  return inputs;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::filesystem::path> inputs = inputsOf(argc, argv);
  if (inputs.empty()) {
    std::fprintf(stderr, "usage: %s FILE|DIR...\n", argv[0]);
    return 2;
  }
  LLVMFuzzerInitialize(&argc, &argv);
  for (const auto& path : inputs) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
      std::fprintf(stderr, "cannot read %s\n", path.c_str());
      return 1;
    }
    std::vector<std::uint8_t> data((std::istreambuf_iterator<char>(in)),
                                   std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(data.data(), data.size());
  }
  std::printf("replayed %zu inputs\n", inputs.size());
  return 0;
}
