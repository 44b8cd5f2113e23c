#include "feed/gtfs.h"

#include <gmock/gmock.h>

#include <map>
#include <stdexcept>
#include <string>

#include "host/feed/packing.h"

namespace qiv {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::ThrowsMessage;

using Tables = std::map<std::string, std::string>;

// Two trips along three stops, one of them without a shape.
Tables small_feed() {
  return {
      {"agency.txt", R"(agency_id,agency_name,agency_timezone
A,City Lines,Europe/Dublin
)"},
      {"stops.txt", R"(stop_id,stop_name,stop_lat,stop_lon
s1,First,53.10,-6.10
s2,Second,53.11,-6.10
s3,Third,53.12,-6.10
)"},
      {"routes.txt", R"(route_id,route_short_name,route_long_name,route_type,route_color
r1,1,Coast,3,00aaFF
)"},
      {"trips.txt", R"(route_id,service_id,trip_id,shape_id,direction_id,block_id,trip_headsign
r1,week,t1,p1,0,b1,Third
r1,week,t2,,1,,First
)"},
      {"stop_times.txt", R"(trip_id,arrival_time,departure_time,stop_id,stop_sequence
t1,08:00:00,08:00:30,s1,1
t1,08:05:00,08:05:30,s2,2
t1,08:10:00,08:10:00,s3,3
t2,23:55:00,23:55:00,s3,1
t2,24:05:00,24:05:00,s1,2
)"},
      {"calendar.txt",
       R"(service_id,monday,tuesday,wednesday,thursday,friday,saturday,sunday,start_date,end_date
week,1,1,1,1,1,0,0,20250101,20251231
)"},
      {"shapes.txt", R"(shape_id,shape_pt_lat,shape_pt_lon,shape_pt_sequence
p1,53.10,-6.10,1
p1,53.12,-6.10,2
)"}};
}

GtfsResult read(Tables tables) {
  return read_gtfs(FileBundle::of(tables, "feed"));
}

GtfsResult read_with(const std::string& file, const std::string& content) {
  Tables tables = small_feed();
  tables[file] = content;
  return read(std::move(tables));
}

GtfsResult read_with_rows(const std::string& file, const std::string& rows) {
  return read_with(file, small_feed()[file] + rows);
}

std::vector<std::string> ids(const std::vector<Trip>& trips) {
  std::vector<std::string> result;
  for (const Trip& trip : trips) result.push_back(trip.id.text());
  return result;
}

std::vector<std::string> times(const Trip& trip) {
  std::vector<std::string> result;
  for (const StopTime& call : trip.stop_times)
    result.push_back((call.arrival ? format_time_of_day(*call.arrival) : "-") + " " +
                     (call.departure ? format_time_of_day(*call.departure) : "-"));
  return result;
}

std::string first(const Rejections& rejections, const std::string& reason) {
  const auto found = rejections.entries().find(reason);
  return found == rejections.entries().end() ? "none" : found->second.first;
}

TEST(Gtfs, ReadsASmallFeed) {
  const GtfsResult result = read(small_feed());
  const Timetable& timetable = result.timetable;
  EXPECT_TRUE(result.rejections.empty());
  EXPECT_TRUE(result.remarks.empty());
  ASSERT_EQ(timetable.agencies.size(), 1U);
  EXPECT_EQ(timetable.agencies[0].time_zone, "Europe/Dublin");
  ASSERT_EQ(timetable.stops.size(), 3U);
  EXPECT_EQ(timetable.stops[1].name, "Second");
  EXPECT_EQ(timetable.stops[1].place, (LatLon{53.11, -6.10}));
  ASSERT_EQ(timetable.routes.size(), 1U);
  EXPECT_EQ(timetable.routes[0].color, "00aaFF");
  EXPECT_EQ(timetable.routes[0].type, 3);
  ASSERT_EQ(timetable.trips.size(), 2U);
  EXPECT_EQ(timetable.trips[0].shape.text(), "p1");
  EXPECT_EQ(timetable.trips[0].block.text(), "b1");
  EXPECT_EQ(timetable.trips[0].direction, 0);
  EXPECT_TRUE(timetable.trips[1].shape.empty());
  EXPECT_THAT(times(timetable.trips[0]),
              ElementsAre("08:00:00 08:00:30", "08:05:00 08:05:30", "08:10:00 08:10:00"));
  EXPECT_EQ(timetable.trips[1].stop_times[1].stop, 0U);
  EXPECT_EQ(timetable.shapes.at(ShapeId("p1")).size(), 2U);
  EXPECT_TRUE(timetable.services.at(ServiceId("week")).runs_on(*ServiceDate::parse("20251006")));
}

TEST(Gtfs, CountsRows) {
  const GtfsResult result = read_with_rows("stop_times.txt", "t9,08:00:00,08:00:00,s1,1\n");
  EXPECT_EQ(result.tables.at("stop_times.txt").rows, 6U);
  EXPECT_EQ(result.tables.at("stop_times.txt").used, 5U);
  EXPECT_EQ(result.tables.at("stops.txt").used, 3U);
  EXPECT_EQ(result.tables.count("frequencies.txt"), 0U);
}

TEST(Gtfs, IsFoundInAFolderOfAZipFile) {
  std::vector<std::pair<std::string, std::string>> entries;
  for (const auto& [name, content] : small_feed()) {
    entries.emplace_back("city/gtfs/" + name, content);
    entries.emplace_back("__MACOSX/" + name, "junk");
  }
  const GtfsResult result = read_gtfs(FileBundle::open_zip(zip_of(entries), "feed.zip"));
  EXPECT_EQ(result.timetable.trips.size(), 2U);
}

TEST(Gtfs, DoesNotMindSpelling) {
  Tables tables = small_feed();
  for (auto& [name, content] : tables) {
    std::string spelled = "\xEF\xBB\xBF";
    for (const char c : content) spelled += c == '\n' ? " \r\n\r\n" : std::string(1, c);
    content = spelled;
  }
  const GtfsResult result = read(tables);
  EXPECT_EQ(result.timetable.trips.size(), 2U);
  EXPECT_TRUE(result.rejections.empty());
}

TEST(Gtfs, NeedsItsTables) {
  for (const char* file :
       {"agency.txt", "stops.txt", "routes.txt", "trips.txt", "stop_times.txt"}) {
    Tables tables = small_feed();
    tables.erase(file);
    EXPECT_THAT([&] { read(tables); },
                ThrowsMessage<std::runtime_error>(HasSubstr("feed: no " + std::string(file))));
  }
}

TEST(Gtfs, NeedsDays) {
  Tables tables = small_feed();
  tables.erase("calendar.txt");
  EXPECT_THAT([&] { read(tables); }, ThrowsMessage<std::runtime_error>(HasSubstr(
                                         "feed: neither calendar.txt nor calendar_dates.txt")));
  tables["calendar_dates.txt"] = "service_id,date,exception_type\nweek,20251006,1\n";
  const Timetable timetable = read(tables).timetable;
  EXPECT_TRUE(timetable.services.at(ServiceId("week")).runs_on(*ServiceDate::parse("20251006")));
  EXPECT_FALSE(timetable.services.at(ServiceId("week")).runs_on(*ServiceDate::parse("20251007")));
}

TEST(Gtfs, NeedsItsColumns) {
  EXPECT_THAT(
      [] { read_with("stop_times.txt", "trip_id,stop_id\nt1,s1\n"); },
      ThrowsMessage<std::runtime_error>(HasSubstr("stop_times.txt:1: no column 'stop_sequence'")));
  EXPECT_THAT([] { read_with("stops.txt", ""); },
              ThrowsMessage<std::runtime_error>(HasSubstr("stops.txt:1: no column 'stop_id'")));
}

TEST(Gtfs, NeedsATimeZone) {
  EXPECT_THAT([] { read_with("agency.txt", "agency_id,agency_timezone\nA,\n"); },
              ThrowsMessage<std::runtime_error>(HasSubstr("agency.txt states no time zone")));
}

TEST(Gtfs, DoesWithoutOptionalTablesAndColumns) {
  Tables tables = small_feed();
  tables.erase("shapes.txt");
  tables["routes.txt"] = "route_id\nr1\n";
  tables["trips.txt"] = "route_id,service_id,trip_id\nr1,week,t1\nr1,week,t2\n";
  const GtfsResult result = read(tables);
  EXPECT_EQ(result.timetable.trips.size(), 2U);
  EXPECT_EQ(result.timetable.routes[0].type, 3);
  EXPECT_FALSE(result.timetable.trips[0].direction.has_value());
  EXPECT_TRUE(result.rejections.empty());
}

TEST(Gtfs, PutsStopTimesInOrder) {
  const Timetable timetable = read_with("stop_times.txt",
                                        R"(stop_sequence,stop_id,trip_id,departure_time,arrival_time
30,s3,t1,08:10:00,08:10:00
2,s1,t2,24:05:00,24:05:00
10,s1,t1,08:00:00,08:00:00
0,s3,t2,23:55:00,23:55:00
20,s2,t1,08:05:00,08:05:00
)")
                                  .timetable;
  EXPECT_THAT(times(timetable.trips[0]),
              ElementsAre("08:00:00 08:00:00", "08:05:00 08:05:00", "08:10:00 08:10:00"));
  EXPECT_EQ(timetable.trips[0].stop_times[2].sequence, 30U);
  EXPECT_THAT(times(timetable.trips[1]), ElementsAre("23:55:00 23:55:00", "24:05:00 24:05:00"));
}

TEST(Gtfs, CompletesOneOfTwoTimesAndKeepsStopsWithoutAny) {
  const GtfsResult result = read_with("stop_times.txt",
                                      R"(trip_id,arrival_time,departure_time,stop_id,stop_sequence
t1,,08:00:00,s1,1
t1,,,s2,2
t1,08:10:00,,s3,3
t2,,,s3,1
t2,,,s1,2
)");
  EXPECT_THAT(times(result.timetable.trips[0]),
              ElementsAre("08:00:00 08:00:00", "- -", "08:10:00 08:10:00"));
  EXPECT_EQ(first(result.remarks, "stop_times.txt: first stop of a trip without time"),
            "stop_times.txt:5: t2,,,s3,1");
  EXPECT_EQ(result.remarks.count("stop_times.txt: last stop of a trip without time"), 1U);
}

TEST(Gtfs, DropsTimesThatFall) {
  const GtfsResult result = read_with("stop_times.txt",
                                      R"(trip_id,arrival_time,departure_time,stop_id,stop_sequence
t1,08:00:00,08:06:00,s1,1
t1,08:05:00,08:05:30,s2,2
t1,08:10:00,08:09:00,s3,3
)");
  EXPECT_THAT(times(result.timetable.trips[0]),
              ElementsAre("08:00:00 08:06:00", "- -", "08:10:00 08:10:00"));
  EXPECT_EQ(first(result.remarks, "stop_times.txt: time before an earlier one of the trip"),
            "stop_times.txt:3: t1,08:05:00,08:05:30,s2,2");
  EXPECT_EQ(result.remarks.count("stop_times.txt: departure_time before arrival_time"), 1U);
}

TEST(Gtfs, DropsTimesThatAreNone) {
  const GtfsResult result = read_with("stop_times.txt",
                                      R"(trip_id,arrival_time,departure_time,stop_id,stop_sequence
t1,08:00:00,08:00:00,s1,1
t1,8h05,08:05:00,s2,2
t1,08:10:00,30000:00:00,s3,3
)");
  EXPECT_THAT(times(result.timetable.trips[0]),
              ElementsAre("08:00:00 08:00:00", "08:05:00 08:05:00", "08:10:00 08:10:00"));
  EXPECT_EQ(result.remarks.count("stop_times.txt: arrival_time is no time"), 1U);
  EXPECT_EQ(result.remarks.count("stop_times.txt: departure_time is no time"), 1U);
}

TEST(Gtfs, RejectsStopTimesThatFitNowhere) {
  const GtfsResult result = read_with_rows("stop_times.txt", R"(t9,08:00:00,08:00:00,s1,1
t1,08:20:00,08:20:00,s9,4
t1,08:20:00,08:20:00,s3,-4
t1,08:20:00,08:20:00,s3,x
t1,08:20:00,08:20:00,s3,3
)");
  EXPECT_EQ(first(result.rejections, "stop_times.txt: unknown trip_id"),
            "stop_times.txt:7: t9,08:00:00,08:00:00,s1,1");
  EXPECT_EQ(result.rejections.count("stop_times.txt: unknown stop_id"), 1U);
  EXPECT_EQ(result.rejections.count("stop_times.txt: stop_sequence is no number from 0"), 2U);
  EXPECT_EQ(first(result.rejections, "stop_times.txt: stop_sequence occurs twice"),
            "stop_times.txt:11: t1,08:20:00,08:20:00,s3,3");
  EXPECT_EQ(result.timetable.trips[0].stop_times.size(), 3U);
}

TEST(Gtfs, RejectsTripsOfFewerThanTwoStops) {
  Tables tables = small_feed();
  tables["trips.txt"] = R"(route_id,service_id,trip_id
r1,week,empty
r1,week,t1
r1,week,short
r1,week,t2
)";
  tables["stop_times.txt"] += "short,08:00:00,08:00:00,s1,1\n";
  tables["frequencies.txt"] =
      "trip_id,start_time,end_time,headway_secs\nshort,06:00:00,07:00:00,600\n"
      "t2,06:00:00,07:00:00,600\n";
  const GtfsResult result = read(tables);
  EXPECT_THAT(ids(result.timetable.trips), ElementsAre("t1", "t2"));
  EXPECT_EQ(first(result.rejections, "trips.txt: trip of fewer than two stops"),
            "trips.txt:2: r1,week,empty");
  EXPECT_EQ(result.rejections.count("trips.txt: trip of fewer than two stops"), 2U);
  EXPECT_EQ(result.rejections.count("stop_times.txt: trip of fewer than two stops"), 1U);
  EXPECT_EQ(result.rejections.count("frequencies.txt: unknown trip_id"), 1U);
  ASSERT_EQ(result.timetable.frequencies.size(), 1U);
  EXPECT_EQ(result.timetable.frequencies[0].trip, 1U);
}

TEST(Gtfs, RejectsTripsThatReferToNothing) {
  const GtfsResult result = read_with_rows("trips.txt", R"(r9,week,t3,,,,
r1,never,t4,,,,
r1,week,,,,,
r1,week,t1,,,,
)");
  EXPECT_THAT(ids(result.timetable.trips), ElementsAre("t1", "t2"));
  EXPECT_EQ(first(result.rejections, "trips.txt: unknown route_id"), "trips.txt:4: r9,week,t3,,,,");
  EXPECT_EQ(result.rejections.count("trips.txt: unknown service_id"), 1U);
  EXPECT_EQ(result.rejections.count("trips.txt: no trip_id"), 1U);
  EXPECT_EQ(result.rejections.count("trips.txt: trip_id occurs twice"), 1U);
}

TEST(Gtfs, LeavesUnknownShapesAndDirectionsOut) {
  const GtfsResult result =
      read_with("trips.txt", R"(route_id,service_id,trip_id,shape_id,direction_id
r1,week,t1,p9,2
)");
  EXPECT_TRUE(result.timetable.trips[0].shape.empty());
  EXPECT_FALSE(result.timetable.trips[0].direction.has_value());
  EXPECT_EQ(result.remarks.count("trips.txt: unknown shape_id"), 1U);
  EXPECT_EQ(result.remarks.count("trips.txt: direction_id is neither 0 nor 1"), 1U);
}

TEST(Gtfs, RejectsStopsWithoutAPlace) {
  const GtfsResult result = read_with_rows("stops.txt", R"(s4,,nan,-6.1
s5,,,
s6,,0,0
s7,,91,0
s8,,53.1,-181
,,53.1,-6.1
s1,again,53.1,-6.1
)");
  EXPECT_EQ(result.timetable.stops.size(), 3U);
  EXPECT_EQ(result.timetable.stops[0].name, "First");
  EXPECT_EQ(result.rejections.count("stops.txt: implausible place"), 5U);
  EXPECT_EQ(first(result.rejections, "stops.txt: implausible place"), "stops.txt:5: s4,,nan,-6.1");
  EXPECT_EQ(result.rejections.count("stops.txt: no stop_id"), 1U);
  EXPECT_EQ(result.rejections.count("stops.txt: stop_id occurs twice"), 1U);
}

TEST(Gtfs, KeepsStationsOnlyIfATripCallsThere) {
  const GtfsResult result = read_with("stops.txt",
                                      R"(stop_id,stop_name,stop_lat,stop_lon,location_type
hall,Hall,53.10,-6.20,1
s1,First,53.10,-6.10,1
door,Door,53.10,-6.20,2
s2,Second,53.11,-6.10,0
s3,Bay,53.12,-6.10,4
s4,Never served,53.12,-6.10,
)");
  std::vector<std::string> stops;
  for (const Stop& stop : result.timetable.stops) stops.push_back(stop.id.text());
  EXPECT_THAT(stops, ElementsAre("s1", "s2", "s3", "s4"));
  EXPECT_EQ(result.rejections.count("stops.txt: station, entrance or node that no trip calls at"),
            2U);
  const std::vector<StopTime>& calls = result.timetable.trips[0].stop_times;
  EXPECT_EQ(calls[0].stop, 0U);
  EXPECT_EQ(calls[2].stop, 2U);
}

TEST(Gtfs, PutsShapePointsInOrder) {
  const GtfsResult result =
      read_with("shapes.txt",
                R"(shape_id,shape_pt_sequence,shape_pt_lat,shape_pt_lon,shape_dist_traveled
p1,3,53.12,-6.10,2.5
p2,1,53.10,-6.10,
p1,1,53.10,-6.10,0
p1,2,53.11,-6.10,3
p1,2,53.19,-6.10,1
p1,4,91,-6.10,9
)");
  const std::vector<ShapePoint>& points = result.timetable.shapes.at(ShapeId("p1"));
  ASSERT_EQ(points.size(), 3U);
  EXPECT_EQ(points[1].place.lat_deg, 53.11);
  EXPECT_EQ(points[2].dist, 2.5);
  EXPECT_EQ(result.timetable.shapes.count(ShapeId("p2")), 0U);
  EXPECT_EQ(result.rejections.count("shapes.txt: shape of one point"), 1U);
  EXPECT_EQ(result.rejections.count("shapes.txt: shape_pt_sequence occurs twice"), 1U);
  EXPECT_EQ(result.rejections.count("shapes.txt: implausible place"), 1U);
  EXPECT_EQ(first(result.remarks, "shapes.txt: shape_dist_traveled falls along the shape"),
            "shapes.txt:2: p1,3,53.12,-6.10,2.5");
}

TEST(Gtfs, ReadsBothCalendars) {
  Tables tables = small_feed();
  tables["calendar_dates.txt"] = R"(service_id,date,exception_type
week,20251006,2
week,20251011,1
week,20251011,2
extra,20251224,1
week,20251301,1
week,300000101,1
week,25000101,1
week,20251007,3
,20251007,1
)";
  const GtfsResult result = read(tables);
  const Service& week = result.timetable.services.at(ServiceId("week"));
  EXPECT_FALSE(week.runs_on(*ServiceDate::parse("20251006")));
  EXPECT_TRUE(week.runs_on(*ServiceDate::parse("20251011")));
  EXPECT_EQ(result.timetable.services.at(ServiceId("extra")).added.size(), 1U);
  EXPECT_EQ(result.rejections.count("calendar_dates.txt: date is no plausible date"), 3U);
  EXPECT_EQ(result.rejections.count("calendar_dates.txt: exception_type is neither 1 nor 2"), 1U);
  EXPECT_EQ(result.rejections.count("calendar_dates.txt: date of the service occurs twice"), 1U);
  EXPECT_EQ(result.rejections.count("calendar_dates.txt: no service_id"), 1U);
}

