// Runs a harness on files, without libFuzzer: for compilers that lack it, and for ctest.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void replay(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes((std::istreambuf_iterator<char>(file)),
                                std::istreambuf_iterator<char>());
  const std::vector<std::uint8_t> data(bytes.begin(), bytes.end());
  std::fprintf(stderr, "%s\n", path.c_str());
  LLVMFuzzerTestOneInput(data.data(), data.size());
}

}  // namespace

/// Each argument is a file, or a folder whose files are run in the order of their names.
int main(int argc, char** argv) {
  std::size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    std::vector<std::filesystem::path> paths;
    if (std::filesystem::is_directory(argv[i])) {
      for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
        paths.push_back(entry.path());
      }
      std::sort(paths.begin(), paths.end());
    } else {
      paths.push_back(argv[i]);
    }
    for (const auto& path : paths) replay(path);
    count += paths.size();
  }
  std::fprintf(stderr, "%zu inputs\n", count);
  return count == 0 ? 1 : 0;
}
