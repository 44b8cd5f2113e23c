#include "history/pattern_past.h"

#include <gmock/gmock.h>

#include "host/support/straight_line.h"

namespace qiv {
namespace {

using std::chrono::days;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using testing::monday;

class PatternPastTest : public ::testing::Test {
 protected:
  /// A run of the straight line on `pattern` that takes `leg_s` from stop to stop.
  ArchivedRun run(const PatternRef& on, const char* trip, ServiceDate day, int leg_s) const {
    ArchivedRun archived;
    archived.run = {VehicleId("v"), {TripId(trip), day, Seconds(0)}, on, {}};
    for (int i = 0; i <= 16; ++i) {
      Progress& progress = archived.run.progress.emplace_back();
      progress.trip = archived.run.trip;
      progress.offset_m = i * network.pattern(straight).length_m() / 16.0;
      progress.time = progress.received = testing::at("08:00:00", day) + Seconds(i * leg_s / 4);
    }
    return archived;
  }

  /// What the reader reads from.
  ReadRuns runs() const {
    return [this](const PatternRef& pattern, const std::function<void(const ArchivedRun&)>& take) {
      for (const ArchivedRun& archived : all) {
        if (archived.run.pattern == pattern) take(archived);
      }
    };
  }

  /// A pattern without stop C, of an earlier timetable.
  void know_earlier() {
    PatternOutline earlier = outline(network.pattern(straight), network.stops());
    earlier.ref = PatternRef("earlier");
    earlier.stops.erase(earlier.stops.begin() + 2);
    outlines[earlier.ref] = earlier;
  }

  std::vector<int> ends(const std::vector<Trajectory>& trips) const {
    std::vector<int> result;
    for (const Trajectory& trip : trips) result.push_back(trip.times_s.back());
    return result;
  }

  Network network = testing::straight_network();
  PatternIndex straight = network.find_trip(TripId("out"))->pattern;
  PatternRef ref = network.pattern(straight).ref;
  Grid grid = make_grid(network.pattern(straight), 250.0);
  PatternOutlines outlines = outlines_of(network);
  std::vector<ArchivedRun> all;
};

TEST_F(PatternPastTest, ReadsThePatternsOwnAndCountsWhatIsNoTrip) {
  all = {run(ref, "out", monday, 100), run(ref, "out", monday + days(1), 110)};
  all.push_back(run(ref, "out", monday + days(2), 120));
  all.back().run.progress.resize(3);
  Rejections rejections;
  const auto own = PastReader(network, outlines, runs()).own(straight, grid, &rejections);
  EXPECT_THAT(ends(own), ElementsAre(400, 440));
  EXPECT_EQ(rejections.total(), 1U);
  EXPECT_THAT(PastReader(network, outlines, runs()).lent(straight, grid), IsEmpty());
}

TEST_F(PatternPastTest, RelativesLendWithTheirTimetable) {
  know_earlier();
  all = {run(PatternRef("earlier"), "gone", monday, 100)};
  for (const int minutes : {0, 2, 6, 8}) {
    const Seconds time = std::chrono::hours(7) + std::chrono::minutes(45 + minutes);
    all[0].calls.push_back({0, time, time});
  }
  const auto lent = PastReader(network, outlines, runs()).lent(straight, grid);
  ASSERT_EQ(lent.size(), 1U);
  EXPECT_THAT(lent[0], Each(Field(&Trajectory::lent, true)));
  EXPECT_THAT(ends(lent[0]), ElementsAre(400));
  EXPECT_EQ(lent[0][0].scheduled_departure, std::chrono::hours(7) + std::chrono::minutes(45));
}

TEST_F(PatternPastTest, TheLatestLentTripsStandBeforeItsOwn) {
  know_earlier();
  for (int i = 0; i < 4; ++i)
    all.push_back(run(PatternRef("earlier"), "gone", monday + days(i), 100 + i));
  all.push_back(run(ref, "out", monday + days(4), 150));
  const PastReader reader(network, outlines, runs());
  const PatternPast past{reader.own(straight, grid), reader.lent(straight, grid)};
  const CountUsable every = [](const auto& trips) { return trips.size(); };
  EXPECT_THAT(ends(chosen_past(past, {3}, every)), ElementsAre(408, 412, 600));
  EXPECT_THAT(ends(chosen_past(past, {1}, every)), ElementsAre(600));
  EXPECT_THAT(ends(chosen_past(past, {0}, every)), ElementsAre(600));
  const CountUsable first_two = [](const auto& trips) {
    return std::min<std::size_t>(2, trips.size());
  };
  EXPECT_THAT(ends(chosen_past(past, {3}, first_two)), ElementsAre(400, 404, 600));
}

}  // namespace
}  // namespace qiv
