#include <gmock/gmock.h>

#include <exception>
#include <map>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

#include "Journey.h"
#include "TestJourney.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const VehicleJourneyRef trip("T17", "");
const VehicleJourneyRef next_trip("T18", "");

/// Journeys with one stop at each end of 100; trips of category 1 take 1000. The references sort as
/// "A" < "B" < "C".
class AllJourneysTest : public testing::Test {
 protected:
  AllJourneysTest() { Configuration().apply_to(journeys); }

  void furnish(const std::string& reference) {
    journeys.read_milestones(reference, 10, 7, {0, 100});
    journeys.read_bus_stops(reference, 10, 7, {reference + "0", reference + "1"}, {0, 100});
    journeys.read_history(reference, 10, 7, 1, {0, 1000});
  }

  Forecast* update(const std::string& reference, const std::string& vehicleID, long long time,
                   double offset = 50, long long shape = 7,
                   const VehicleJourneyRef& journey = trip) {
    return journeys.update(reference, vehicleID, journey, 10, shape, 1, offset, time, 0.0);
  }

  /// "shape 7, 2 milestones, 1 trajectories", as the log of a hopeless trajectory tells.
  std::string held_by(const std::string& reference, long long shape = 7) {
    RecordedLog inner;
    rejection<invalid_history>([&] { journeys.read_history(reference, 10, shape, 1, {0}); });
    return inner.empty() ? "nothing logged" : inner.lines()[0];
  }

  RecordedLog log;
  AllJourneys journeys;
};

TEST_F(AllJourneysTest, KeepsAJourneyForEachReference) {
  furnish("A");
  furnish("B");
  Forecast* a = update("A", "bus", 10500);
  Forecast* b = update("B", "tram", 20500);
  ASSERT_NE(a, nullptr);
  ASSERT_NE(b, nullptr);
  EXPECT_NE(a, b);
  EXPECT_THAT(rows(*a), ElementsAre("A0 10000 [10000, 10000]", "A1 11000 [11000, 11000]"));
  EXPECT_THAT(rows(*b), ElementsAre("B0 20000 [20000, 20000]", "B1 21000 [21000, 21000]"));
  EXPECT_EQ(update("A", "bus", 10600), a);
}

TEST_F(AllJourneysTest, AnyStringIsAReference) {
  for (const std::string& reference :
       {std::string(), std::string("A\0B", 3), std::string("A"), std::string(1000, 'x')}) {
    furnish(reference);
  }
  EXPECT_NE(update("", "1", 10500), update("A", "2", 10500));
  EXPECT_NE(update(std::string("A\0B", 3), "3", 10500), update("A", "2", 10600));
}

TEST_F(AllJourneysTest, EveryKindOfMessageMakesTheJourneyThatItNames) {
  journeys.read_milestones("M", 10, 7, {0, 100});
  journeys.read_bus_stops("S", 10, 7, {"A", "B"}, {0, 100});
  journeys.read_history("H", 10, 7, 1, {0, 1000});
  EXPECT_EQ(update("U", "bus", 10500), nullptr);

  Configuration travel;
  travel.mode = "travel";
  travel.apply_to(journeys);
  for (const char* const reference : {"M", "S", "H", "U"}) {
    furnish(reference);
    Forecast* forecast = update(reference, reference, 10500);
    ASSERT_NE(forecast, nullptr);
    EXPECT_EQ(forecast->get_mode(), Forecast::arrival) << "made before the change";
  }
}

TEST_F(AllJourneysTest, RejectedFirstMessageMakesTheJourneyToo) {
  EXPECT_NE(rejection<invalid_milestones>([&] { journeys.read_milestones("A", 10, 7, {}); }),
            "accepted");
  EXPECT_EQ(held_by("A"), "error Journey::read_history KWXBN0081E %lld%u%u (7, 0, 1)");
  Configuration bad;
  bad.method = "none";
  bad.apply_to(journeys);
  EXPECT_EQ(update("A", "bus", 10500), nullptr) << "no second making, which would throw";
}

