#include "serve/live_service.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "evaluate/evaluation.h"
#include "host/serve/line_service.h"

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
  EXPECT_EQ(shown->vehicles.front().last_received, at("08:01:02"));
  EXPECT_EQ(shown->city, "Line");
  ASSERT_EQ(shown->sources.size(), 1U);
  EXPECT_EQ(shown->sources.front().name, "answer");
  engine.request_stop();
  engine.join();
  EXPECT_EQ(line.archive.summary().positions, 1U);
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
