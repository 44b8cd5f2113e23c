// The time of an update among few and among many journeys. 2,000 vehicles report at random; each
// report may hand its vehicle over to a journey at random. The reports lie ready, as a host has
// them that has just read them. Beside it the time of fetching as much memory from as many places,
// without doing anything with it.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "differential/Draw.h"
#include "library/contenders.h"
#include "library/scene.h"

namespace {

using bench::Contender;
using bench::Size;

template <class Side>
class Network {
 public:
  Network(const Size& size, unsigned int nb_journeys, unsigned int reports_a_journey)
      : _size(size), _reports_a_journey(reports_a_journey), _draw(11) {
    bench::initialize(_journeys, size);
    for (unsigned int i = 0; i < nb_journeys; ++i) {
      _references.push_back("pattern " + std::to_string(i * 7919 % 100003));
      bench::load(_journeys, _references.back(), size, 1 + i);
    }
    for (unsigned int v = 0; v < 2000; ++v) {
      _vehicles.push_back({"vehicle " + std::to_string(v), 0, size.updates});
    }
  }

  /// Has so many reports ready, in the place of those before.
  void prepare(unsigned int nb_reports) {
    _reports.clear();
    _reports.reserve(nb_reports);
    for (unsigned int i = 0; i < nb_reports; ++i) prepare_one();
  }

  /// Takes those that are ready.
  void take() {
    for (const Report& report : _reports) {
      benchmark::DoNotOptimize(_journeys.update(report.reference, report.vehicle, _trip, 1, 1,
                                                bench::category, report.offset_m, report.time_s,
                                                1e9));
    }
  }

 private:
  struct Vehicle {
    std::string name;
    unsigned int journey;
    unsigned int index;
  };

  struct Report {
    std::string reference;
    std::string vehicle;
    double offset_m;
    long long time_s;
  };

  void prepare_one() {
    Vehicle& vehicle = _vehicles[_draw.below(static_cast<unsigned int>(_vehicles.size()))];
    if (vehicle.index >= _size.updates || _draw.one_in(_reports_a_journey)) {
      vehicle.journey = _draw.below(static_cast<unsigned int>(_references.size()));
      vehicle.index = _draw.below(_size.updates / 2);
    }
    _clock += 1;
    const double offset_m = bench::report(_size, 0, vehicle.index++).offset_m;
    _reports.push_back({_references[vehicle.journey], vehicle.name, offset_m, _clock});
  }

  const Size _size;
  const unsigned int _reports_a_journey;
  differential::RandomDraw _draw;
  const typename Side::VehicleJourneyRef _trip;
  long long _clock = bench::departure;
  std::vector<std::string> _references;
  std::vector<Vehicle> _vehicles;
  std::vector<Report> _reports;
  typename Side::AllJourneys _journeys;
};

/// The network of a benchmark, which stays from one of its repetitions to the next.
template <class Side>
Network<Side>& network_of(const Size& size, unsigned int nb_journeys,
                          unsigned int reports_a_journey) {
  static std::map<std::tuple<std::string, unsigned int, unsigned int>,
                  std::unique_ptr<Network<Side>>>
      networks;
  std::unique_ptr<Network<Side>>& network = networks[{size.name, nb_journeys, reports_a_journey}];
  if (network == nullptr) network.reset(new Network<Side>(size, nb_journeys, reports_a_journey));
  return *network;
}

template <class Side>
void time_reports(benchmark::State& state, const Size& size, unsigned int nb_journeys,
                  unsigned int reports_a_journey, Contender contender) {
  bench::choose(contender);
  Network<Side>& network = network_of<Side>(size, nb_journeys, reports_a_journey);
  const unsigned int nb_reports = contender == Contender::twin ? 500 : 20000;
  network.prepare(nb_reports);
  network.take();
  for (auto _ : state) {
    network.prepare(nb_reports);
    const double start_s = bench::thread_time_s();
    network.take();
    state.SetIterationTime((bench::thread_time_s() - start_s) / nb_reports);
  }
}

/// The memory that an update of the city's size touches, in cache lines of 64 bytes: the earlier
/// trips in 16-bit cells, the numbers of 40 forecast rows, which lie 136 bytes apart, stops and
/// milestones, the vehicle with its reports, and the way there.
const std::size_t line = 64;
const std::size_t lines_of_update = 107 + 62 + 13 + 16 + 19;

/// Fetches what an update of one of `nb_places` journeys at random touches, all of it asked for at
/// once.
void time_fetches(benchmark::State& state, unsigned int nb_places) {
  const std::size_t size = lines_of_update * line;
  std::vector<char> memory(size * nb_places, 1);
  differential::RandomDraw draw(11);
  const unsigned int nb_fetches = 20000;
  unsigned int sum = 0;
  const auto fetch = [&] {
    const char* const place = memory.data() + size * draw.below(nb_places);
    for (std::size_t i = 0; i < size; i += line) __builtin_prefetch(place + i);
    for (std::size_t i = 0; i < size; i += line) sum += static_cast<unsigned char>(place[i]);
  };
  for (unsigned int i = 0; i < nb_fetches; ++i) fetch();
  for (auto _ : state) {
    const double start_s = bench::thread_time_s();
    for (unsigned int i = 0; i < nb_fetches; ++i) fetch();
    benchmark::DoNotOptimize(sum);
    state.SetIterationTime((bench::thread_time_s() - start_s) / nb_fetches);
  }
}

void add(const Size& size, unsigned int nb_journeys, unsigned int reports_a_journey,
         Contender contender) {
  const auto time =
      contender == Contender::twin ? time_reports<bench::Twin> : time_reports<bench::Library>;
  const std::string name = "journeys:" + std::to_string(nb_journeys) +
                           "/reports_a_journey:" + std::to_string(reports_a_journey) + "/" +
                           size.name + "/" + bench::name_of(contender);
  benchmark::RegisterBenchmark(name.c_str(), time, size, nb_journeys, reports_a_journey, contender)
      ->UseManualTime()
      ->Iterations(3);
}

}  // namespace

int main(int argc, char** argv) {
  bench::silence_log();
  const Contender library = bench::contenders().back();
  for (const unsigned int nb_journeys : {10u, 100u, 1000u, 5000u}) {
    for (const Size& size : {bench::small_size, bench::city_size}) {
      for (const unsigned int reports_a_journey : {1u, 40u}) {
        add(size, nb_journeys, reports_a_journey, library);
      }
    }
    add(bench::large_size, nb_journeys, 40, library);
    add(bench::city_size, nb_journeys, 40, Contender::twin);
    const std::string name = "journeys:" + std::to_string(nb_journeys) + "/fetch/city/memory";
    benchmark::RegisterBenchmark(name.c_str(), time_fetches, nb_journeys)
        ->UseManualTime()
        ->Iterations(3);
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
