#include "serve/cycle_pace.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <vector>

namespace qiv {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

constexpr CyclePace::Time start{1h};

/// When cycles begin, in milliseconds, given when positions come.
std::vector<long> cycles(const std::vector<long>& positions_ms, long until_ms) {
  CyclePace pace(1000ms);
  std::vector<long> begun;
  auto waiting = positions_ms.begin();
  for (long ms = 0; ms <= until_ms; ++ms) {
    const CyclePace::Time now = start + std::chrono::milliseconds(ms);
    const auto next = std::find_if(waiting, positions_ms.end(), [ms](long at) { return at > ms; });
    const bool with_positions = next != waiting;
    if (pace.due(with_positions) > now) continue;
    pace.begin(now, with_positions);
    waiting = next;
    begun.push_back(ms);
  }
  return begun;
}

TEST(CyclePace, TheFirstCycleBeginsAtOnce) {
  EXPECT_THAT(cycles({}, 0), ElementsAre(0));
}

TEST(CyclePace, TimePassesWithoutPositions) {
  EXPECT_THAT(cycles({}, 3000), ElementsAre(0, 1000, 2000, 3000));
}

TEST(CyclePace, PositionsBeginACycle) {
  EXPECT_THAT(cycles({1300}, 2400), ElementsAre(0, 1000, 1300)) << "and the next may wait a little";
  EXPECT_THAT(cycles({1300}, 3600), ElementsAre(0, 1000, 1300, 2550, 3550));
}

TEST(CyclePace, FollowsTheBeatOfItsSource) {
  EXPECT_THAT(cycles({400, 1410, 2430, 3425}, 3500), ElementsAre(0, 400, 1410, 2430, 3430));
}

TEST(CyclePace, PositionsThatComeMoreOftenWaitForEachOther) {
  EXPECT_THAT(cycles({100, 300, 500, 900, 1200, 1600}, 2200), ElementsAre(0, 100, 1100, 2100));
}

}  // namespace
}  // namespace qiv
