#include "app/city.h"

#include <gmock/gmock.h>

#include <unistd.h>

#include <fstream>

namespace qiv {
namespace {

namespace fs = std::filesystem;
using std::chrono::days;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const ServiceDate monday = *ServiceDate::parse("20250303");

/// A city with one line of three stops along a meridian, a kilometre apart: trip "t" leaves at 8:00
/// and takes two minutes from stop to stop, every day.
class CityTest : public ::testing::Test {
 protected:
  CityTest() {
    fs::remove_all(root);
    fs::create_directories(root / "gtfs");
    write_timetable("t");
    City::create(root / "city", root / "gtfs");
  }
  ~CityTest() override { fs::remove_all(root); }

  void write_timetable(const std::string& trip) const {
    write("agency.txt", "agency_id,agency_name,agency_url,agency_timezone\na,A,http://a,UTC\n");
    write("routes.txt", "route_id,agency_id,route_short_name,route_type\nr,a,R,3\n");
    write(
        "calendar.txt",
        "service_id,monday,tuesday,wednesday,thursday,friday,saturday,sunday,start_date,end_date\n"
        "d,1,1,1,1,1,1,1,20250101,20251231\n");
    write("stops.txt",
          "stop_id,stop_name,stop_lat,stop_lon\n"
          "A,A,50.000,10\nB,B,50.009,10\nC,C,50.018,10\n");
    write("trips.txt", "route_id,service_id,trip_id\nr,d," + trip + "\n");
    write("stop_times.txt", "trip_id,arrival_time,departure_time,stop_id,stop_sequence\n" + trip +
                                ",08:00:00,08:00:00,A,1\n" + trip + ",08:02:00,08:02:00,B,2\n" +
                                trip + ",08:04:00,08:04:00,C,3\n");
  }
  void write(const std::string& name, const std::string& text) const {
    std::ofstream(root / "gtfs" / name) << text;
  }

  /// Records a ride of trip "t" from 8:00 on, with a fix every 20 s.
  static void record(City& city, ServiceDate day, int fixes = 13) {
    std::vector<VehiclePosition> ride;
    for (int i = 0; i < fixes; ++i) {
      VehiclePosition& p = ride.emplace_back();
      p.vehicle = VehicleId("v");
      p.trip = TripId("t");
      p.start_date = day;
      p.time = p.received = city.network().clock().at(day, std::chrono::hours(8)) + Seconds(20 * i);
      p.place = LatLon{50.0 + 0.0015 * i, 10.0};
    }
    city.archive().record(ride);
  }

  /// Follows up to `last` and says which days had to be followed.
  static std::vector<ServiceDate> followed(City& city, ServiceDate last) {
    std::vector<ServiceDate> found;
    city.follow(last, [&](double, ServiceDate day) { found.push_back(day); });
    return found;
  }

  fs::path root = fs::temp_directory_path() / ("qiv-city-" + std::to_string(::getpid()));
};

TEST_F(CityTest, KnowsTheRecordedDays) {
  City city(root / "city");
  EXPECT_THAT(city.recorded_days(), IsEmpty());
  record(city, monday);
  record(city, monday + days(5));
  VehiclePosition night;
  night.received = night.time = city.network().clock().at(monday + days(8), Seconds(3600));
  city.archive().record(std::vector{night});
  EXPECT_THAT(city.recorded_days(), ElementsAre(monday, monday + days(5), monday + days(7)))
      << "the hour after midnight belongs to the day before";
}

TEST_F(CityTest, FollowsNoDayTwice) {
  City city(root / "city");
  record(city, monday);
  record(city, monday + days(1));
  EXPECT_THAT(followed(city, monday), ElementsAre(monday));
  EXPECT_THAT(followed(city, monday + days(1)), ElementsAre(monday + days(1)));
  EXPECT_THAT(followed(city, monday + days(1)), IsEmpty());
  EXPECT_THAT(followed(city, monday), IsEmpty());
  record(city, monday);
  EXPECT_THAT(followed(city, monday + days(1)), IsEmpty()) << "known already";
  City again(root / "city");
  EXPECT_THAT(followed(again, monday + days(1)), IsEmpty());
}

TEST_F(CityTest, FollowsADayAgainWhenItsPositionsChange) {
  City city(root / "city");
  record(city, monday, 10);
  record(city, monday + days(1));
  followed(city, monday + days(1));
  record(city, monday, 13);
  EXPECT_THAT(followed(city, monday + days(1)), ElementsAre(monday));
}

TEST_F(CityTest, KeptRunsAreThoseThatFollowingFinds) {
  City city(root / "city");
  record(city, monday);
  record(city, monday + days(1));
  const auto runs_of = [&](ServiceDate last) {
    return city.follow(last, [](double, ServiceDate) {}).on(monday, 0).size();
  };
  EXPECT_EQ(runs_of(monday), 1U);
  const auto first = city.archive().runs();
  EXPECT_EQ(runs_of(monday + days(1)), 1U);
  city.archive().note_followed(monday, "followed by another program");
  EXPECT_THAT(followed(city, monday), ElementsAre(monday));
  const auto again = city.archive().runs({std::nullopt, std::nullopt, std::nullopt, monday});
  ASSERT_THAT(first, SizeIs(1));
  ASSERT_THAT(again, SizeIs(1));
  ASSERT_EQ(again[0].run.progress.size(), first[0].run.progress.size());
  for (std::size_t i = 0; i < first[0].run.progress.size(); ++i) {
    EXPECT_EQ(again[0].run.progress[i].time, first[0].run.progress[i].time);
    EXPECT_EQ(again[0].run.progress[i].offset_m, first[0].run.progress[i].offset_m);
  }
}

TEST_F(CityTest, ANewTimetableWithOtherTripsLeavesTheOldRuns) {
  {
    City city(root / "city");
    record(city, monday);
    followed(city, monday);
  }
  write_timetable("renamed");
  City city = City::create(root / "city", root / "gtfs");
  EXPECT_THAT(followed(city, monday), ElementsAre(monday));
  EXPECT_THAT(city.archive().runs(), SizeIs(1));
  EXPECT_THAT(followed(city, monday), IsEmpty());
  const Grid grid = make_grid(city.network().pattern(0), 250.0);
  const auto past = city.follow(monday, [](double, ServiceDate) {})
                        .before(monday + days(1), PatternIndex{0}, grid);
  ASSERT_THAT(past, SizeIs(1)) << "the pattern stays";
  EXPECT_EQ(past[0].scheduled_departure, std::chrono::hours(8));
}

TEST_F(CityTest, TheStateNamesWhatTheResultDependsOn) {
  City city(root / "city");
  record(city, monday);
  followed(city, monday);
  const std::string state = city.state(monday);
  EXPECT_EQ(city.state(monday), state);
  record(city, monday + days(1));
  EXPECT_EQ(city.state(monday), state) << "a later day";
  record(city, monday, 20);
  EXPECT_NE(city.state(monday), state);
}

}  // namespace
}  // namespace qiv
