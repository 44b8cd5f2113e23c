// This checkout, against the tables beside this file.

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include "findings.h"

namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;

const fs::path root = QIV_CHECKOUT;
const fs::path here = root / "tests" / "layering";

std::string read(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in) << path;
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The files of these folders with one of these endings.
std::vector<SourceFile> files_of(const std::vector<std::string>& folders,
                                 const std::set<std::string>& extensions) {
  std::vector<SourceFile> result;
  for (const std::string& folder : folders) {
    if (!fs::exists(root / folder)) continue;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root / folder)) {
      const fs::path& path = entry.path();
      if (!entry.is_regular_file() || extensions.count(path.extension().string()) == 0) continue;
      result.push_back({fs::relative(path, root).generic_string(), read(path)});
    }
  }
  return result;
}

std::vector<SourceFile> sources_of_the_house() {
  return files_of({"qiv_g11n", "qiv_algo", "host"},
                  {".c", ".cc", ".cpp", ".cxx", ".h", ".hh", ".hpp", ".inc", ".ipp"});
}

TEST(Checkout, EveryRoomIncludesOnlyWhatTheHouseAllows) {
  const std::vector<SourceFile> files = sources_of_the_house();
  ASSERT_GT(files.size(), 20u);
  EXPECT_THAT(forbidden_includes(House(read(here / "house.txt")), files), IsEmpty());
}

TEST(Checkout, NoSourceIsTooLong) {
  EXPECT_THAT(long_sources(sources_of_the_house(), 500), IsEmpty());
}

// A top folder that Debian does not have is one of this machine's.
std::string pattern_of_this_machine() {
  const std::set<std::string> usual = {"bin", "boot", "etc", "home", "lib", "media", "mnt",
                                       "opt", "root", "run", "srv",  "tmp", "usr",   "var"};
  const std::string top = (++root.begin())->string();
  const std::string folder = usual.count(top) > 0 ? root.generic_string() : "/" + top;
  return "(^|[^A-Za-z0-9_.})/])" + folder + "(/|$)";
}

TEST(Checkout, NoLineThatNobodyWants) {
  std::vector<Unwanted> unwanted = read_unwanted(read(here / "unwanted.txt"));
  unwanted.push_back({std::regex(pattern_of_this_machine()), "a folder of this machine"});
  std::vector<SourceFile> files =
      files_of({"qiv_g11n", "qiv_algo", "host", "tests", "examples", "fuzz", "bench", "cmake",
                "scripts", "docs", ".ci"},
               {".c", ".cc", ".cpp", ".h", ".inc", ".cmake", ".txt", ".map", ".abi", ".in", ".md",
                ".toml", ".json", ".ts", ".py", ""});
  ASSERT_GT(files.size(), 20u);
  const auto table = [](const SourceFile& file) {
    return file.path == "tests/layering/unwanted.txt";
  };
  files.erase(std::remove_if(files.begin(), files.end(), table), files.end());
  EXPECT_THAT(unwanted_lines(files, unwanted), IsEmpty());
}

}  // namespace
