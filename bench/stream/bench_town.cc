#include "stream/bench_town.h"

#include "app/stream_worker.h"
#include "simulate/gtfs_files.h"
#include "simulate/town.h"

namespace qiv::bench_town {

const AgencyId agency("town");
const ServiceDate day = *ServiceDate::parse("20250304");

std::shared_ptr<const Network> make_network(std::size_t vehicles) {
  TownOptions town;
  town.vehicles = vehicles;
  town.day = day;
  town.from = std::chrono::hours(8);
  town.length = std::chrono::hours(3);
  return network_of(zip_of(gtfs_files(make_town(town))));
}

FleetOptions fleet_options() {
  FleetOptions options;
  options.every = report_interval;
  options.seed = 3;
  return options;
}

}  // namespace qiv::bench_town
