// What one report of a vehicle costs on its way: the feed's bytes, the position, the progress along
// its trip, the library's forecast, the times on display, the bytes that are served. Every step
// alone, and all together. Prints a page of documentation.
//
//   bench_report [rounds]

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <limits>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "RQLogger.h"
#include "engine/tracked_engine.h"
#include "feed/gtfs_realtime.h"
#include "publish/kept_trip_updates.h"
#include "report/answers.h"
#include "report/scene.h"
#include "track/tracker.h"

namespace report_bench {
namespace {

using namespace qiv;

double thread_cpu_ns() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

/// The least that each step took in a round, in nanoseconds of the thread's processor time.
class Stopwatch {
 public:
  void time(const std::string& step, const std::function<void()>& work) {
    const double began = thread_cpu_ns();
    work();
    _round[step] += thread_cpu_ns() - began;
  }
  void end_round() {
    for (const auto& [step, ns] : _round) {
      const auto least = _least.try_emplace(step, std::numeric_limits<double>::max()).first;
      least->second = std::min(least->second, ns);
    }
    _round.clear();
  }
  double least_ns(const std::string& step) const { return _least.at(step); }

 private:
  std::map<std::string, double> _round;
  std::map<std::string, double> _least;
};

PositionBatch read(const Message& message) {
  PositionOptions options;
  options.received = message.received;
  return read_vehicle_positions(message.bytes, options);
}

struct Totals {
  std::size_t entities = 0;
  std::size_t reports = 0;  ///< those that are not as in the message before
  std::size_t progress = 0;
  std::size_t trips = 0;  ///< on display in the last feed
  std::size_t bytes = 0;  ///< of the last feed
};

HistorySource past_of(const Scene& scene) {
  return [&network = *scene.network](PatternIndex pattern, const Grid& grid) {
    return earlier(network, pattern, grid);
  };
}

/// One round in which every step is a machine of its own, given what the step before made.
Totals run_steps(const Scene& scene, Stopwatch& watch) {
  Tracker tracker(*scene.network);
  Engine engine(*scene.network, scene.settings, past_of(scene));
  KeptTripUpdates updates;
  for (const Message& message : scene.before) {
    std::vector<TrackEvent> events;
    for (const VehiclePosition& position : read(message).positions) {
      tracker.update(position, events);
    }
    for (const TrackEvent& event : events) engine.apply(event);
    updates.next(engine.forecasts(message.received), scene.network, message.received);
  }
  Totals totals;
  for (const Message& message : scene.measured) {
    PositionBatch batch;
    watch.time("read", [&] { batch = read(message); });
    std::vector<TrackEvent> events;
    watch.time("track", [&] {
      for (const VehiclePosition& position : batch.positions) tracker.update(position, events);
    });
    watch.time("library", [&] {
      for (const TrackEvent& event : events) engine.apply(event);
    });
    std::vector<TripForecast> shown;
    watch.time("display", [&] { shown = engine.forecasts(message.received); });
    KeptTripUpdates::Feed feed;
    watch.time("publish", [&] { feed = updates.next(shown, scene.network, message.received); });
    std::string plain;
    watch.time("publish plainly",
               [&] { plain = plain_bytes(shown, *scene.network, message.received); });
    expect_equal(feed.bytes, plain, "the steps");
    totals.entities += batch.positions.size();
    totals.reports += static_cast<std::size_t>(std::count_if(
        batch.positions.begin(), batch.positions.end(),
        [&](const auto& position) { return message.received - position.time < Seconds(1); }));
    totals.progress += static_cast<std::size_t>(std::count_if(
        events.begin(), events.end(),
        [](const TrackEvent& event) { return std::holds_alternative<Progress>(event); }));
    totals.trips = feed.trips;
    totals.bytes = feed.bytes.size();
  }
  return totals;
}

/// One round of the whole way in one.
void run_together(const Scene& scene, Stopwatch& watch) {
  TrackedEngine tracked(*scene.network, scene.settings, past_of(scene));
  KeptTripUpdates updates;
  std::string last;
  const auto take = [&](const Message& message) {
    tracked.take(read(message).positions);
    last =
        updates.next(tracked.engine().forecasts(message.received), scene.network, message.received)
            .bytes;
  };
  for (const Message& message : scene.before) take(message);
  for (const Message& message : scene.measured) {
    watch.time("together", [&] { take(message); });
  }
  const Instant end = scene.measured.back().received;
  expect_equal(last, plain_bytes(tracked.engine().forecasts(end), *scene.network, end),
               "all together");
}

void print_row(const char* text, double ns, double of_ns) {
  std::printf("| %s | %.0f | %.0f %% |\n", text, ns, 100.0 * ns / of_ns);
}

void print(const Totals& totals, const Stopwatch& watch, int rounds) {
  const auto each = [&](const char* step) {
    return watch.least_ns(step) / static_cast<double>(totals.reports);
  };
  const double sum =
      each("read") + each("track") + each("library") + each("display") + each("publish");
  std::printf(
      "# The way of a report\n\nMeasured by `bench/report`, which prints this page; "
      "`scripts/bench` "
      "runs it.\n\nA town of %zu vehicles, each of which reports every %lld seconds; lines of 30 "
      "to 40 stops; %zu earlier\ntrips of each pattern in memory. Every second the whole message "
      "is read, taken, put on display and\npublished: %zu vehicles, of which %zu have reported "
      "anew; %zu trips in %.1f MB. Nanoseconds of processor\ntime for each new report, the "
      "least of %d rounds of %zu seconds; one thread. The bytes are compared with\nthose that "
      "are made the plain way, second by second.\n\n- build: %s, %s; %u processors\n\n",
      vehicles, static_cast<long long>(every.count()), earlier_trips,
      totals.entities / messages_measured, totals.reports / messages_measured, totals.trips,
      static_cast<double>(totals.bytes) / 1e6, rounds, messages_measured, QIV_COMPILER,
      QIV_BUILD_TYPE, std::thread::hardware_concurrency());
  std::printf("| step, alone | ns for each report | share |\n| --- | ---: | ---: |\n");
  print_row("protobuf → position", each("read"), sum);
  print_row("position → progress", each("track"), sum);
  print_row("progress → library's forecast", each("library"), sum);
  print_row("forecast → times on display, of every trip", each("display"), sum);
  print_row("times → published bytes", each("publish"), sum);
  print_row("sum of the steps", sum, sum);
  print_row("all together, in one run", each("together"), sum);
  std::printf(
      "\n%.1f %% of the new reports are progress and go through the library. Made anew as a whole "
      "message each\ntime, the published bytes would cost %.0f ns for each report, %.1f times "
      "what they cost.\n",
      100.0 * static_cast<double>(totals.progress) / static_cast<double>(totals.reports),
      each("publish plainly"), each("publish plainly") / each("publish"));
}

}  // namespace
}  // namespace report_bench

int main(int argc, char** argv) {
  using namespace report_bench;
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 3;
  RQLogger::SetSink([](const RQLogger::Record&) {});
  try {
    const Scene scene = make_scene();
    Stopwatch watch;
    Totals totals;
    for (int round = 0; round < rounds; ++round) {
      totals = run_steps(scene, watch);
      run_together(scene, watch);
      watch.end_round();
    }
    print(totals, watch, rounds);
  } catch (const std::exception& error) {
    std::cerr << "bench_report: " << error.what() << "\n";
    return 1;
  }
  return 0;
}
