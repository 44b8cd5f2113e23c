#include "history/run_codec.h"

#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <bit>
#include <limits>

#include "host/history/samples.h"

namespace qiv {
namespace {

using samples::run_of;

bool same(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

std::string hex(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes) {
    char digits[4];
    std::snprintf(digits, sizeof digits, "%02x ", static_cast<unsigned char>(byte));
    text += digits;
  }
  return text;
}

TEST(RunCodecTest, WritesTheDocumentedLayout) {
  std::vector<Progress> progress(2);
  progress[0].time = from_unix_seconds(100);
  progress[0].received = from_unix_seconds(105);
  progress[0].evidence = Evidence::departure;
  progress[0].offset_m = 2.0;
  progress[0].error_m = 10.0;
  progress[1] = progress[0];
  progress[1].time = from_unix_seconds(160);
  progress[1].received = from_unix_seconds(160);
  progress[1].evidence = Evidence::arrival;
  progress[1].offset_m = 3.0;
  EXPECT_EQ(hex(encode_progress(progress)),
            "01 02 "                       // layout, number of entries
            "0e c8 01 0a a0 1f a0 9c 01 "  // departure, +100 s, 5 s later, +2,000 mm, 10,000 mm
            "0d 78 00 d0 0f a0 9c 01 ");   // arrival, +60 s, at once, +1,000 mm, 10,000 mm
}

TEST(RunCodecTest, WritesTheDocumentedLayoutOfCalls) {
  EXPECT_EQ(hex(encode_calls(std::vector<Call>{{1, Seconds(100), Seconds(100)},
                                               {3, Seconds(160), Seconds(170)}})),
            "01 02 "
            "02 c8 01 00 "  // sequence 1, +100 s, leaves at once
            "04 78 14 ");   // sequence 3, +60 s, leaves 10 s later
}

TEST(RunCodecTest, RefusesWhatItDidNotWrite) {
  const TripRun run = run_of("V", "T", "P", "08:00:00 departs 0 \n 08:01:00 at 500.123456");
  const std::string bytes = encode_progress(run.progress);
  const auto decoded = [&](const std::string& text) {
    return decode_progress(text, run.vehicle, run.trip).has_value();
  };
  ASSERT_TRUE(decoded(bytes));
  EXPECT_FALSE(decoded(""));
  EXPECT_FALSE(decoded(bytes + '\0'));
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    EXPECT_FALSE(decoded(bytes.substr(0, length))) << length;
  }
  EXPECT_FALSE(decoded("\x02" + bytes.substr(1)));
  EXPECT_FALSE(decoded(std::string("\x01\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01", 11)));
  EXPECT_FALSE(decoded(std::string("\x01\x01\x0f\x00\x00\x00\x00", 7)));  // evidence 3
  EXPECT_FALSE(decode_calls(""));
  EXPECT_FALSE(decode_calls(std::string("\x01\x01\x01\x00\x00", 5)));  // sequence -1
}

Progress any_progress() {
  Progress p;
  p.vehicle = VehicleId("V");
  p.trip = {TripId("T"), samples::sample_day, Seconds(0)};
  p.time = from_unix_seconds(*rc::gen::arbitrary<std::int64_t>());
  p.received = from_unix_seconds(*rc::gen::arbitrary<std::int64_t>());
  p.offset_m = *rc::gen::oneOf(
      rc::gen::arbitrary<double>(),
      rc::gen::map(rc::gen::inRange(0, 50'000'000), [](int mm) { return mm / 1000.0; }),
      rc::gen::element(-0.0, std::numeric_limits<double>::infinity(),
                       std::numeric_limits<double>::quiet_NaN()));
  p.error_m = *rc::gen::arbitrary<double>();
  p.evidence = *rc::gen::element(Evidence::fix, Evidence::arrival, Evidence::departure);
  return p;
}

RC_GTEST_PROP(RunCodecProperty, ProgressComesBackToTheBit, ()) {
  std::vector<Progress> progress(*rc::gen::inRange<std::size_t>(0, 20));
  for (Progress& p : progress) p = any_progress();
  const auto back = decode_progress(encode_progress(progress), VehicleId("V"),
                                    {TripId("T"), samples::sample_day, Seconds(0)});
  RC_ASSERT(back.has_value());
  RC_ASSERT(back->size() == progress.size());
  for (std::size_t i = 0; i < progress.size(); ++i) {
    const Progress& a = progress[i];
    const Progress& b = (*back)[i];
    RC_ASSERT(a.vehicle == b.vehicle);
    RC_ASSERT(a.trip == b.trip);
    RC_ASSERT(a.time == b.time);
    RC_ASSERT(a.received == b.received);
    RC_ASSERT(same(a.offset_m, b.offset_m));
    RC_ASSERT(same(a.error_m, b.error_m));
    RC_ASSERT(a.evidence == b.evidence);
  }
}

RC_GTEST_PROP(RunCodecProperty, AnyBytesAreReadOrRefused, (const std::string& tail)) {
  const std::string bytes = '\x01' + tail;
  const auto progress = decode_progress(bytes, VehicleId(), {});
  RC_ASSERT(!progress || progress->size() * 5 <= tail.size());
  const auto calls = decode_calls(bytes);
  RC_ASSERT(!calls || calls->size() * 3 <= tail.size());
}

RC_GTEST_PROP(RunCodecProperty, CallsComeBack, ()) {
  std::vector<Call> calls(*rc::gen::inRange<std::size_t>(0, 20));
  for (Call& call : calls) {
    call = {*rc::gen::arbitrary<std::uint32_t>(), Seconds(*rc::gen::arbitrary<std::int64_t>()),
            Seconds(*rc::gen::arbitrary<std::int64_t>())};
  }
  const auto back = decode_calls(encode_calls(calls));
  RC_ASSERT(back.has_value());
  RC_ASSERT(back->size() == calls.size());
  for (std::size_t i = 0; i < calls.size(); ++i) {
    RC_ASSERT((*back)[i].sequence == calls[i].sequence);
    RC_ASSERT((*back)[i].arrival == calls[i].arrival);
    RC_ASSERT((*back)[i].departure == calls[i].departure);
  }
}

}  // namespace
}  // namespace qiv
