// Route B63 in Brooklyn, traces recorded in 2010.

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "feed/file_bundle.h"
#include "feed/gtfs.h"
#include "feed/position_source.h"
#include "network/build_network.h"
#include "track/tracker.h"

namespace qiv {
namespace {

const std::string folder = std::string(QIV_DATA_DIR) + "/b63-2010";

Network b63() {
  return build_network(read_gtfs(FileBundle::open(folder + "/gtfs.zip")).timetable);
}

std::vector<VehiclePosition> read(const std::string& file) {
  std::vector<VehiclePosition> all;
  read_positions(folder + "/" + file, [&](const std::vector<VehiclePosition>& batch) {
    all.insert(all.end(), batch.begin(), batch.end());
  });
  return all;
}

std::vector<TripRun> follow(const Network& network, const std::vector<VehiclePosition>& reports) {
  Tracker tracker(network);
  std::vector<TrackEvent> events;
  for (const VehiclePosition& report : reports) {
    tracker.advance(report.received, events);
    tracker.update(report, events);
  }
  tracker.finish(events);
  std::vector<TripRun> runs;
  for (const TrackEvent& event : events) {
    const auto* const ended = std::get_if<TripEnded>(&event);
    if (ended != nullptr && !ended->run.progress.empty()) runs.push_back(ended->run);
  }
  return runs;
}

TEST(RecordedTracesTest, EveryRunInServiceIsFollowedAlongItsRoute) {
  const Network network = b63();
  std::map<std::string, double> covered_m;
  for (const TripRun& run : follow(network, read("positions_assigned.csv.gz"))) {
    covered_m[run.vehicle.text() + " " + run.trip.trip.text()] +=
        run.progress.back().offset_m - run.progress.front().offset_m;
    for (std::size_t i = 1; i < run.progress.size(); ++i) {
      EXPECT_LE(run.progress[i - 1].offset_m, run.progress[i].offset_m);
      EXPECT_LE(run.progress[i - 1].time, run.progress[i].time);
    }
  }
  // Vehicle, trip, and how far it went, as inferred from the traces by other means.
  const std::map<std::string, double> wanted_m = {
      {"MTA NYCT_0927 20101024EE_092400_B63_0002_B35_45", 6111},
      {"MTA NYCT_1325 20101024EE_030500_B63_0089_B63_8", 10824},
      {"MTA NYCT_1325 20101024EE_038500_B63_0002_B63_8", 8509},
      {"MTA NYCT_7560 20101024EE_067500_B63_0002_B63_13", 8724},
      {"MTA NYCT_7560 20101024EE_076800_B63_0089_B63_13", 4355},
      {"MTA NYCT_7560 20101024EE_075600_B63_0089_B63_17", 4946},
      {"MTA NYCT_7560 20101024EE_086200_B63_0002_B63_13", 11458},
      {"MTA NYCT_7560 20101024AD_041500_B63_0002_B63_3", 2553},
      {"MTA NYCT_7560 20101024AD_050000_B63_0089_B63_10", 11324},
      {"MTA NYCT_7560 20101024AD_058500_B63_0002_B63_10", 2077},
      {"MTA NYCT_7564 20101024EE_047900_B63_0002_B63_4", 11004},
      {"MTA NYCT_7564 20101024EE_042800_B63_0089_B63_17", 11195},
      {"MTA NYCT_7564 20101024EE_048900_B63_0002_B63_11", 5769},
      {"MTA NYCT_7564 20101024EE_094900_B63_0089_B63_17", 10234}};
  EXPECT_EQ(covered_m.size(), wanted_m.size());
  for (const auto& [run, length_m] : wanted_m) {
    EXPECT_GT(covered_m[run], 0.95 * length_m) << run;
    EXPECT_LT(covered_m[run], 1.05 * length_m + 50.0) << run;
  }
}

TEST(RecordedTracesTest, VehiclesElsewhereGiveNoProgress) {
  const Network network = b63();
  std::vector<VehiclePosition> reports;
  for (VehiclePosition& report : read("positions.csv.gz")) {
    const std::string& id = report.vehicle.text();
    if (id != "MTA NYCT_1379" && id != "MTA NYCT_1404") continue;
    report.trip = TripId("20101024EE_067500_B63_0002_B63_13");
    report.start_date = network.clock().local_day(report.time);
    reports.push_back(report);
  }
  ASSERT_GT(reports.size(), 100U);
  for (const TripRun& run : follow(network, reports)) {
    for (const Progress& progress : run.progress) {
      ADD_FAILURE() << run.vehicle << " at " << format_utc(progress.time) << ", "
                    << progress.offset_m << " m";
    }
  }
}

}  // namespace
}  // namespace qiv
