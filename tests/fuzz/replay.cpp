// Calls a fuzz target with every file of the folders on the command line, among them all inputs that once made it fail.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz_input.h"

int main(int argc, char *argv[]) {
  std::vector<std::filesystem::path> seeds;
  for (int i = 1; i < argc; ++i) {
    for (const auto &entry : std::filesystem::directory_iterator(argv[i])) seeds.push_back(entry.path());
  }
  std::sort(seeds.begin(), seeds.end());
  for (const std::filesystem::path &seed : seeds) {
    std::fprintf(stderr, "%s\n", seed.filename().c_str());
    std::ifstream file(seed, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
  }
  return seeds.empty() ? 1 : 0;
}
