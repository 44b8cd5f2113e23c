// What the recordings of data/ hold, as counted in the README beside each.

#include <gmock/gmock.h>

#include <cctype>
#include <set>
#include <string>

#include "feed/gtfs.h"
#include "feed/position_source.h"

namespace qiv {
namespace {

const std::string data = QIV_DATA_DIR;

// The file of a case, in what GoogleTest allows in a name.
constexpr auto named_by_file = [](const auto& test) {
  std::string name = test.param.file;
  for (char& c : name) c = std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
  return name;
};

struct GtfsCase {
  const char* file;
  std::size_t stops;
  std::size_t routes;
  std::size_t trips;
  std::size_t stop_times;
  std::size_t shapes;
  std::size_t services;
  std::size_t frequencies;
};

class BundledGtfs : public testing::TestWithParam<GtfsCase> {};

TEST_P(BundledGtfs, IsReadWhole) {
  const GtfsCase& expected = GetParam();
  const GtfsResult result = read_gtfs(FileBundle::open(data + "/" + expected.file));
  const Timetable& timetable = result.timetable;
  std::size_t stop_times = 0;
  for (const Trip& trip : timetable.trips) stop_times += trip.stop_times.size();
  EXPECT_EQ(timetable.stops.size(), expected.stops);
  EXPECT_EQ(timetable.routes.size(), expected.routes);
  EXPECT_EQ(timetable.trips.size(), expected.trips);
  EXPECT_EQ(stop_times, expected.stop_times);
  EXPECT_EQ(timetable.shapes.size(), expected.shapes);
  EXPECT_EQ(timetable.services.size(), expected.services);
  EXPECT_EQ(timetable.frequencies.size(), expected.frequencies);
  EXPECT_TRUE(result.rejections.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Feeds, BundledGtfs,
    testing::Values(GtfsCase{"dart-2025/gtfs.zip", 32, 1, 423, 11707, 17, 33, 0},
                    GtfsCase{"austin-2016/gtfs.zip", 2561, 70, 5362, 240493, 0, 9, 0},
                    GtfsCase{"b63-2010/gtfs.zip", 115, 1, 735, 41327, 6, 4, 0},
                    GtfsCase{"samples/bullrunner_gtfs.zip", 125, 6, 15, 473, 6, 3, 15},
                    GtfsCase{"samples/raba_gtfs.zip", 375, 13, 282, 7346, 28, 6, 0}),
    named_by_file);

TEST(BundledGtfs, StatesVersionAndDays) {
  const Timetable timetable = read_gtfs(FileBundle::open(data + "/dart-2025/gtfs.zip")).timetable;
  EXPECT_EQ(timetable.version, "dart-2025");
  EXPECT_EQ(timetable.first->to_string(), "20250918");
  EXPECT_EQ(timetable.last->to_string(), "20251014");
  EXPECT_EQ(timetable.agencies.at(0).time_zone, "Europe/Dublin");
}

struct Recording {
  std::size_t polls = 0;
  std::size_t without_trip = 0;
  std::set<VehicleId> vehicles;
  std::set<TripId> trips;
  std::vector<VehiclePosition> positions;
  RecordingSummary summary;
};

Recording read(const std::string& file) {
  Recording recording;
  Instant latest{};
  recording.summary =
      read_positions(data + "/" + file, [&](const std::vector<VehiclePosition>& positions) {
        ++recording.polls;
        for (const VehiclePosition& position : positions) {
          EXPECT_LE(latest, position.received);
          latest = position.received;
          recording.vehicles.insert(position.vehicle);
          if (position.trip.empty()) ++recording.without_trip;
          if (!position.trip.empty()) recording.trips.insert(position.trip);
          recording.positions.push_back(position);
        }
      });
  return recording;
}

struct DayCase {
  const char* file;
  std::size_t rows;
  std::size_t polls;  // 0: the table has no times of polls
  std::size_t vehicles;
  std::size_t trips;
  std::size_t without_trip;
};

class BundledDay : public testing::TestWithParam<DayCase> {};

TEST_P(BundledDay, IsReadWhole) {
  const DayCase& expected = GetParam();
  const Recording recording = read(expected.file);
  EXPECT_EQ(recording.summary.read, expected.rows);
  EXPECT_EQ(recording.summary.used, expected.rows);
  EXPECT_EQ(recording.positions.size(), expected.rows);
  if (expected.polls > 0) {
    EXPECT_EQ(recording.polls, expected.polls);
  }
  EXPECT_EQ(recording.vehicles.size(), expected.vehicles);
  EXPECT_EQ(recording.trips.size(), expected.trips);
  EXPECT_EQ(recording.without_trip, expected.without_trip);
  EXPECT_TRUE(recording.summary.rejections.empty());
  EXPECT_TRUE(recording.summary.remarks.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Days, BundledDay,
    testing::Values(DayCase{"dart-2025/positions-20250918.csv.gz", 13268, 887, 168, 145, 1543},
                    DayCase{"dart-2025/positions-20250921.csv.gz", 6661, 899, 83, 83, 0},
                    DayCase{"dart-2025/positions-20250925.csv.gz", 10725, 734, 137, 135, 111},
                    DayCase{"dart-2025/positions-20251007.csv.gz", 16242, 1137, 193, 192, 57},
                    DayCase{"dart-2025/vehicle-positions-20251007.zip", 16242, 1137, 193, 192, 57},
                    DayCase{"dart-2025/positions-20251009.csv.gz", 16621, 1145, 196, 195, 78},
                    DayCase{"austin-2016/positions-20161124.csv.gz", 24490, 0, 152, 1825, 0},
                    DayCase{"austin-2016/positions-20161125.csv.gz", 32038, 0, 181, 2148, 0},
                    DayCase{"austin-2016/positions-20161126.csv.gz", 33140, 0, 183, 2250, 0},
                    DayCase{"b63-2010/positions.csv.gz", 2571, 0, 6, 0, 2571}),
    named_by_file);

TEST(BundledDay, IsTheSameAsTableAndAsMessages) {
  const Recording table = read("dart-2025/positions-20251007.csv.gz");
  const Recording messages = read("dart-2025/vehicle-positions-20251007.zip");
  ASSERT_EQ(table.positions.size(), messages.positions.size());
  for (std::size_t i = 0; i < table.positions.size(); ++i) {
    const VehiclePosition& a = table.positions[i];
    const VehiclePosition& b = messages.positions[i];
    ASSERT_EQ(a.received, b.received) << i;
    ASSERT_EQ(a.time, b.time) << i;
    ASSERT_EQ(a.vehicle, b.vehicle) << i;
    ASSERT_EQ(a.trip, b.trip) << i;
    ASSERT_EQ(a.direction, b.direction) << i;
    ASSERT_EQ(a.start_date, b.start_date) << i;
    ASSERT_EQ(a.start_time, b.start_time) << i;
    ASSERT_EQ(a.stop, b.stop) << i;
    ASSERT_EQ(a.stop_sequence, b.stop_sequence) << i;
    ASSERT_EQ(a.status, b.status) << i;
    ASSERT_NEAR(a.place->lat_deg, b.place->lat_deg, 1e-5) << i;
    ASSERT_NEAR(a.place->lon_deg, b.place->lon_deg, 1e-5) << i;
  }
}

TEST(BundledSamples, VehiclesMostlyWithoutTrips) {
  const Recording recording = read("samples/raba_vehicle_positions.pb");
  EXPECT_EQ(recording.positions.size(), 22U);
  EXPECT_EQ(recording.trips.size(), 1U);
}

TEST(BundledSamples, StationLevelPositionsBesideTripUpdates) {
  const Recording recording = read("samples/nyct_ace_1707397157.pb");
  EXPECT_EQ(recording.positions.size(), 160U);
  EXPECT_EQ(recording.summary.rejections.count("entity without vehicle"), 160U);
  for (const VehiclePosition& position : recording.positions) {
    EXPECT_FALSE(position.place.has_value());
    EXPECT_FALSE(position.stop.empty());
    EXPECT_THAT(position.vehicle.text(), testing::StartsWith("trip "));
  }
  EXPECT_EQ(recording.vehicles.size(), 159U);  // two positions name the same trip
}

TEST(BundledSamples, SeveralJourneysInOneSiriActivity) {
  const Recording recording = read("samples/siri_like_oba_multi.xml");
  ASSERT_EQ(recording.positions.size(), 4U);
  const VehiclePosition& first = recording.positions[0];
  EXPECT_EQ(format_utc(first.time), "2016-08-03T14:54:36Z");
  EXPECT_EQ(first.vehicle.text(), "13034");
  EXPECT_EQ(first.trip.text(), "2726063");
  EXPECT_EQ(first.route.text(), "2");
  EXPECT_EQ(first.start_date->to_string(), "20160803");
  EXPECT_EQ(first.place, (LatLon{40.76492, -111.8756}));
  EXPECT_EQ(first.status, StopStatus::in_transit_to);
  EXPECT_FALSE(first.direction.has_value());
}

struct UpdatesCase {
  const char* file;
  std::size_t updates;
  std::size_t calls;
};

class BundledTripUpdates : public testing::TestWithParam<UpdatesCase> {};

TEST_P(BundledTripUpdates, AreReadWhole) {
  std::size_t updates = 0;
  std::size_t calls = 0;
  const RecordingSummary summary = read_recorded_trip_updates(
      data + "/samples/" + GetParam().file, [&](const TripUpdateBatch& batch) {
        updates += batch.updates.size();
        for (const TripUpdate& update : batch.updates) calls += update.calls.size();
      });
  EXPECT_EQ(updates, GetParam().updates);
  EXPECT_EQ(calls, GetParam().calls);
  EXPECT_TRUE(summary.remarks.empty());
}

INSTANTIATE_TEST_SUITE_P(Samples, BundledTripUpdates,
                         testing::Values(UpdatesCase{"raba_trip_updates.pb", 9, 41},
                                         UpdatesCase{"unitrans_trip_updates.pb", 37, 516},
                                         UpdatesCase{"wmata_2345.pb", 324, 8603},
                                         UpdatesCase{"nyct_ace_1707397157.pb", 160, 2862}),
                         named_by_file);

}  // namespace
}  // namespace qiv
