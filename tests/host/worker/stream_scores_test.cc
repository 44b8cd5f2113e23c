// With histories that grow, workers learn of a trip when it has gone through the log; one process
// learns of it at once. That must not show in how good the forecasts are.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <iomanip>
#include <iostream>

#include "evaluate/scorecard.h"
#include "evaluate/truth.h"
#include "host/worker/mock_cluster.h"
#include "host/worker/plain_process.h"
#include "host/worker/stream_case.h"
#include "worker/forecast_codec.h"
#include "worker/vehicle_codec.h"

namespace qiv {
namespace {

using testing::MockCluster;
using testing::StreamCase;
using testing::WorkerThread;

/// Errors of forecasts at the moment at which they were made, by time to the actual arrival.
class Scores {
 public:
  Scores(const Network& network, const Truth& truth) : _network(network), _truth(truth) {}

  void add(const StreamMessage& message) {
    if (!message.value || is_of_vehicle(message)) return;
    const auto decoded = std::get<0>(decode_forecast(message, _network));
    const TripForecast& forecast = std::get<VehicleForecast>(decoded).forecast;
    const auto seen = _truth.find(forecast.trip);
    if (seen == _truth.end() || seen->second.vehicle != forecast.vehicle) return;
    for (std::size_t j = 1; j < forecast.stops.size(); ++j) {
      if (seen->second.arrivals[j])
        add(forecast.stops[j], *seen->second.arrivals[j], forecast.made);
    }
  }

  struct Bucket {
    std::uint64_t n = 0;
    double error_s = 0.0;
    double absolute_s = 0.0;
    std::uint64_t inside_90 = 0;

    double mae_s() const { return absolute_s / static_cast<double>(n); }
    double bias_s() const { return error_s / static_cast<double>(n); }
    double coverage_90() const { return static_cast<double>(inside_90) / static_cast<double>(n); }
  };
  std::array<Bucket, bucket_count> buckets;

 private:
  void add(const StopForecast& stop, const ObservedArrival& actual, Instant made) {
    const auto index = bucket_of(actual.time - made);
    if (!index || actual.time <= made) return;
    Bucket& bucket = buckets[*index];
    const auto error_s = static_cast<double>((actual.time - stop.arrival.time).count());
    ++bucket.n;
    bucket.error_s += error_s;
    bucket.absolute_s += std::abs(error_s);
    const bool inside =
        stop.arrival.lower_90 <= actual.time && actual.time <= stop.arrival.upper_90;
    bucket.inside_90 += inside ? 1 : 0;
  }

  const Network& _network;
  const Truth& _truth;
};

std::ostream& operator<<(std::ostream& out, const Scores& scores) {
  out << std::fixed << std::setprecision(2);
  for (const Scores::Bucket& bucket : scores.buckets) {
    out << "  " << bucket.n << ": " << bucket.mae_s() << " s, " << bucket.bias_s() << " s, "
        << 100.0 * bucket.coverage_90() << " %";
  }
  return out;
}

/// Counts the trips that join the histories of whoever reads them.
class Learned {
 public:
  explicit Learned(const StreamCase& stream)
      : _until(stream.until),
        _book(*stream.data.network, stream.settings),
        _log(stream.properties, {stream.names.finished}) {}

  void follow() {
    while (const auto message = _log.poll(std::chrono::milliseconds(50))) {
      const auto trip = std::get<FinishedTrip>(decode_finished(message->message));
      const bool joined = _book.take(trip);
      if (trip.finished <= _until) continue;
      ++finished;
      if (joined) ++trips;
    }
  }

  std::uint64_t finished = 0;
  std::uint64_t trips = 0;

 private:
  Instant _until;
  HistoryBook _book;
  kafka::LogReader _log;
};

class StreamScoresTest : public ::testing::TestWithParam<int> {
 protected:
  StreamScoresTest()
      : stream(cluster.properties(), "dart", testing::recorded("03:00:00", "27:00:00")) {
    for (const auto& [topic, partitions] : stream.topics()) cluster.make_topic(topic, partitions);
    stream.write_reference();
    for (int i = 0; i < GetParam(); ++i) {
      WorkerOptions options = stream.options(std::to_string(i));
      options.histories_until = Instant::max();
      workers.push_back(std::make_unique<WorkerThread>(options));
    }
  }

  /// Waits until all positions are forecast, and all workers have learned what came of them.
  bool catch_up(Learned& learned) {
    return testing::eventually([&] {
      learned.follow();
      std::uint64_t positions = 0;
      std::uint64_t finished = 0;
      bool all_know = true;
      for (const auto& worker : workers) {
        const WorkerCounts counts = worker->worker().counts();
        positions += counts.positions;
        finished += counts.trips_finished;
        all_know = all_know && counts.trips_learned == learned.trips;
      }
      return positions == stream.written() && finished == learned.finished && all_know;
    });
  }

  MockCluster cluster;
  StreamCase stream;
  std::vector<std::unique_ptr<WorkerThread>> workers;
};

TEST_P(StreamScoresTest, AreThoseOfOneProcess) {
  Learned learned(stream);
  ASSERT_TRUE(testing::eventually([&] {
    return std::all_of(workers.begin(), workers.end(), [&](const auto& worker) {
      return worker->worker().counts().partitions.size() == StreamCase::partitions / workers.size();
    });
  }));
  constexpr int slices = 8;
  for (int slice = 0; slice < slices; ++slice) {
    stream.write_positions(1.0 * slice / slices, 1.0 * (slice + 1) / slices);
    ASSERT_TRUE(catch_up(learned));
  }
  stream.write_end();
  ASSERT_TRUE(catch_up(learned));
  EXPECT_GT(learned.trips, 150U);
  const Truth truth = observe(*stream.data.network, stream.data.positions);
  Scores of_workers(*stream.data.network, truth);
  for (const kafka::Received& one : stream.contents(stream.names.forecasts)) {
    of_workers.add(one.message);
  }
  Scores of_one(*stream.data.network, truth);
  for (const StreamMessage& one : testing::plain_process(stream.data, stream.settings, true)) {
    of_one.add(one);
  }
  Scores without(*stream.data.network, truth);
  for (const StreamMessage& one : testing::plain_process(stream.data, stream.settings, false)) {
    without.add(one);
  }
  std::cout << "workers:    " << of_workers << "\none:        " << of_one
            << "\nnot grown:  " << without << "\n";
  for (std::size_t i = 0; i < bucket_count; ++i) {
    const Scores::Bucket& worker = of_workers.buckets[i];
    const Scores::Bucket& one = of_one.buckets[i];
    EXPECT_GT(one.n, 1000U);
    EXPECT_EQ(worker.n, one.n);
    EXPECT_NEAR(worker.mae_s(), one.mae_s(), 0.01 * one.mae_s());
    EXPECT_NEAR(worker.coverage_90(), one.coverage_90(), 0.01);
  }
}

INSTANTIATE_TEST_SUITE_P(Number, StreamScoresTest, ::testing::Values(2));

}  // namespace
}  // namespace qiv
