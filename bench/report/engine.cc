// How many reports a second the engine alone takes: histories in memory, reports already followed
// along their trips, one shard against several, side by side. Prints a piece of documentation.
//
//   bench_engine [rounds]

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <thread>
#include <vector>

#include "RQLogger.h"
#include "engine/engine.h"
#include "report/scene.h"

namespace report_bench {
namespace {

using namespace qiv;

constexpr std::size_t engine_vehicles = 2000;
/// A vehicle's reports on its trip: those before anything is measured, those measured, and those
/// that would follow. So 40 on average are behind a forecast, half way along the route.
constexpr int reports_before = 30;
constexpr int reports_measured = 20;
constexpr int reports_of_trip = 80;

/// The events of every vehicle's `number`th report, each vehicle on a trip of its own.
std::vector<TrackEvent> round_of_reports(const Network& network, ServiceDate day, int number) {
  std::vector<TrackEvent> events;
  const Instant now = network.clock().zero(day) + std::chrono::hours(8) + Seconds(10 * number);
  const std::vector<TripIndex> trips = network.trips_on(day);
  if (trips.size() < engine_vehicles) throw std::runtime_error("too few trips");
  for (std::size_t v = 0; v < engine_vehicles; ++v) {
    const TripPlan& plan = network.trip(trips[v]);
    Progress progress;
    progress.vehicle = VehicleId("bus " + std::to_string(v));
    progress.trip = {plan.id, day, plan.start};
    progress.pattern = plan.pattern;
    progress.time = progress.received = now;
    progress.offset_m = network.pattern(plan.pattern).length_m() * number / reports_of_trip;
    if (number == 0) {
      events.emplace_back(TripAssigned{progress.vehicle, progress.trip, plan.pattern, now});
    }
    events.emplace_back(std::move(progress));
  }
  return events;
}

void take(Engine& engine, const std::vector<TrackEvent>& events) {
  std::vector<std::vector<const TrackEvent*>> matter(engine.crew().size());
  engine.crew().together([&](std::size_t number) {
    EngineShard& shard = engine.shard(number);
    for (const TrackEvent& event : events) {
      if (engine.shard_of(vehicle_of(event)) != number) continue;
      if (shard.apply(event)) matter[number].push_back(&event);
    }
  });
  for (const auto& of_shard : matter) {
    for (const TrackEvent* const event : of_shard) engine.note(*event);
  }
}

struct Run {
  double seconds = 0.0;
  std::vector<TripForecast> shown;
};

Run run(const Scene& scene, ServiceDate day, std::size_t shards,
        const std::vector<std::vector<TrackEvent>>& rounds) {
  EngineOptions options;
  options.shards = shards;
  const Network& network = *scene.network;
  Engine engine(
      network, scene.settings,
      [&](PatternIndex pattern, const Grid& grid) { return earlier(network, pattern, grid); },
      options);
  for (int r = 0; r < reports_before; ++r) take(engine, rounds[static_cast<std::size_t>(r)]);
  const auto began = std::chrono::steady_clock::now();
  for (std::size_t r = reports_before; r < rounds.size(); ++r) take(engine, rounds[r]);
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
  return {took.count(), engine.forecasts(network.clock().zero(day) + std::chrono::hours(9))};
}

void expect_equal(const std::vector<TripForecast>& a, const std::vector<TripForecast>& b) {
  const bool equal =
      std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
        return x.trip == y.trip &&
               std::equal(x.stops.begin(), x.stops.end(), y.stops.begin(), y.stops.end());
      });
  if (a.empty() || !equal) throw std::runtime_error("the forecasts depend on the number of shards");
}

}  // namespace
}  // namespace report_bench

int main(int argc, char** argv) {
  using namespace report_bench;
  const int repetitions = argc > 1 ? std::atoi(argv[1]) : 15;
  RQLogger::SetSink([](const RQLogger::Record&) {});
  try {
    const Scene scene = make_scene();
    const ServiceDate day = scene.network->clock().local_day(scene.measured.front().received);
    std::vector<std::vector<TrackEvent>> rounds;
    for (int r = 0; r < reports_before + reports_measured; ++r) {
      rounds.push_back(round_of_reports(*scene.network, day, r));
    }
    const std::vector<std::size_t> shards = {1, 2, 4};
    std::vector<double> least(shards.size(), 1e9);
    for (int repetition = 0; repetition < repetitions; ++repetition) {
      std::vector<TripForecast> first;
      for (std::size_t i = 0; i < shards.size(); ++i) {
        Run result = run(scene, day, shards[i], rounds);
        least[i] = std::min(least[i], result.seconds);
        if (i == 0) {
          first = std::move(result.shown);
        } else {
          expect_equal(first, result.shown);
        }
      }
    }
    const double reports = static_cast<double>(engine_vehicles) * reports_measured;
    const char* const tunables = std::getenv("GLIBC_TUNABLES");
    std::printf(
        "\n## The engine alone%s\n\n%zu vehicles with 40 reports behind them on average, %zu "
        "earlier "
        "trips of each pattern in memory,\nreports already followed along their trips. Shortest of "
        "%d runs by the clock; %u processors. The\nforecasts are the same for each number of "
        "shards.\n\n| shards | reports a second | of one shard |\n| ---: | ---: | ---: |\n",
        tunables == nullptr ? "" : ", with large pages", engine_vehicles, earlier_trips,
        repetitions, std::thread::hardware_concurrency());
    for (std::size_t i = 0; i < shards.size(); ++i) {
      std::printf("| %zu | %.0f | %.2f × |\n", shards[i], reports / least[i], least[0] / least[i]);
    }
  } catch (const std::exception& error) {
    std::cerr << "bench_engine: " << error.what() << "\n";
    return 1;
  }
  return 0;
}
