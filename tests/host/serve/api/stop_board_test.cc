#include "serve/api/stop_board.h"

#include <gmock/gmock.h>

#include "host/serve/api/sample_snapshot.h"

namespace qiv {
namespace {

std::vector<std::string> board_of(const Snapshot& snapshot, const char* stop) {
  const StopBoard board(snapshot);
  std::vector<std::string> trips;
  for (const StopVisit& visit : board.visits(*snapshot.network->find_stop(StopId(stop)))) {
    trips.push_back(visit.forecast->trip.trip.text() + " " + std::to_string(visit.call));
  }
  return trips;
}

TEST(StopBoard, ListsWhatIsToComeTheEarliestFirst) {
  const Snapshot snapshot = testing::sample_snapshot();
  EXPECT_THAT(board_of(snapshot, "C"), ::testing::ElementsAre("out 2", "later 2"));
  EXPECT_THAT(board_of(snapshot, "A"), ::testing::ElementsAre("later 0")) << "out has left";
}

TEST(StopBoard, ATripMayCallTwice) {
  Snapshot snapshot = testing::sample_snapshot();
  snapshot.trips = {
      testing::line_forecast(*snapshot.network, "loop1", 0, Seconds(0), snapshot.now)};
  EXPECT_THAT(board_of(snapshot, "B"), ::testing::ElementsAre("loop1 1", "loop1 3"));
  EXPECT_THAT(board_of(snapshot, "E"), ::testing::IsEmpty());
}

TEST(StopBoard, TheFirstStopCountsByItsDeparture) {
  Snapshot snapshot = testing::sample_snapshot();
  StopForecast& first = snapshot.trips[0].stops.edit()[0];
  first.departure = first.arrival.time + Seconds(300);
  const StopVisit visit{&snapshot.trips[0], 0};
  EXPECT_EQ(visit_time(visit), first.departure);
}

TEST(StopBoard, TellsOfCanceledTripsWithinTheHour) {
  Snapshot snapshot = testing::sample_snapshot();
  snapshot.trips = {
      testing::line_forecast(*snapshot.network, "loop1", 0, Seconds(0), snapshot.now)};
  snapshot.trips[0].state = TripState::canceled;
  snapshot.now = testing::at("08:59:59");
  EXPECT_THAT(board_of(snapshot, "A"), ::testing::IsEmpty());
  snapshot.now = testing::at("09:00:00");
  EXPECT_THAT(board_of(snapshot, "A"), ::testing::ElementsAre("loop1 0"));
  snapshot.now = testing::at("10:00:01");
  EXPECT_THAT(board_of(snapshot, "A"), ::testing::ElementsAre("loop1 4")) << "it has left";
}

}  // namespace
}  // namespace qiv
