// Reads a SIRI vehicle-monitoring document.

#include <cstdint>
#include <string_view>

#include "feed/siri_vm.h"
#include "position_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  qiv::PositionOptions options;
  options.strip_prefixes = {"MTA NYCT_", "MTA_"};
  fuzz::check_batch(qiv::read_siri_vm(bytes, options), qiv::read_siri_vm(bytes, options), size);
  return 0;
}
