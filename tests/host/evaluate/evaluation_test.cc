#include "evaluate/evaluation.h"

#include <gmock/gmock.h>

#include <fstream>

#include "RQLogger.h"
#include "evaluate/report_json.h"
#include "evaluate/report_words.h"
#include "feed/gtfs.h"
#include "feed/position_source.h"
#include "host/evaluate/recording.h"
#include "publish/trip_updates.h"

namespace qiv {
namespace {

using testing::arrival_at;
using testing::entity;
using ::testing::IsEmpty;
using testing::monday;
using ::testing::Not;
using testing::snapshot;
using testing::stated;

std::vector<Trajectory> no_history(PatternIndex, const Grid&) {
  return {};
}

void expect_bucket(const ContenderScore& score, std::size_t i, std::uint64_t n, double mae_s,
                   std::uint64_t own_n, double own_mae_s) {
  EXPECT_EQ(score.buckets[i].n, n) << "bucket " << i;
  EXPECT_DOUBLE_EQ(score.buckets[i].mae_s, mae_s) << "bucket " << i;
  EXPECT_EQ(score.own_by_ahead[i].n, own_n) << "bucket " << i;
  EXPECT_DOUBLE_EQ(score.own_by_ahead[i].mae_s, own_mae_s) << "bucket " << i;
}

/// Trip "out" (A 08:00, B 08:02, ... E 08:08) runs ten seconds late; sampled every 30 s from
/// 08:00:00 to 08:08:00.
class SmallDayTest : public ::testing::Test {
 protected:
  std::vector<VehiclePosition> positions() const {
    return {stated("v", "out", "08:00:00", StopStatus::in_transit_to, 2, 0),
            stated("v", "out", "08:02:10", StopStatus::stopped_at, 2, 1000),
            stated("v", "out", "08:04:10", StopStatus::stopped_at, 3, 2000),
            stated("v", "out", "08:06:10", StopStatus::stopped_at, 4, 3000),
            stated("v", "out", "08:08:10", StopStatus::stopped_at, 5, 4000)};
  }

  Scorecard evaluate() {
    Evaluation evaluation(network, settings);
    evaluation.add_producer(OtherProducer("present", folder.path()));
    evaluation.add_day(monday, positions(), no_history);
    return evaluation.scorecard();
  }

  Network network = testing::straight_network();
  LearnedSettings settings;
  TemporaryFolder folder;
};

TEST_F(SmallDayTest, AnotherProducerIsScoredOnTheSameEvents) {
  // On display from 08:00:00: a minute too late everywhere.
  folder.write("1.pb", snapshot("08:00:00", entity("out", "stop_time_update { stop_sequence: 2 " +
                                                              arrival_at("08:03:10") + " }")));
  // On display from 08:02:00 to 08:07:00, when it is five minutes old: right for C, no more for D
  // and E; B is held to be passed, ten seconds before it is.
  folder.write(
      "2.pb",
      snapshot("08:02:00",
               entity("out",
                      "stop_time_update { stop_sequence: 3 arrival { delay: 10 } }"
                      "stop_time_update { stop_sequence: 4 schedule_relationship: NO_DATA }")));
  const Scorecard card = evaluate();
  const ContenderScore* const present = find_contender(card.on_display, "present");
  ASSERT_NE(present, nullptr);
  expect_bucket(*present, 0, 23, 430.0 / 23, 10, 30.0);
  expect_bucket(*present, 1, 15, 450.0 / 15, 6, 60.0);
  expect_bucket(*present, 2, 6, 310.0 / 6, 5, 60.0);
  EXPECT_EQ(present->own_n, 21U);
  EXPECT_DOUBLE_EQ(present->own_mae_s, 960.0 / 21);
  EXPECT_DOUBLE_EQ(present->mean_mae_s, (430.0 / 23 + 450.0 / 15 + 310.0 / 6) / 3);
  const ContenderScore* const timetable = find_contender(card.on_display, "timetable");
  expect_bucket(*timetable, 0, 23, 10.0, 23, 10.0);
  expect_bucket(*timetable, 1, 15, 10.0, 15, 10.0);
  EXPECT_EQ(find_contender(card.on_display, "forecast")->buckets[2].n, 6U);
  EXPECT_EQ(find_contender(card.at_reports, "present"), nullptr);
  EXPECT_EQ(present->source->snapshots_shown, 2U);
  EXPECT_EQ(present->source->not_used.count("call without data"), 1U);
}

TEST_F(SmallDayTest, ContendersWithoutEarlierTripsHaveNoEventsOfTheirOwn) {
  folder.write("1.pb", snapshot("12:00:00", ""));
  const Scorecard card = evaluate();
  for (const char* name : {"historical_mean", "category_mean", "last_vehicle", "present"}) {
    const ContenderScore* const contender = find_contender(card.on_display, name);
    EXPECT_EQ(contender->buckets[0].n, 23U) << name;
    EXPECT_EQ(contender->own_n, 0U) << name;
  }
  EXPECT_EQ(find_contender(card.on_display, "timetable_delay")->own_n, 44U);
  EXPECT_DOUBLE_EQ(find_contender(card.on_display, "present")->buckets[0].mae_s, 10.0)
      << "the timetable's";
}

TEST_F(SmallDayTest, HostileRecordingsAreCounted) {
  folder.write("1.pb", snapshot("08:00:00", entity("out",
                                                   "stop_time_update { stop_sequence: 2 "
                                                   "arrival { time: 9000000000000 } }") +
                                                entity("later", "delay: 2147483647")));
  folder.write("2.pb", std::string(1000, '\xff'));
  const Scorecard card = evaluate();
  const ContenderScore* const present = find_contender(card.on_display, "present");
  EXPECT_EQ(present->own_n, 0U);
  EXPECT_EQ(present->source->not_used.count("implausible predicted time"), 1U);
  EXPECT_EQ(present->source->not_used.count("delay beyond a day"), 1U);
  EXPECT_EQ(present->source->not_used.count("not a GTFS-realtime message"), 1U);
}

/// A Tuesday of recorded suburban trains, without any history but its own.
class RecordedDayTest : public ::testing::Test {
 protected:
  RecordedDayTest() {
    RQLogger::SetSink([](const RQLogger::Record&) {});
    const std::string data = std::string(QIV_DATA_DIR) + "/dart-2025";
    network.emplace(build_network(read_gtfs(FileBundle::open(data + "/gtfs.zip")).timetable));
    read_positions(data + "/positions-20250923.csv.gz", [&](const auto& batch) {
      positions.insert(positions.end(), batch.begin(), batch.end());
    });
  }
  ~RecordedDayTest() override { RQLogger::SetSink(RQLogger::Sink()); }

