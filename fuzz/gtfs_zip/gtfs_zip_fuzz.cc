// Opens a zip file, reads all its entries, and reads a GTFS feed out of it.

#include <cstdint>
#include <stdexcept>
#include <string>

#include "feed/gtfs.h"
#include "timetable_check.h"

namespace {

constexpr std::uint64_t max_entry_bytes = 1 << 20U;
constexpr std::uint64_t max_total_bytes = 4 << 20U;

// The sum of the sizes of the entries that can be read.
std::size_t read_entries(const qiv::FileBundle& bundle) {
  std::size_t bytes = 0;
  for (const std::string& entry : bundle.entries()) {
    fuzz::check(!entry.empty() && entry.front() != '/', "a name is relative");
    fuzz::check(("/" + entry + "/").find("/../") == std::string::npos, "a name stays inside");
    try {
      const auto content = bundle.read(entry);
      fuzz::check(content && bundle.read(entry) == content, "reading twice gives the same");
      fuzz::check(content->size() <= max_entry_bytes, "an entry keeps to the limit");
      bytes += content->size();
    } catch (const std::runtime_error& error) {
      fuzz::check(std::string(error.what()).starts_with("feed.zip"), "an error names the file");
    }
  }
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qiv::FileBundleLimits limits;
  limits.entry_bytes = max_entry_bytes;
  limits.total_bytes = max_total_bytes;
  limits.entries = 100;
  try {
    const auto bundle = qiv::FileBundle::open_zip(
        std::string(reinterpret_cast<const char*>(data), size), "feed.zip", limits);
    const std::size_t bytes = read_entries(bundle);
    fuzz::check_timetable(read_gtfs(bundle), bytes);
  } catch (const std::runtime_error& error) {
    fuzz::check(!std::string(error.what()).empty(), "an error says what is wrong");
  }
  return 0;
}
