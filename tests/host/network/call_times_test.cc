#include "network/call_times.h"

#include <sstream>
#include <string>
#include <vector>

#include "gtest/gtest.h"

namespace qiv {
namespace {

/// Reads calls such as "8:00:00 - 8:10:00/8:11:00": a time for both, two of which one may be "?",
/// or "-" for none.
std::vector<StopTime> calls_of(const std::string& text) {
  std::istringstream words(text);
  std::vector<StopTime> calls;
  for (std::string word; words >> word;) {
    StopTime call;
    call.sequence = static_cast<std::uint32_t>(10 * (calls.size() + 1));
    const std::size_t slash = word.find('/');
    call.arrival = parse_time_of_day(word.substr(0, slash));
    call.departure =
        slash == std::string::npos ? call.arrival : parse_time_of_day(word.substr(slash + 1));
    calls.push_back(call);
  }
  return calls;
}

std::string text_of(const CallTimes& times) {
  std::string text;
  for (const Call& call : times.calls) {
    if (!text.empty()) text += " ";
    text += format_time_of_day(call.arrival);
    if (call.departure != call.arrival) text += "/" + format_time_of_day(call.departure);
  }
  return text;
}

std::string complete(const std::string& stated, const std::vector<double>& offsets_m) {
  return text_of(complete_times(calls_of(stated), offsets_m));
}

TEST(CallTimes, AreThoseOfTheFeed) {
  EXPECT_EQ(complete("8:00:00 8:05:00/8:06:00 25:10:00", {0, 100, 200}),
            "08:00:00 08:05:00/08:06:00 25:10:00");
}

TEST(CallTimes, KeepTheSequenceNumbers) {
  const std::vector<double> offsets_m{0, 100};
  const CallTimes times = complete_times(calls_of("8:00:00 8:05:00"), offsets_m);
  ASSERT_EQ(times.calls.size(), 2U);
  EXPECT_EQ(times.calls[0].sequence, 10U);
  EXPECT_EQ(times.calls[1].sequence, 20U);
}

TEST(CallTimes, TakeOneTimeForBoth) {
  EXPECT_EQ(complete("?/8:00:00 8:05:00/? 8:09:00/?", {0, 100, 200}), "08:00:00 08:05:00 08:09:00");
}

TEST(CallTimes, AreInterpolatedByDistance) {
  EXPECT_EQ(
      complete("8:00:00/8:01:00 - - 8:11:00/8:12:00 - 8:20:00", {0, 100, 700, 1000, 1500, 2000}),
      "08:00:00/08:01:00 08:02:00 08:08:00 08:11:00/08:12:00 08:16:00 08:20:00");
}

TEST(CallTimes, AreInterpolatedByCountWhereThereIsNoDistance) {
  EXPECT_EQ(complete("8:00:00 - - 8:03:00 8:10:00", {50, 50, 50, 50, 900}),
            "08:00:00 08:01:00 08:02:00 08:03:00 08:10:00");
}

TEST(CallTimes, LeaveOutAsFewAsPossibleThatGoBack) {
  const std::vector<double> offsets_m{0, 100, 200, 300, 400};
  const CallTimes one_too_late =
      complete_times(calls_of("8:00:00 19:01:00 8:02:00 8:03:00 8:04:00"), offsets_m);
  EXPECT_EQ(text_of(one_too_late), "08:00:00 08:01:00 08:02:00 08:03:00 08:04:00");
  EXPECT_EQ(one_too_late.dropped_times, 2U);
  const CallTimes leaves_before_it_comes =
      complete_times(calls_of("8:00:00 8:01:00/8:00:30 8:02:00 8:03:00 8:04:00"), offsets_m);
  EXPECT_EQ(leaves_before_it_comes.dropped_times, 1U);
  EXPECT_EQ(leaves_before_it_comes.calls[1].arrival, leaves_before_it_comes.calls[1].departure);
}

TEST(CallTimes, AreNoneWithoutATimeAtBothEnds) {
  EXPECT_EQ(complete("- 8:05:00 8:10:00", {0, 100, 200}), "");
  EXPECT_EQ(complete("8:00:00 8:05:00 -", {0, 100, 200}), "");
  EXPECT_EQ(complete("- -", {0, 100}), "");
  EXPECT_EQ(complete("8:00:00", {0}), "");
  EXPECT_EQ(complete("", {}), "");
  EXPECT_EQ(complete("9:00:00 8:05:00 8:10:00", {0, 100, 200}), "");
}

}  // namespace
}  // namespace qiv