  /// What was on display, as a feed.
  void record(const std::filesystem::path& folder) const {
    Replay replay(*network, settings, no_history);
    ReplayObserver observer;
    observer.on_display = [&](Instant now, const std::vector<TripForecast>& shown) {
      const std::string file = std::to_string(unix_seconds(now)) + ".pb";
      std::ofstream(folder / file, std::ios::binary)
          << to_bytes(trip_updates(shown, *network, now).message);
    };
    replay.run(positions, observer);
  }

  ServiceDate day = *ServiceDate::parse("20250923");
  std::optional<Network> network;
  LearnedSettings settings;
  std::vector<VehiclePosition> positions;
};

TEST_F(RecordedDayTest, OurOwnUpdatesGivenBackHaveOurErrors) {
  const TemporaryFolder folder;
  record(folder.path());
  Evaluation evaluation(*network, settings);
  evaluation.add_producer(OtherProducer("again", folder.path()));
  evaluation.add_day(day, positions, no_history);
  const Scorecard card = evaluation.scorecard();
  const ContenderScore& ours = *find_contender(card.on_display, "forecast");
  const ContenderScore& again = *find_contender(card.on_display, "again");
  EXPECT_GT(ours.own_n, 100'000U);
  // A feed leaves out a stop that was passed and whose scheduled time is over. So the few events of
  // trains that were held to have passed, minutes before they had, are not in the recording.
  EXPECT_GE(again.own_n, ours.own_n - ours.own_n / 20'000);
  for (std::size_t i = 0; i < bucket_count; ++i) {
    EXPECT_EQ(again.buckets[i].n, ours.buckets[i].n) << i;
    if (i < 2 && again.own_by_ahead[i].n != ours.own_by_ahead[i].n) {
      EXPECT_NEAR(again.buckets[i].mae_s, ours.buckets[i].mae_s, 0.2) << i;
      continue;
    }
    EXPECT_EQ(again.buckets[i].mae_s, ours.buckets[i].mae_s) << i;
    EXPECT_EQ(again.buckets[i].bias_s, ours.buckets[i].bias_s) << i;
    EXPECT_EQ(again.buckets[i].p90_s, ours.buckets[i].p90_s) << i;
    EXPECT_EQ(again.own_by_ahead[i].n, ours.own_by_ahead[i].n) << i;
    EXPECT_EQ(again.own_by_ahead[i].mae_s, ours.own_by_ahead[i].mae_s) << i;
  }
  for (const auto& [reason, entry] : again.source->not_used.entries()) {
    ADD_FAILURE() << reason << ": " << entry.count << ", first " << entry.first;
  }
}

TEST_F(RecordedDayTest, TheSameInputGivesTheSameBytes) {
  const auto run = [&] {
    Evaluation evaluation(*network, settings);
    evaluation.add_day(day, positions, no_history);
    return std::pair(report_json(evaluation.scorecard()), evaluation.worst_trips());
  };
  const auto first = run();
  const auto second = run();
  EXPECT_EQ(first.first, second.first);
  ASSERT_THAT(first.second, Not(IsEmpty()));
  EXPECT_EQ(trip_plot(first.second[0]), trip_plot(second.second[0]));
}

}  // namespace
}  // namespace qiv