TEST_F(AllJourneysTest, ANewJourneyHoldsShapeMinusOneAtTimeZero) {
  journeys.read_milestones("A", 99, -1, {0, 100});
  EXPECT_EQ(held_by("A", -1), "error Journey::read_history KWXBN0080E %lld%u%u%u (-1, 0, 1, 2)");
  EXPECT_EQ(held_by("B", 0), "error Journey::read_history KWXBN0081E %lld%u%u (0, 0, 1)");
}

TEST_F(AllJourneysTest, ForwardsTheReadersToTheirJourney) {
  furnish("A");
  EXPECT_EQ(rejection<invalid_milestones>([&] { journeys.read_milestones("A", 10, 7, {0}); }),
            "Invalid milestones: number of milestones=1 (less than 2)\n");
  EXPECT_EQ(rejection<invalid_bus_stops>([&] {
              journeys.read_bus_stops("A", 10, 7, {"X"}, {0, 101});
            }),
            "Invalid bus stops: bus stops out of range (last offset=101, last milestone=100)\n");
  EXPECT_EQ(
      rejection<invalid_history>([&] {
        journeys.read_history("A", 10, 7, 1, {0, 1, 2});
      }),
      "Invalid history: incompatible with milestones (length of historical trajectory=3, number of "
      "milestones=2)\n");
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_milestones KWXBN0060E %lld%u (7, 1)",
                          "error Journey::read_bus_stops KWXBN0071E %lld%e%e (7, 101, 100)",
                          "error Journey::read_history KWXBN0080E %lld%u%u%u (7, 1, 3, 2)"));
}

TEST_F(AllJourneysTest, ForwardsAllArgumentsOfAReport) {
  furnish("A");
  Forecast* forecast = journeys.update("A", "bus", next_trip, 10, 7, 1, 50, 10500, 0.0);
  journeys.update("A", "bus", next_trip, 10, 7, 1, 45, 10600, 5.0);
  EXPECT_EQ((*forecast)[1].get_time(), 11100) << "pulled up within the tolerance";
  EXPECT_THROW(journeys.update("A", "bus", next_trip, 10, 7, 1, 45, 10700, 4.5), invalid_update);
  EXPECT_EQ(journeys.update("A", "bus", next_trip, 9, 6, 1, 60, 10800, 0.0), nullptr) << "stale";
  journeys.update("A", "bus", next_trip, 10, 7, 2, 60, 10800, 0.0);
  EXPECT_EQ(forecast->get_confidence(), 0.0) << "a category without trajectories";
}

TEST_F(AllJourneysTest, InitializeChangesOnlyTheJourneysToCome) {
  furnish("A");
  Configuration configuration;
  configuration.mode = "travel";
  configuration.max_size_history = 1;
  configuration.apply_to(journeys);
  furnish("B");
  for (const char* const reference : {"A", "B"}) {
    journeys.read_history(reference, 10, 7, 1, {0, 3000});
  }
  EXPECT_EQ(held_by("A"), "error Journey::read_history KWXBN0080E %lld%u%u%u (7, 2, 1, 2)");
  EXPECT_EQ(held_by("B"), "error Journey::read_history KWXBN0080E %lld%u%u%u (7, 1, 1, 2)");
  EXPECT_EQ(update("A", "bus", 10500)->get_mode(), Forecast::arrival);
  EXPECT_EQ(update("B", "tram", 10500)->get_mode(), Forecast::travel);
}

