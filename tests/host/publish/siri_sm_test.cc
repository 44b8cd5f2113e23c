#include "publish/siri_sm.h"

#include <gmock/gmock.h>

#include "host/publish/siri_document.h"
#include "host/publish/small_network.h"

namespace qiv {
namespace {

using testing::at;
using ::testing::ElementsAre;
using testing::forecast_of;
using testing::ReadBack;

const std::string visit = "//MonitoredStopVisit";
const std::string call = visit + "/MonitoredVehicleJourney/MonitoredCall";

TEST(SiriSm, TellsTheCallsToCome) {
  const Network network = testing::small_network();
  const TripForecast forecast =
      forecast_of(network, "T1", "08:06:30", {"08:00:00", "08:05:30"}, {"08:16:00", "08:26:00"});
  const StopVisit visits[] = {{&forecast, 2}};
  const std::uint32_t park = *network.find_stop(StopId("PARK"));
  const ReadBack read(siri_sm(visits, park, network, at("08:07:00")));
  EXPECT_THAT(read.children("//StopMonitoringDelivery"),
              ElementsAre("ResponseTimestamp", "Status", "MonitoringRef", "MonitoredStopVisit"));
  EXPECT_THAT(read.children(visit), ElementsAre("RecordedAtTime", "ItemIdentifier", "MonitoringRef",
                                                "MonitoredVehicleJourney"));
  EXPECT_THAT(read.children(visit + "/MonitoredVehicleJourney"),
              ElementsAre("LineRef", "DirectionRef", "FramedVehicleJourneyRef", "PublishedLineName",
                          "OriginRef", "OriginName", "DestinationRef", "DestinationName",
                          "Monitored", "VehicleRef", "MonitoredCall"));
  EXPECT_THAT(read.children(call),
              ElementsAre("StopPointRef", "Order", "StopPointName", "AimedArrivalTime",
                          "ExpectedArrivalTime", "AimedDepartureTime", "ExpectedDepartureTime",
                          "Extensions"));
  EXPECT_EQ(read.text(visit + "/ItemIdentifier"), "T1.20251001.3");
  EXPECT_EQ(read.text(visit + "/MonitoringRef"), "PARK");
  EXPECT_EQ(read.text(call + "/ExpectedArrivalTime"), "2025-10-01T07:16:00Z");
  EXPECT_EQ(read.text(call + "//HigherTimeLimit"), "2025-10-01T07:18:00Z");
}

TEST(SiriSm, AnItemIsNamedByATokenWhateverTheTripIsCalled) {
  const Network network = testing::small_network("a b_c@1/ä");
  const TripForecast odd = forecast_of(network, "a b_c@1/ä", "08:06:30", {"08:00:00", "08:05:30"},
                                       {"08:16:00", "08:26:00"});
  TripForecast repeated =
      forecast_of(network, "R", "09:50:00", {}, {"10:00:00", "10:05:00", "10:15:00", "10:25:00"});
  const StopVisit visits[] = {{&odd, 2}, {&repeated, 2}};
  const std::uint32_t park = *network.find_stop(StopId("PARK"));
  const ReadBack read(siri_sm(visits, park, network, at("08:07:00")));
  EXPECT_EQ(read.text(visit + "[1]/ItemIdentifier"), "a_20b__c_401_2F_C3_A4.20251001.3");
  EXPECT_EQ(read.text(visit + "[2]/ItemIdentifier"), "R.20251001.10:00:00.3");
}

TEST(SiriSm, AStopWithoutVisitsHasADeliveryNevertheless) {
  const Network network = testing::small_network();
  const ReadBack read(siri_sm({}, 0, network, at("08:07:00")));
  EXPECT_THAT(read.children("//StopMonitoringDelivery"),
              ElementsAre("ResponseTimestamp", "Status", "MonitoringRef"));
}

TEST(SiriSm, AtTheFirstStopOnlyTheDepartureCounts) {
  const Network network = testing::small_network();
  const TripForecast forecast =
      forecast_of(network, "T1", "07:50:00", {}, {"08:00:00", "08:05:00", "08:15:00", "08:25:00"});
  const StopVisit visits[] = {{&forecast, 0}};
  const ReadBack read(siri_sm(visits, 0, network, at("07:50:00")));
  EXPECT_EQ(read.count(call + "/ExpectedArrivalTime"), 0u);
  EXPECT_EQ(read.count(call + "/ExpectedDepartureTime"), 1u);
  EXPECT_EQ(read.count(call + "/Extensions"), 0u);
}

TEST(SiriSm, AJourneyThatItsVehicleDoesNotNameHasALevelOfConfidence) {
  const Network network = testing::small_network();
  const TripForecast forecast =
      forecast_of(network, "T1", "08:06:30", {"08:00:00", "08:05:30"}, {"08:16:00", "08:26:00"});
  const StopVisit visits[] = {{&forecast, 2}};
  const ReadBack read(siri_sm(visits, *network.find_stop(StopId("PARK")), network, at("08:07:00"),
                              [](const TripForecast&) { return std::optional(0.85); }));
  EXPECT_EQ(read.text("//ConfidenceLevel"), "probablyReliable");
}

TEST(SiriSm, ACallThatIsNotMadeIsCancelled) {
  const Network network = testing::small_network();
  TripForecast forecast =
      forecast_of(network, "T1", "08:06:30", {"08:00:00", "08:05:30"}, {"08:16:00", "08:26:00"});
  forecast.stops.edit()[2].skipped = true;
  const StopVisit visits[] = {{&forecast, 2}};
  const ReadBack read(siri_sm(visits, *network.find_stop(StopId("PARK")), network, at("08:07:00")));
  EXPECT_THAT(read.children(call),
              ElementsAre("StopPointRef", "Order", "StopPointName", "AimedArrivalTime",
                          "ArrivalStatus", "AimedDepartureTime", "DepartureStatus"));
  EXPECT_EQ(read.text(call + "/ArrivalStatus"), "cancelled");
}

}  // namespace
}  // namespace qiv
