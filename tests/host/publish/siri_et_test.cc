#include "publish/siri_et.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "host/publish/siri_document.h"
#include "host/publish/small_network.h"

namespace qiv {
namespace {

using testing::at;
using ::testing::ElementsAre;
using testing::forecast_of;
using testing::ReadBack;

const Network& network() {
  static const Network network = testing::small_network();
  return network;
}

TripForecast under_way() {
  return forecast_of(network(), "T1", "08:06:30", {"08:00:00", "08:05:30"},
                     {"08:16:00", "08:26:00"});
}

const std::string frame = "//EstimatedJourneyVersionFrame";
const std::string journey = frame + "/EstimatedVehicleJourney";

TEST(SiriEt, NamesTheJourneyInTheStandardsOrder) {
  const ReadBack read(siri_et(std::vector{under_way()}, network(), at("08:07:00")));
  EXPECT_THAT(read.children(frame), ElementsAre("RecordedAtTime", "EstimatedVehicleJourney"));
  EXPECT_THAT(read.children(journey),
              ElementsAre("RecordedAtTime", "LineRef", "DirectionRef", "FramedVehicleJourneyRef",
                          "PublishedLineName", "OriginRef", "OriginName", "DestinationRef",
                          "DestinationName", "Monitored", "VehicleRef", "RecordedCalls",
                          "EstimatedCalls", "IsCompleteStopSequence"));
  EXPECT_EQ(read.text(journey + "/LineRef"), "L1");
  EXPECT_EQ(read.text(journey + "/DirectionRef"), "1");
  EXPECT_EQ(read.text(journey + "//DataFrameRef"), "2025-10-01");
  EXPECT_EQ(read.text(journey + "//DatedVehicleJourneyRef"), "T1");
  EXPECT_EQ(read.text(journey + "/OriginName"), "Town Hall");
  EXPECT_EQ(read.text(journey + "/VehicleRef"), "V7");
  EXPECT_EQ(read.text(journey + "/RecordedAtTime"), "2025-10-01T07:06:15Z");
}

TEST(SiriEt, RecordsWhatWasPassedAndEstimatesTheRest) {
  const ReadBack read(siri_et(std::vector{under_way()}, network(), at("08:07:00")));
  EXPECT_EQ(read.count(journey + "/RecordedCalls/RecordedCall"), 2u);
  EXPECT_EQ(read.count(journey + "/EstimatedCalls/EstimatedCall"), 2u);
  EXPECT_THAT(read.children("//RecordedCall[1]"),
              ElementsAre("StopPointRef", "Order", "StopPointName", "AimedDepartureTime",
                          "ActualDepartureTime"))
      << "no arrival at the first stop";
  const std::string park = "//EstimatedCall[1]";
  EXPECT_THAT(read.children(park),
              ElementsAre("StopPointRef", "Order", "StopPointName", "AimedArrivalTime",
                          "ExpectedArrivalTime", "ExpectedArrivalPredictionQuality",
                          "AimedDepartureTime", "ExpectedDepartureTime"));
  EXPECT_EQ(read.text(park + "/StopPointName"), "Park \"West\"");
  EXPECT_EQ(read.text(park + "/Order"), "3");
  EXPECT_EQ(read.text(park + "/AimedArrivalTime"), "2025-10-01T07:15:00Z");
  EXPECT_EQ(read.text(park + "/ExpectedArrivalTime"), "2025-10-01T07:16:00Z");
  EXPECT_THAT(read.children("//EstimatedCall[2]"),
              ElementsAre("StopPointRef", "Order", "StopPointName", "AimedArrivalTime",
                          "ExpectedArrivalTime", "ExpectedArrivalPredictionQuality"))
      << "no departure from the last stop";
}

TEST(SiriEt, StatesTheBoundsOfNineInTen) {
  const ReadBack read(siri_et(std::vector{under_way()}, network(), at("08:07:00")));
  const std::string quality = "//EstimatedCall[1]/ExpectedArrivalPredictionQuality";
  EXPECT_THAT(read.children(quality),
              ElementsAre("PredictionLevel", "Percentile", "LowerTimeLimit", "HigherTimeLimit"));
  EXPECT_EQ(read.text(quality + "/Percentile"), "90");
  EXPECT_EQ(read.text(quality + "/LowerTimeLimit"), "2025-10-01T07:14:00Z");
  EXPECT_EQ(read.text(quality + "/HigherTimeLimit"), "2025-10-01T07:18:00Z");
  EXPECT_EQ(read.text(quality + "/PredictionLevel"), "reliable");
  TripForecast timetable = under_way();
  timetable.basis = ForecastBasis::timetable;
  const ReadBack plain(siri_et(std::vector{timetable}, network(), at("08:07:00")));
  EXPECT_EQ(plain.text(quality + "/PredictionLevel"), "unconfirmed");
}

TEST(SiriEt, LeavesOutWhatIsOverOrUnknown) {
  TripForecast over = forecast_of(network(), "T1", "08:30:00",
                                  {"08:00:00", "08:05:00", "08:15:00", "08:25:00"}, {});
  TripForecast ghost = under_way();
  ghost.trip.trip = TripId("ghost");
  const ReadBack read(siri_et(std::vector{over, ghost}, network(), at("08:31:00")));
  EXPECT_EQ(read.count(frame), 0u) << "a frame wants a journey";
  EXPECT_EQ(read.text("//EstimatedTimetableDelivery/Status"), "true");
}

TEST(SiriEt, ACanceledJourneySaysSoInTheStandardsPlace) {
  TripForecast canceled = forecast_of(network(), "T1", "07:50:00", {},
                                      {"08:00:00", "08:05:00", "08:15:00", "08:25:00"});
  canceled.state = TripState::canceled;
  const ReadBack read(siri_et(std::vector{canceled}, network(), at("07:50:00")));
  const std::vector<std::string> members = read.children(journey);
  ASSERT_GT(members.size(), 5U);
  EXPECT_EQ(members[3], "FramedVehicleJourneyRef");
  EXPECT_EQ(members[4], "Cancellation");
  EXPECT_EQ(read.text(journey + "/Cancellation"), "true");
  EXPECT_EQ(read.count("//EstimatedCall/Cancellation"), 4U);
  EXPECT_EQ(read.count("//ExpectedArrivalTime"), 0U);
  EXPECT_EQ(read.count("//ExpectedDepartureTime"), 0U);
}

TEST(SiriEt, AJourneyThatItsVehicleDoesNotNameHasALevelOfConfidence) {
  const auto level = [](double sure) {
    const ReadBack read(siri_et(std::vector{under_way()}, network(), at("08:07:00"),
                                [sure](const TripForecast&) { return std::optional(sure); }));
    const std::vector<std::string> members = read.children(journey);
    const auto monitored = std::find(members.begin(), members.end(), "Monitored");
    EXPECT_EQ(*std::next(monitored), "ConfidenceLevel");
    EXPECT_EQ(*std::next(monitored, 2), "VehicleRef");
    return read.text(journey + "/ConfidenceLevel");
  };
  EXPECT_EQ(level(0.95), "probablyReliable");
  EXPECT_EQ(level(0.4), "unconfirmed");
  TripForecast alone = under_way();
  alone.vehicle = VehicleId();
  const ReadBack read(siri_et(std::vector{alone}, network(), at("08:07:00"),
                              [](const TripForecast&) { return std::optional(0.9); }));
  EXPECT_EQ(read.count(journey + "/ConfidenceLevel"), 0U) << "no vehicle, no assignment";
}

TEST(SiriEt, ASkippedCallIsCanceledAlone) {
  TripForecast skipping = under_way();
  skipping.stops.edit()[2].skipped = true;
  const ReadBack read(siri_et(std::vector{skipping}, network(), at("08:07:00")));
  EXPECT_EQ(read.count(journey + "/Cancellation"), 0U);
  EXPECT_THAT(read.children("//EstimatedCall[1]"),
              ElementsAre("StopPointRef", "Order", "StopPointName", "Cancellation",
                          "AimedArrivalTime", "AimedDepartureTime"));
  EXPECT_EQ(read.count("//EstimatedCall[2]/ExpectedArrivalTime"), 1U);
}

}  // namespace
}  // namespace qiv