TEST(Gtfs, RejectsCalendarsWithoutDays) {
  const GtfsResult result = read_with_rows("calendar.txt", R"(a,1,1,1,1,1,0,0,20251231,20250101
b,1,1,1,1,1,0,0,20250101,30000
c,1,1,1,1,1,0,,20250101,20251231
week,1,1,1,1,1,1,1,20250101,20251231
d,1,1,1,1,1,1,1,30000101,30001231
e,1,1,1,1,1,1,1,20250101,99991231
)");
  EXPECT_EQ(result.rejections.count("calendar.txt: start_date and end_date are no span of days"),
            3U);
  EXPECT_EQ(result.rejections.count("calendar.txt: a weekday is neither 0 nor 1"), 1U);
  EXPECT_EQ(result.rejections.count("calendar.txt: service_id occurs twice"), 1U);
  EXPECT_EQ(result.timetable.services.at(ServiceId("e")).last->to_string(), "21991231");
  EXPECT_EQ(result.remarks.count("calendar.txt: days before 1970 or after 2199 left out"), 1U);
}

TEST(Gtfs, ReadsFrequencies) {
  const GtfsResult result = read_with("frequencies.txt",
                                      R"(trip_id,start_time,end_time,headway_secs
t2,06:00:00,26:00:00,600
t2,06:00:00,06:00:00,600
t2,06:00:00,07:00:00,0
t2,06:00:00,07:00:00,-600
t2,06:00:00,999:00:00,600
t2,six,07:00:00,600
)");
  ASSERT_EQ(result.timetable.frequencies.size(), 1U);
  EXPECT_EQ(result.timetable.frequencies[0].headway, Seconds(600));
  EXPECT_EQ(result.timetable.frequencies[0].end, Seconds(26 * 3600));
  EXPECT_EQ(result.rejections.total(), 5U);
}

