// Reads a table of recorded positions, gzip'd or not.

#include <cstdint>
#include <string_view>

#include "feed/gunzip.h"
#include "feed/position_table.h"
#include "position_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  constexpr std::size_t max_ratio = 1100;  // no gzip file unpacks to more
  const std::size_t unpacked = qiv::is_gzip(bytes) ? max_ratio * size : size;
  fuzz::check_batch(qiv::read_position_table(bytes), qiv::read_position_table(bytes), unpacked);
  return 0;
}
