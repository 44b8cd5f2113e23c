#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "RQLogger.h"
#include "TestJourney.h"

// What the library does when the host's sink, which gets its messages, misbehaves.

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const VehicleJourneyRef trip("T17", "");

class MessageSink : public testing::Test {
 protected:
  MessageSink() { Configuration().apply_to(journeys); }
  ~MessageSink() override { RQLogger::SetSink(RQLogger::Sink()); }

  std::string reject_milestones() {
    return rejection<invalid_milestones>([&] { journeys.read_milestones("A", 10, 7, {0, 0}); });
  }

  AllJourneys journeys;
};

const char* const rejected_milestones =
    "Invalid milestones: decreasing milestones (milestones[0]=0, milestones[1]=0)\n";

TEST_F(MessageSink, ThatThrowsDoesNotChangeWhatTheLibraryThrows) {
  const unsigned long long failures = RQLogger::SinkFailures();
  RQLogger::SetSink([](const RQLogger::Record&) { throw std::string("sink"); });
  testing::internal::CaptureStderr();
  EXPECT_EQ(reject_milestones(), rejected_milestones);
  EXPECT_EQ(rejection<invalid_bus_stops>([&] { journeys.read_bus_stops("A", 10, 7, {}, {}); }),
            "Invalid bus stops: number of bus stops=0 (less than 2)\n");
  EXPECT_EQ(rejection<invalid_history>([&] { journeys.read_history("A", 10, 7, 1, {}); }),
            "Invalid history: length of milestones=0 (less than 2)\n");
  const std::string output = testing::internal::GetCapturedStderr();
  EXPECT_THAT(output, HasSubstr("error KWXBN0063E Journey::read_milestones: "));
  EXPECT_THAT(output, HasSubstr("error KWXBN0070E Journey::read_bus_stops: "));
  EXPECT_THAT(output, HasSubstr("error KWXBN0081E Journey::read_history: "));
  EXPECT_EQ(RQLogger::SinkFailures(), failures + 3);
}

TEST_F(MessageSink, ThatThrowsDoesNotEndAReport) {
  journeys.read_milestones("A", 10, 7, {0, 100});
  RQLogger::SetSink([](const RQLogger::Record&) { throw 1; });
  testing::internal::CaptureStderr();
  Forecast* forecast = journeys.update("A", "bus", trip, 10, 7, 1, 50, 1000, 0.0);
  EXPECT_NE(forecast, nullptr);
  EXPECT_EQ(rejection<invalid_update>(
                [&] { journeys.update("A", "bus", trip, 10, 7, 1, 40, 1100, 0.0); }),
            "Invalid update: decreasing offset(s).\n"
            "Invalid update for bus:\n"
            "Given time stamp: 1100\n"
            "Given offset: 40\n"
            "Given max_error: 0\n"
            "Previous updates:\n"
            "Time stamp: 1000  Offset: 50\n");
  const std::string output = testing::internal::GetCapturedStderr();
  for (const char* const identifier : {"KWXBN0032I", "KWXBN0027I", "KWXBN0021E"}) {
    EXPECT_THAT(output, HasSubstr(identifier));
  }
}

TEST_F(MessageSink, ThatLogsDoesNotChangeWhatTheLibraryThrows) {
  std::vector<std::string> taken;
  RQLogger::SetSink([&taken](const RQLogger::Record& entry) {
    taken.push_back(entry.identifier);
    RQLogger::Error("Sink", "took " + entry.identifier);
  });
  testing::internal::CaptureStderr();
  EXPECT_EQ(reject_milestones(), rejected_milestones);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "error Sink: took KWXBN0063E\n");
  EXPECT_THAT(taken, ElementsAre("KWXBN0063E"));
}

TEST_F(MessageSink, ThatUsesAnotherRegistryDoesNotDisturbTheFirst) {
  AllJourneys other;
  Configuration().apply_to(other);
  std::vector<std::string> met;
  RQLogger::SetSink([&](const RQLogger::Record& entry) {
    met.push_back(entry.identifier);
    met.push_back(rejection<invalid_history>([&] { other.read_history("X", 1, 1, 1, {3, 2}); }));
    other.read_milestones("X", 1, 1, {0, 10});
    met.push_back(other.update("X", "bus", trip, 1, 1, 1, 5, 100, 0.0) != nullptr ? "forecast"
                                                                                  : "null");
  });
  testing::internal::CaptureStderr();
  EXPECT_EQ(reject_milestones(), rejected_milestones);
  const std::string output = testing::internal::GetCapturedStderr();
  EXPECT_THAT(met, ElementsAre("KWXBN0063E",
                               "Invalid history: decreasing time stamps (trajectory[0]=3, "
                               "trajectory[1]=2)\n",
                               "forecast"));
  EXPECT_THAT(output, HasSubstr("error KWXBN0082E Journey::read_history: "))
      << "what is logged within a sink goes to the standard error stream";
  RQLogger::SetSink(RQLogger::Sink());
  journeys.read_milestones("A", 10, 7, {0, 100});
  EXPECT_NE(journeys.update("A", "tram", trip, 10, 7, 1, 50, 1000, 0.0), nullptr);
}

TEST_F(MessageSink, ThatLetsAnExceptionOfAnotherRegistryOutDoesNotChangeWhatTheLibraryThrows) {
  AllJourneys other;
  Configuration().apply_to(other);
  RQLogger::SetSink([&](const RQLogger::Record&) { other.read_history("X", 1, 1, 1, {3, 2}); });
  testing::internal::CaptureStderr();
  EXPECT_EQ(reject_milestones(), rejected_milestones);
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("error KWXBN0063E Journey::read_milestones: "));
}

TEST_F(MessageSink, ThatReplacesItselfIsInForceForTheNextEntry) {
  std::vector<std::string> first;
  std::vector<std::string> second;
  RQLogger::SetSink([&](const RQLogger::Record& entry) {
    first.push_back(entry.identifier);
    RQLogger::SetSink([&](const RQLogger::Record& later) { second.push_back(later.identifier); });
  });
  reject_milestones();
  reject_milestones();
  EXPECT_THAT(first, ElementsAre("KWXBN0063E"));
  EXPECT_THAT(second, ElementsAre("KWXBN0063E"));
}

}  // namespace