TEST(Gtfs, ReadsFeedInfo) {
  const GtfsResult result = read_with(
      "feed_info.txt", "feed_version,feed_start_date,feed_end_date\n\"v 2\",20250101,2025\nv3,,\n");
  EXPECT_EQ(result.timetable.version, "v 2");
  EXPECT_EQ(result.timetable.first->to_string(), "20250101");
  EXPECT_FALSE(result.timetable.last.has_value());
  EXPECT_EQ(result.remarks.count("feed_info.txt: feed_end_date is no date"), 1U);
  EXPECT_EQ(result.rejections.count("feed_info.txt: more than one row"), 1U);
}

TEST(Gtfs, RejectsAGiganticFieldAndGoesOn) {
  GtfsOptions options;
  options.csv.field_bytes = 1000;
  Tables tables = small_feed();
  tables["stop_times.txt"] += "t1," + std::string(1'000'000, '8') + ",08:20:00,s3,4\n";
  const GtfsResult result = read_gtfs(FileBundle::of(tables, "feed"), options);
  EXPECT_EQ(result.rejections.count("stop_times.txt: field too long"), 1U);
  EXPECT_EQ(result.tables.at("stop_times.txt").rows, 6U);
  EXPECT_EQ(result.tables.at("stop_times.txt").used, 5U);
  EXPECT_EQ(result.timetable.trips[0].stop_times.size(), 3U);
}

