// Random message streams, given to the library and to the twin: every result, exception, log entry
// and line on the standard error stream is compared, and after each message everything held.

#include <fstream>
#include <sstream>

#include "differential/Comparison.h"
#include "differential/property.h"
#include "differential/streams.h"

namespace differential {
namespace {

/// Streams as `make` draws them, which shrink by leaving messages out.
template <class Make>
rc::Gen<Stream> streams(Make make) {
  const rc::Gen<std::uint64_t> seeds =
      rc::gen::resize(rc::kNominalSize, rc::gen::arbitrary<std::uint64_t>());
  rc::Gen<Stream> whole = rc::gen::map(rc::gen::noShrink(seeds), [make](std::uint64_t seed) {
    RandomDraw draw(seed);
    return make(draw);
  });
  return rc::gen::shrink(whole,
                         [](const Stream& stream) { return rc::shrink::removeChunks(stream); });
}

template <class Make>
void expect_no_difference(int cases, Make make) {
  check(cases, [make] {
    const Stream stream = *streams(make).as("stream");
    const std::string difference = first_difference(stream);
    if (!difference.empty()) RC_FAIL(difference);
  });
}

TEST(Streams, Realistic) {
  expect_no_difference(250, realistic_stream);
}

TEST(Streams, Hostile) {
  expect_no_difference(1500, hostile_stream);
}

TEST(Streams, HandOver) {
  expect_no_difference(250, handover_stream);
}

TEST(Streams, TextReadsBack) {
  for (const auto make : {realistic_stream, hostile_stream, handover_stream}) {
    for (std::uint64_t seed = 0; seed < 20; ++seed) {
      RandomDraw draw(seed);
      const std::string written = text(make(draw));
      std::istringstream lines(written);
      EXPECT_EQ(text(parse_stream(lines)), written);
    }
  }
}

}  // namespace
}  // namespace differential
