// Gives the messages that the bytes decode to, to the library and to its plain twin, and ends the
// process at the first difference in what can be observed or in what is held.

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "differential/Comparison.h"
#include "differential/streams.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace differential;
  ByteDraw draw(data, size);
  const unsigned int maker = draw.below(4);
  const Stream stream = maker == 0   ? realistic_stream(draw)
                        : maker == 1 ? handover_stream(draw)
                                     : hostile_stream(draw);
  const std::string difference = first_difference(stream);
  if (!difference.empty()) {
    std::fprintf(stderr, "%s\n%s", text(stream).c_str(), difference.c_str());
    std::abort();
  }
  return 0;
}