TEST(Gtfs, StopsAtAZipBomb) {
  Tables tables = small_feed();
  tables["stop_times.txt"] += std::string(std::size_t{32} << 20U, '\n');
  std::vector<std::pair<std::string, std::string>> entries(tables.begin(), tables.end());
  const FileBundle bundle = FileBundle::open_zip(zip_of(entries), "feed.zip");
  EXPECT_THAT([&] { read_gtfs(bundle); },
              ThrowsMessage<std::runtime_error>(HasSubstr("feed.zip: stop_times.txt unpacks")));
}

TEST(Gtfs, ReadsManyTripsInAnyOrder) {
  constexpr int trips = 2000;
  Tables tables = small_feed();
  tables["trips.txt"] = "route_id,service_id,trip_id\n";
  tables["stop_times.txt"] = "trip_id,arrival_time,departure_time,stop_id,stop_sequence\n";
  for (int i = 0; i < trips; ++i) tables["trips.txt"] += "r1,week,t" + std::to_string(i) + "\n";
  for (const int call : {3, 1, 2}) {
    for (int i = 0; i < trips; ++i) {
      const std::string n = std::to_string(call);
      tables["stop_times.txt"] +=
          "t" + std::to_string(i) + ",0" + n + ":00:00,0" + n + ":00:00,s" + n + "," + n + "\n";
    }
  }
  const GtfsResult result = read(tables);
  ASSERT_EQ(result.timetable.trips.size(), std::size_t{trips});
  for (const Trip& trip : result.timetable.trips)
    EXPECT_THAT(times(trip),
                ElementsAre("01:00:00 01:00:00", "02:00:00 02:00:00", "03:00:00 03:00:00"));
  EXPECT_THAT(result.rejections.entries(), IsEmpty());
}

}  // namespace
}  // namespace qiv
