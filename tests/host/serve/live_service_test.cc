#include "serve/live_service.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <set>
#include <string>
#include <thread>

#include "evaluate/evaluation.h"
#include "feed/gtfs_realtime.h"
#include "host/feed/temporary_folder.h"
#include "host/serve/agency/agency_test_reports.h"
#include "host/serve/line_service.h"
#include "publish/trip_updates.h"

namespace qiv {
namespace {

using testing::at;
using testing::fix;
using testing::key_of;
using testing::LineService;
using testing::run_over_line;

/// Two trips, the second slower than the first and behind its timetable.
std::vector<VehiclePosition> recorded_morning() {
  std::vector<VehiclePosition> positions = run_over_line("v", "out", at("08:00:00"), 150);
  for (const VehiclePosition& p : run_over_line("w", "later", at("09:02:00"), 170)) {
    positions.push_back(p);
  }
  VehiclePosition last = fix("x", "", "09:59:00", 0);
  positions.push_back(last);
  return positions;
}

/// Hands over one answer and then waits.
class OneAnswer : public Source {
 public:
  explicit OneAnswer(std::vector<VehiclePosition> positions) : _positions(std::move(positions)) {}

  void run(std::stop_token stop, const TakePositions& take) override {
    take(std::vector(_positions));
    std::mutex mutex;
    std::unique_lock lock(mutex);
    std::condition_variable_any never;
    never.wait(lock, stop, [] { return false; });
  }
  SourceView view(Instant) const override {
    SourceView view;
    view.name = "answer";
    return view;
  }

 private:
  std::vector<VehiclePosition> _positions;
};

/// Hands over its answers one after the other, several in a second of the clock, which it drives.
class SlowAnswers : public OneAnswer {
 public:
  SlowAnswers(std::vector<std::vector<VehiclePosition>> answers, std::atomic<long>& clock_s)
      : OneAnswer({}), _answers(std::move(answers)), _clock_s(clock_s) {}

  void run(std::stop_token stop, const TakePositions& take) override {
    for (std::size_t i = 0; i < 100 && !stop.stop_requested(); ++i) {
      if (i < _answers.size()) take(std::vector(_answers[i]));
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      if (i % 3 == 2) ++_clock_s;
    }
  }

 private:
  std::vector<std::vector<VehiclePosition>> _answers;
  std::atomic<long>& _clock_s;
};

/// Keeps what was published, and waits for what is wanted.
class Published {
 public:
  Publish publish() {
    return [this](std::shared_ptr<const Snapshot> snapshot) {
      const std::lock_guard lock(_mutex);
      _all.push_back(std::move(snapshot));
      _changed.notify_all();
    };
  }
  std::shared_ptr<const Snapshot> wait_for(const std::function<bool(const Snapshot&)>& wanted) {
    std::unique_lock lock(_mutex);
    _changed.wait_for(lock, std::chrono::seconds(20),
                      [&] { return !_all.empty() && wanted(*_all.back()); });
    return _all.empty() ? nullptr : _all.back();
  }
  std::vector<std::shared_ptr<const Snapshot>> all() {
    const std::lock_guard lock(_mutex);
    return _all;
  }

