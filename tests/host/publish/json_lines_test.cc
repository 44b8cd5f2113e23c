#include "publish/json_lines.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "host/publish/small_network.h"
#include "publish/published_trip.h"

namespace qiv {
namespace {

using testing::forecast_of;
using ::testing::HasSubstr;
using testing::small_network;

class JsonLinesTest : public ::testing::Test {
 protected:
  JsonLines lines() const {
    return json_lines(std::vector{forecast}, network,
                      [](const TripForecast&) { return std::string("departures 08:00 to 08:30"); });
  }

  const Network network = small_network();
  TripForecast forecast =
      forecast_of(network, "T1", "08:10:00", {"08:02:00", "08:07:00"}, {"08:17:00", "08:27:00"});
};

TEST_F(JsonLinesTest, AWholeLine) {
  forecast.state = TripState::overdue;
  forecast.category = 17;
  forecast.trips = 42;
  forecast.confidence = 0.25;
  forecast.offset_m = 1834.567;
  forecast.pattern = PatternRef("not read");
  const std::string text = lines().text;
  EXPECT_THAT(text,
              ::testing::StartsWith(
                  R"({"trip_id":"T1","start_date":"20251001","start_time":null,"route_id":"L1",)"
                  R"("direction_id":1,"pattern":"L1/1/TOWN-HARBOUR/)"));
  EXPECT_THAT(
      text,
      HasSubstr(
          R"("vehicle_id":"V7","state":"overdue","basis":"history","category":17,)"
          R"("category_text":"departures 08:00 to 08:30","earlier_trips":42,"confidence":0.25,)"
          R"("made":1759302600,"made_utc":"2025-10-01T07:10:00Z","position_time":1759302585,)"
          R"("offset_m":1834.6,"stops":[{"stop_sequence":1,"stop_id":"TOWN",)"
          R"("stop_name":"Town Hall","observed":true,"scheduled_arrival":1759302000,)"
          R"("scheduled_departure":1759302000,"arrival":1759302120,"delay_s":120,)"));
  EXPECT_THAT(
      text,
      HasSubstr(
          R"({"stop_sequence":5,"stop_id":"PARK","stop_name":"Park \"West\"","observed":false,)"
          R"("scheduled_arrival":1759302900,"scheduled_departure":1759302900,"arrival":1759303020,)"
          R"("delay_s":120,"lower_68":1759302960,"upper_68":1759303080,"lower_90":1759302900,)"
          R"("upper_90":1759303140,"leave_by":1759302900,"departure":1759303040,)"
          R"("library_lower":1759302990,"library_upper":1759303050})"));
  EXPECT_EQ(text.find('\n'), text.size() - 1);
}

TEST_F(JsonLinesTest, WhatIsNotKnownIsNull) {
  forecast.vehicle = VehicleId();
  forecast.position_time = Instant();
  const JsonLines made = json_lines(std::vector{forecast}, network, nullptr);
  EXPECT_THAT(made.text, HasSubstr(R"("vehicle_id":null)"));
  EXPECT_THAT(made.text, HasSubstr(R"("position_time":null)"));
  EXPECT_THAT(made.text, HasSubstr(R"("category_text":null)"));
}

TEST_F(JsonLinesTest, RepetitionHasItsStart) {
  forecast =
      forecast_of(network, "R", "10:00:00", {}, {"10:00:00", "10:05:00", "10:15:00", "10:25:00"});
  EXPECT_THAT(lines().text, HasSubstr(R"("start_time":"10:00:00")"));
}

TEST_F(JsonLinesTest, TextThatIsNotUtf8IsRepaired) {
  forecast.vehicle = VehicleId("caf\xe9");
  EXPECT_THAT(lines().text, HasSubstr("\"caf\xef\xbf\xbd\""));
}

TEST_F(JsonLinesTest, TravelTimesAreLegsInPlaceOfStops) {
  forecast = testing::legs_of(network, "T1", "08:10:00", 1, {310, 540, 600});
  const std::string text = lines().text;
  EXPECT_THAT(
      text,
      HasSubstr(
          R"("offset_m":0.0,"legs":[{"from_stop_sequence":1,"from_stop_id":"TOWN",)"
          R"("from_stop_name":"Town Hall","to_stop_sequence":2,"to_stop_id":"MARKET",)"
          R"("to_stop_name":"Market","observed":true,"scheduled_s":300,"travel_time_s":310,)"
          R"("elapsed_s":null,"library_lower_s":310,"library_upper_s":310},)"
          R"({"from_stop_sequence":2,"from_stop_id":"MARKET",)"
          R"("from_stop_name":"Market","to_stop_sequence":5,"to_stop_id":"PARK",)"
          R"("to_stop_name":"Park \"West\"","observed":false,"scheduled_s":600,)"
          R"("travel_time_s":540,"elapsed_s":40,"library_lower_s":525,"library_upper_s":555},)"))
      << "scheduled from arrival to arrival";
  EXPECT_THAT(text, ::testing::Not(HasSubstr("\"stops\"")));
}

TEST_F(JsonLinesTest, OneLineEachAndTheRestCounted) {
  TripForecast other =
      forecast_of(network, "R", "10:00:00", {}, {"10:00:00", "10:05:00", "10:15:00", "10:25:00"});
  TripForecast unknown = forecast;
  unknown.trip.trip = TripId("T99");
  const JsonLines made = json_lines(std::vector{forecast, unknown, other}, network, nullptr);
  EXPECT_EQ(std::count(made.text.begin(), made.text.end(), '\n'), 2);
  EXPECT_EQ(made.withheld.count(withheld::unknown_trip), 1U);
}

}  // namespace
}  // namespace qiv