TEST_F(AllJourneysTest, InitializeWithAnotherBandwidthLeavesTheOldJourneysTheirs) {
  Configuration configuration;
  configuration.double_parameter = {1e300};
  configuration.apply_to(journeys);
  furnish("wide");
  configuration.double_parameter = {1e-300};
  configuration.apply_to(journeys);
  furnish("narrow");
  for (const char* const reference : {"wide", "narrow"}) {
    journeys.read_history(reference, 10, 7, 1, {1, 3001});
    update(reference, reference, 10000, 0);
    Forecast* forecast = update(reference, reference, 10500, 50);
    EXPECT_EQ((*forecast)[1].get_time(), reference == std::string("wide") ? 11500 : 11000);
    ASSERT_EQ((*forecast)[1].get_conditional_mean(), reference == std::string("wide") ? 1000 : 500);
  }
}

TEST_F(AllJourneysTest, InitializeChecksNothing) {
  Configuration bad;
  bad.method = bad.mode = bad.replacement_strategy = "bad";
  bad.double_parameter = {};
  bad.max_size_history = 0;
  testing::internal::CaptureStderr();
  EXPECT_NO_THROW(bad.apply_to(journeys));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(AllJourneysTest, BadMethodIsReportedByEveryReportThatNamesAnUnknownJourney) {
  furnish("A");
  Configuration bad;
  bad.method = "Mean";
  bad.apply_to(journeys);
  for (const char* const reference : {"B", "B", "C"}) {
    testing::internal::CaptureStderr();
    std::string caught = "nothing";
    try {
      update(reference, "bus", 10500);
    } catch (const std::exception& error) {
      caught = typeid(error) == typeid(std::exception) ? "exception" : "another";
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Invalid value of parameter 'method': Mean.\n");
    EXPECT_EQ(caught, "exception");
  }
  EXPECT_NE(update("A", "bus", 10500), nullptr) << "known journeys are not concerned";
  Configuration().apply_to(journeys);
  furnish("B");
  EXPECT_NE(update("B", "bus", 10600), nullptr) << "the failures left nothing behind";
}

TEST(AllJourneysBeforeInitialize, FailOnTheEmptyReplacementStrategyFirst) {
  AllJourneys journeys;
  testing::internal::CaptureStderr();
  std::string text;
  try {
    journeys.update("A", "bus", trip, 10, 7, 1, 50, 10500, 0.0);
  } catch (const std::invalid_argument& error) {
    text = error.what();
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(text, "Replacement strategy  hasn't been implemented yet.");
}

TEST(AllJourneysBeforeInitialize, SweepOfAnEmptyRegistryDoesNothing) {
  AllJourneys journeys;
  EXPECT_NO_THROW(journeys.remove_inactive_vehicles());
}

class HandOver : public AllJourneysTest {
 protected:
  HandOver() {
    for (const char* const reference : {"A", "B", "C"}) furnish(reference);
    journeys.read_history("without milestones", 10, 7, 1, {0, 1000});
    log.clear();
  }
};

TEST_F(HandOver, OlderReportOnAnotherJourneyIsDroppedAndTheVehicleStays) {
  for (const char* const holder : {"A", "C"}) {
    update(holder, holder, 100);
    log.clear();
    EXPECT_EQ(update("B", holder, 90), nullptr);
    EXPECT_EQ(update("B", holder, 99), nullptr) << "and again";
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_NE(update(holder, holder, 110), nullptr);
    EXPECT_THAT(log.lines(), IsEmpty()) << "no new vehicle";
  }
}

TEST_F(HandOver, ReportOfTheSameTimeMovesTheVehicle) {
  for (const char* const holder : {"A", "C"}) {
    update(holder, holder, 100500);
    log.clear();
    Forecast* forecast = update("B", holder, 100500, 25);
    ASSERT_NE(forecast, nullptr);
    EXPECT_EQ(log.lines(), std::vector<std::string>{
                               std::string("info Vehicle::update_position KWXBN0032I %s%s (\"") +
                               holder + "\", \"T17\")"});
    EXPECT_EQ((*forecast)[0].get_time(), 100250) << "a new start time, from the new journey";
  }
}

TEST_F(HandOver, LaterReportMovesTheVehicleAndBack) {
  update("A", "bus", 10500);
  update("B", "bus", 20000, 0);
  Forecast* forecast = update("A", "bus", 30500, 50);
  ASSERT_NE(forecast, nullptr);
  EXPECT_EQ((*forecast)[0].get_time(), 30000) << "seen for the first time again";
  EXPECT_EQ(forecast->get_first_index(), 1u);
}

TEST_F(HandOver, OlderReportOnTheJourneyThatHoldsTheVehicleIsItsOwnAffair) {
  update("A", "bus", 100, 50);
  EXPECT_NE(update("A", "bus", 90, 25), nullptr);
  EXPECT_EQ(update("B", "bus", 95), nullptr) << "the newest report counts, not the last to arrive";
}

TEST_F(HandOver, VehiclesMoveOneByOne) {
  update("A", "bus", 100);
  update("A", "tram", 100);
  update("B", "bus", 110);
  EXPECT_EQ(update("C", "tram", 90), nullptr) << "still on A";
  EXPECT_EQ(update("A", "bus", 105), nullptr) << "now on B";
}

TEST_F(HandOver, IsSettledBeforeTheNamedJourneyLooksAtTheReport) {
  update("A", "off the route", 100);
  EXPECT_EQ(update("B", "off the route", 110, 1000), nullptr);
  EXPECT_NE(update("C", "off the route", 50), nullptr) << "A has released it";

  update("A", "no milestones", 100);
  EXPECT_EQ(update("without milestones", "no milestones", 110), nullptr);
  EXPECT_NE(update("C", "no milestones", 50), nullptr) << "A has released it";

  update("A", "stale", 100);
  EXPECT_EQ(journeys.update("B", "stale", trip, 9, 6, 1, 50, 110, 0.0), nullptr);
  EXPECT_NE(update("C", "stale", 50), nullptr) << "A has released it";

  update("A", "new shape", 100);
  EXPECT_EQ(journeys.update("B", "new shape", trip, 11, 8, 1, 50, 110, 0.0), nullptr);
  EXPECT_NE(update("C", "new shape", 50), nullptr) << "A has released it";
}

TEST_F(HandOver, DroppedReportDoesNotReachTheNamedJourney) {
  update("A", "bus", 100);
  EXPECT_EQ(journeys.update("B", "bus", trip, 11, 8, 1, 50, 90, 0.0), nullptr);
  EXPECT_EQ(held_by("B"), "error Journey::read_history KWXBN0080E %lld%u%u%u (7, 1, 1, 2)")
      << "its new shape was not taken up";
}

TEST_F(HandOver, DroppedReportDoesNotMakeTheNamedJourney) {
  update("A", "bus", 100);
  Configuration bad;
  bad.method = "none";
  bad.apply_to(journeys);
  EXPECT_EQ(update("unknown", "bus", 90), nullptr) << "nothing was made, nothing thrown";
}

TEST_F(HandOver, IsDoneWhenTheNamedJourneyCannotBeMade) {
  update("A", "bus", 100);
  Configuration bad;
  bad.replacement_strategy = "none";
  bad.apply_to(journeys);
  EXPECT_THROW(update("unknown", "bus", 110), std::invalid_argument);
  EXPECT_NE(update("C", "bus", 50), nullptr) << "A has released it";
}

TEST_F(HandOver, MakesTheNamedJourneyWhenNoneClaims) {
  update("A", "bus", 100);
  EXPECT_EQ(update("unknown", "bus", 110), nullptr);
  furnish("unknown");
  EXPECT_NE(update("unknown", "bus", 120), nullptr);
}

TEST_F(HandOver, RejectedReportLeavesTheVehicleOnItsJourney) {
  update("A", "bus", 100, 50);
  EXPECT_THROW(update("A", "bus", 200, 10), invalid_update);
  EXPECT_EQ(update("B", "bus", 99), nullptr);
  EXPECT_NE(update("B", "bus", 150), nullptr) << "the rejected time does not count";
}

TEST_F(HandOver, WipedJourneyClaimsNothing) {
  update("A", "bus", 100);
  journeys.read_milestones("A", 11, 8, {0, 100});
  EXPECT_NE(update("B", "bus", 50), nullptr);
}

TEST_F(HandOver, ReloadedMilestonesKeepTheClaim) {
  update("A", "bus", 100);
  journeys.read_milestones("A", 10, 7, {0, 200});
  EXPECT_EQ(update("B", "bus", 50), nullptr);
}

TEST_F(HandOver, SweptJourneyClaimsNothing) {
  update("A", "bus", 100);
  journeys.remove_inactive_vehicles();
  EXPECT_EQ(update("B", "bus", 50), nullptr) << "alive at its first sweep";
  journeys.remove_inactive_vehicles();
  EXPECT_NE(update("B", "bus", 50), nullptr);
}

TEST_F(HandOver, SweepVisitsEveryJourney) {
  update("A", "bus", 100);
  update("B", "tram", 100);
  update("C", "ferry", 100);
  journeys.remove_inactive_vehicles();
  update("B", "tram", 110);
  journeys.remove_inactive_vehicles();
  EXPECT_NE(update("B", "bus", 50), nullptr);
  EXPECT_EQ(update("C", "tram", 50), nullptr) << "alive";
  EXPECT_NE(update("B", "ferry", 50), nullptr);
}

TEST_F(HandOver, VehicleThatMovedIsNewToTheSweep) {
  update("A", "bus", 100);
  journeys.remove_inactive_vehicles();
  update("B", "bus", 110);
  journeys.remove_inactive_vehicles();
  EXPECT_EQ(update("C", "bus", 105), nullptr) << "one update on A, one on B";
}

TEST_F(HandOver, TimesAreComparedWithTheirSign) {
  update("A", "bus", -100);
  EXPECT_EQ(update("B", "bus", -101), nullptr);
  EXPECT_NE(update("B", "bus", -100), nullptr);
}

TEST_F(HandOver, ReportWhoseForecastThrowsHasMovedTheVehicle) {
  journeys.read_bus_stops("odd", 10, 7, {"A", "B"}, {0, 100});
  journeys.read_milestones("odd", 10, 7, {0, 60});
  journeys.read_history("odd", 10, 7, 1, {0, 500});
  update("A", "bus", 100);
  EXPECT_THROW(update("odd", "bus", 110), std::invalid_argument);
  EXPECT_EQ(update("A", "bus", 105), nullptr) << "it is on the other journey now";
}

/// What the walk over all journeys says, in the plainest form: by journey, the newest time of the
/// one vehicle that a sequence is about.
class Walk {
 public:
  bool accepts(const std::string& named, long long time) {
    for (const char* const reference : {"A", "B", "C", "without milestones"}) {
      if (reference == named || _newest.count(reference) == 0) continue;
      if (_newest[reference] > time) return false;
      _newest.erase(reference);
    }
    if (named == "without milestones") return false;
    if (_newest.count(named) == 0 || _newest[named] < time) _newest[named] = time;
    return true;
  }

 private:
  std::map<std::string, long long> _newest;
};

TEST_F(HandOver, EverySequenceOfFourReportsGoesTheWayOfTheWalk) {
  const std::vector<std::string> references = {"A", "B", "C", "without milestones"};
  const unsigned int choices = 12;
  for (unsigned int sequence = 0; sequence < choices * choices * choices * choices; ++sequence) {
    const std::string vehicleID = std::to_string(sequence);
    Walk walk;
    std::string story;
    unsigned int rest = sequence;
    for (int step = 0; step < 4; ++step) {
      const std::string& reference = references[rest % 4];
      const long long time = 1 + rest / 4 % 3;
      rest /= choices;
      story += " " + reference + "@" + std::to_string(time);
      ASSERT_EQ(update(reference, vehicleID, time) != nullptr, walk.accepts(reference, time))
          << story;
    }
    log.clear();
  }
}

}  // namespace