 private:
  std::mutex _mutex;
  std::condition_variable _changed;
  std::vector<std::shared_ptr<const Snapshot>> _all;
};

class LiveServiceTest : public ::testing::Test {
 protected:
  LineService line;
  Published published;
};

TEST_F(LiveServiceTest, ScoresARecordedDayAsTheEvaluationDoes) {
  LiveCityOptions city_options;
  city_options.records = false;
  LiveCity city = line.city(city_options);
  LiveService service(city, {}, published.publish());
  const std::vector<VehiclePosition> positions = recorded_morning();
  service.run_recorded({}, positions, {});

  Evaluation evaluation(*line.network, line.settings);
  evaluation.add_day(testing::monday, positions,
                     [](PatternIndex, const Grid&) { return std::vector<Trajectory>(); });
  const Scorecard card = evaluation.scorecard();
  const LiveScore live = service.scores().scores().back();
  EXPECT_EQ(live.span, Seconds(0));
  EXPECT_EQ(live.arrivals, card.arrivals_observed);
  ASSERT_EQ(live.arrivals, 8U);
  const auto& forecast = card.on_display[0].buckets;
  const auto& timetable = card.on_display[1].buckets;
  const auto& delay = card.on_display[2].buckets;
  for (std::size_t i = 0; i < bucket_count; ++i) {
    EXPECT_EQ(live.buckets[i].n, forecast[i].n) << i;
    EXPECT_DOUBLE_EQ(live.buckets[i].mae_s, forecast[i].mae_s) << i;
    EXPECT_DOUBLE_EQ(live.buckets[i].bias_s, forecast[i].bias_s) << i;
    EXPECT_DOUBLE_EQ(live.buckets[i].timetable_mae_s, timetable[i].mae_s) << i;
    EXPECT_DOUBLE_EQ(live.buckets[i].timetable_delay_mae_s, delay[i].mae_s) << i;
  }
  EXPECT_DOUBLE_EQ(live.eta_score, card.on_display[0].eta_score);
}

/// What we published, as an agency's feed would say it.
struct FedBack {
  std::vector<AgencyReport> reports;
  std::vector<std::pair<std::string, std::string>> files;  ///< name and bytes
};

FedBack fed_back(const std::vector<std::shared_ptr<const Snapshot>>& published) {
  FedBack result;
  for (const auto& snapshot : published) {
    const std::string bytes =
        to_bytes(trip_updates(snapshot->trips, *snapshot->network, snapshot->now).message);
    auto content = std::make_shared<AgencyContent>();
    TripUpdateBatch batch = read_trip_updates(bytes);
    content->time = batch.time;
    content->updates = std::move(batch.updates);
    result.reports.push_back({"agency", snapshot->now, Seconds(600), content});
    result.files.emplace_back(std::to_string(unix_seconds(snapshot->now)) + ".pb", bytes);
  }
  return result;
}

class ShadowTest : public LiveServiceTest {
 protected:
  LiveScore score_with(std::span<const AgencyReport> reports) {
    LiveCityOptions options;
    options.records = false;
    LiveCity city = line.city(options);
    LiveService service(city, {}, published.publish());
    service.run_recorded({}, recorded_morning(), {}, reports);
    return service.scores().scores().back();
  }
};

TEST_F(ShadowTest, OurOwnUpdatesFedBackScoreAsWeDo) {
  score_with({});
  const LiveScore score = score_with(fed_back(published.all()).reports);
  ASSERT_TRUE(score.agency_eta_score);
  EXPECT_NEAR(*score.agency_eta_score, score.eta_score, 0.5);
  for (std::size_t i = 1; i < bucket_count; ++i) {
    const LiveScoreBucket& bucket = score.buckets[i];
    ASSERT_GT(bucket.n, 0U) << i;
    ASSERT_TRUE(bucket.agency) << i;
    EXPECT_DOUBLE_EQ(bucket.agency->mae_s, bucket.mae_s) << i;
    EXPECT_DOUBLE_EQ(bucket.agency->bias_s, bucket.bias_s) << i;
    EXPECT_DOUBLE_EQ(bucket.agency->forecast_mae_s, bucket.agency->own_mae_s) << i;
  }
}

TEST_F(ShadowTest, ALiveRunScoresTheAgencyAsTheEvaluationDoes) {
  score_with({});
  FedBack fed = fed_back(published.all());
  std::erase_if(fed.reports,
                [](const AgencyReport& report) { return unix_seconds(report.received) % 60 != 0; });
  const TemporaryFolder recording;
  for (const auto& [name, bytes] : fed.files) {
    if (std::stoll(name) % 60 == 0) recording.write(name, bytes);
  }
  const LiveScore live = score_with(fed.reports);
  Evaluation evaluation(*line.network, line.settings);
  evaluation.add_producer(OtherProducer("agency", recording.path()));
  evaluation.add_day(testing::monday, recorded_morning(),
                     [](PatternIndex, const Grid&) { return std::vector<Trajectory>(); });
  const Scorecard card = evaluation.scorecard();
  const ContenderScore& recorded = card.on_display.back();
  ASSERT_EQ(recorded.name, "agency");
  for (std::size_t i = 0; i < bucket_count; ++i) {
    ASSERT_TRUE(live.buckets[i].agency) << i;
    EXPECT_EQ(live.buckets[i].n, recorded.buckets[i].n) << i;
    EXPECT_DOUBLE_EQ(live.buckets[i].agency->mae_s, recorded.buckets[i].mae_s) << i;
    EXPECT_DOUBLE_EQ(live.buckets[i].agency->bias_s, recorded.buckets[i].bias_s) << i;
    EXPECT_EQ(live.buckets[i].agency->own_n, recorded.own_by_ahead[i].n) << i;
    EXPECT_DOUBLE_EQ(live.buckets[i].agency->own_mae_s, recorded.own_by_ahead[i].mae_s) << i;
  }
  EXPECT_DOUBLE_EQ(*live.agency_eta_score, recorded.eta_score);
}

TEST_F(LiveServiceTest, WhatTheAgencyCancelsIsNotForecast) {
  LiveCityOptions options;
  options.records = false;
  LiveCity city = line.city(options);
  LiveService service(city, {}, published.publish());
  std::vector<AgencyReport> repeated;
  for (int minute = 0; minute < 100; ++minute) {
    repeated.push_back(
        testing::report_of(std::vector{testing::update_of("later", TripStatus::canceled)},
                           at("08:10:00") + Seconds(60 * minute)));
  }
  service.run_recorded({}, recorded_morning(), {}, repeated);
  const auto state_at = [&](const char* time) -> std::optional<TripState> {
    for (const auto& snapshot : published.all()) {
      if (snapshot->now != at(time)) continue;
      for (const TripForecast& trip : snapshot->trips) {
        if (trip.trip == key_of("later")) return trip.state;
      }
    }
    return std::nullopt;
  };
  EXPECT_EQ(state_at("08:09:30"), TripState::not_begun) << "it is announced";
  EXPECT_EQ(state_at("08:10:00"), TripState::canceled);
  EXPECT_EQ(state_at("09:01:30"), TripState::canceled);
  EXPECT_EQ(state_at("09:05:00"), TripState::under_way) << "but a vehicle runs it";
  EXPECT_TRUE(published.all().back()->changes->find(key_of("later"))->contradicted);
}

TEST_F(LiveServiceTest, ARecordedDayIsOneOfTheSources) {
  LiveCityOptions options;
  options.records = false;
  LiveCity city = line.city(options);
  LiveService service(city, {}, published.publish());
  RecordedPace pace;
  pace.name = "positions of 2025-03-03";
  const std::vector<VehiclePosition> positions = recorded_morning();
  service.run_recorded({}, positions, pace);
  const auto all = published.all();
  ASSERT_EQ(all.front()->sources.size(), 1U);
  const SourceView& first = all.front()->sources.front();
  EXPECT_EQ(first.name, "positions of 2025-03-03");
  EXPECT_EQ(first.kind, "recorded day");
  EXPECT_EQ(first.health, SourceHealth::good);
  EXPECT_EQ(first.positions, 1U);
  const SourceView& last = all.back()->sources.front();
  EXPECT_EQ(last.health, SourceHealth::finished);
  EXPECT_EQ(last.positions, positions.size());
  EXPECT_EQ(last.header_time, positions.back().received);
  EXPECT_EQ(last.newest_entity_time, positions.back().time);
  EXPECT_EQ(last.last_success, positions.back().received);
}

TEST_F(LiveServiceTest, ARecordedDayIsShownInStepsOfTheDisplay) {
  LiveCityOptions city_options;
  city_options.records = false;
  LiveCity city = line.city(city_options);
  LiveService service(city, {}, published.publish());
  service.run_recorded({}, recorded_morning(), {});
  const auto all = published.all();
  ASSERT_EQ(all.size(), 119U * 2 + 1);
  EXPECT_EQ(all[1]->now - all[0]->now, Seconds(30));
  EXPECT_EQ(all.back()->now, at("09:59:00"));
  EXPECT_TRUE(all.back()->ready);
}

TEST_F(LiveServiceTest, TakesWhatItsSourcesHandOver) {
  LiveCity city = line.city();
  std::vector<std::unique_ptr<Source>> sources;
  sources.push_back(std::make_unique<OneAnswer>(std::vector{fix("v", "out", "08:01:00", 250)}));
  ServiceOptions options;
  options.city = "Line";
  options.cycle = std::chrono::milliseconds(5);
  LiveService service(city, std::move(sources), published.publish(), options);
  std::jthread engine(
      [&](std::stop_token stop) { service.run(std::move(stop), [] { return at("08:01:02"); }); });
  const auto shown = published.wait_for([](const Snapshot& s) { return !s.vehicles.empty(); });
  ASSERT_TRUE(shown);
  ASSERT_EQ(shown->vehicles.size(), 1U);
  // In the next second if the first cycle came before the answer.
  EXPECT_THAT(shown->vehicles.front().last_received,
              ::testing::AnyOf(at("08:01:02"), at("08:01:03")));
  EXPECT_EQ(shown->city, "Line");
  ASSERT_EQ(shown->sources.size(), 1U);
  EXPECT_EQ(shown->sources.front().name, "answer");
  engine.request_stop();
  engine.join();
  EXPECT_EQ(line.archive.summary().positions, 1U);
}

TEST_F(LiveServiceTest, TakesNothingMoreInASecondThatWasShown) {
  LiveCity city = line.city();
  std::vector<std::vector<VehiclePosition>> answers;
  for (int i = 0; i < 5; ++i) {
    answers.push_back({fix("v" + std::to_string(i), "", "08:01:00", 250)});
  }
  std::vector<std::unique_ptr<Source>> sources;
  std::atomic<long> clock_s = unix_seconds(at("08:01:02"));
  sources.push_back(std::make_unique<SlowAnswers>(answers, clock_s));
  ServiceOptions options;
  options.cycle = std::chrono::milliseconds(1);
  LiveService service(city, std::move(sources), published.publish(), options);
  std::jthread engine([&](std::stop_token stop) {
    service.run(std::move(stop), [&] { return from_unix_seconds(clock_s); });
  });
  published.wait_for([](const Snapshot& s) { return s.vehicles.size() == 5; });
  engine.request_stop();
  engine.join();
  std::set<Instant> shown;
  std::size_t taken = 0;
  for (const auto& snapshot : published.all()) {
    if (snapshot->counts.positions_taken > taken) {
      EXPECT_FALSE(shown.contains(snapshot->now)) << format_utc(snapshot->now);
    }
    taken = snapshot->counts.positions_taken;
    shown.insert(snapshot->now);
  }
  EXPECT_EQ(taken, 5U);
}

TEST_F(LiveServiceTest, DoesJobsBetweenItsCycles) {
  LiveCity city = line.city();
  ServiceOptions options;
  options.cycle = std::chrono::hours(1);
  LiveService service(city, {}, published.publish(), options);
  std::jthread engine(
      [&](std::stop_token stop) { service.run(std::move(stop), [] { return at("08:01:02"); }); });
  std::promise<Instant> done;
  service.post([&](LiveCity& of, Instant now) {
    EXPECT_EQ(&of, &city);
    done.set_value(now);
  });
  EXPECT_EQ(done.get_future().get(), at("08:01:02"));
}

TEST_F(LiveServiceTest, TellsWhyItIsNotReady) {
  LiveCity city = line.city();
  ServiceOptions options;
  options.cycle = std::chrono::milliseconds(5);
  LiveService service(city, {}, published.publish(), options);
  service.set_not_ready("the timetable is being read");
  std::jthread engine(
      [&](std::stop_token stop) { service.run(std::move(stop), [] { return at("08:01:02"); }); });
  EXPECT_EQ(published.wait_for([](const Snapshot&) { return true; })->not_ready,
            "the timetable is being read");
  service.set_not_ready("");
  EXPECT_TRUE(published.wait_for([](const Snapshot& s) { return s.ready; })->ready);
}

TEST_F(LiveServiceTest, SurvivesAClockThatIsSetBack) {
  LiveCity city = line.city();
  ServiceOptions options;
  options.cycle = std::chrono::milliseconds(2);
  LiveService service(city, {}, published.publish(), options);
  std::atomic<int> asked = 0;
  std::jthread engine([&](std::stop_token stop) {
    service.run(std::move(stop), [&] {
      const int times = asked++;
      if (times == 0) return at("08:00:00");
      return times < 5 ? at("07:59:50") : at("07:30:00");
    });
  });
  const auto later = published.wait_for([](const Snapshot& s) { return s.now == at("07:30:00"); });
  ASSERT_TRUE(later);
  EXPECT_EQ(later->now, at("07:30:00"));
  for (const auto& snapshot : published.all()) {
    EXPECT_NE(snapshot->now, at("07:59:50")) << "a small step back is waited for";
  }
}

}  // namespace
}  // namespace qiv
