// Bytes for each stored trip and for each vehicle at the size of a network, as the C library's
// allocator counts them.

#include <malloc.h>

#include <cstdio>
#include <string>

#include "library/scene.h"

namespace {

const bench::Size network_size = {"network", 100, 40, 40, 60};
const unsigned int nb_patterns = 10000;

double bytes_in_use() {
  const struct mallinfo2 info = mallinfo2();
  return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
}

std::string reference(unsigned int pattern) {
  return "pattern " + std::to_string(pattern);
}

void measure() {
  AllJourneys journeys;
  bench::initialize(journeys, network_size);
  const auto milestones = bench::milestones(network_size);
  const auto names = bench::stop_names(network_size);
  const auto offsets = bench::stop_offsets(network_size);
  const double start = bytes_in_use();
  for (unsigned int i = 0; i < nb_patterns; ++i) {
    journeys.read_milestones(reference(i), 1, 1, milestones);
    journeys.read_bus_stops(reference(i), 1, 1, names, offsets);
  }
  const double with_routes = bytes_in_use();
  const auto trips = bench::trajectories(network_size, 5);
  // One trip of every pattern after the other, as days bring them.
  for (const std::vector<int>& trip : trips) {
    for (unsigned int i = 0; i < nb_patterns; ++i) {
      journeys.read_history(reference(i), 1, 1, bench::category, trip);
    }
  }
  const double with_trips = bytes_in_use();
  const VehicleJourneyRef trip("trip 17", "2026-05-01");
  for (unsigned int i = 0; i < nb_patterns; ++i) {
    const std::string vehicle = "vehicle " + std::to_string(i);
    for (unsigned int u = 0; u < network_size.updates; ++u) {
      const bench::Report sent = bench::report(network_size, 0, u);
      journeys.update(reference(i), vehicle, trip, 1, 1, bench::no_category, sent.offset_m,
                      sent.time_s, 0.0);
    }
  }
  const double with_vehicles = bytes_in_use();
  std::printf("bytes for each pattern's route and record: %.0f\n",
              (with_routes - start) / nb_patterns);
  std::printf("bytes for each stored trip: %.1f\n",
              (with_trips - with_routes) / nb_patterns / network_size.trips);
  std::printf("of these its times, once: %zu\n", network_size.milestones * sizeof(int));
  std::printf("bytes for each vehicle: %.0f\n", (with_vehicles - with_trips) / nb_patterns);
  std::printf("of these its reports: %zu\n", network_size.updates * sizeof(Position));
}

}  // namespace

int main() {
  bench::silence_log();
  measure();
  return 0;
}
