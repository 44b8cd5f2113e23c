#include "host/worker/stream_data.h"

#include <map>

#include "feed/file_bundle.h"
#include "feed/gtfs.h"
#include "feed/position_source.h"
#include "network/build_network.h"
#include "simulate/fleet.h"
#include "simulate/gtfs_files.h"
#include "simulate/town.h"
#include "track/tracker.h"

namespace qiv::testing {
namespace {

const std::string folder = std::string(QIV_DATA_DIR) + "/dart-2025";
const ServiceDate recorded_day = *ServiceDate::parse("20251007");
const ServiceDate town_day = *ServiceDate::parse("20250304");

std::vector<VehiclePosition> read_day(const std::string& date) {
  std::vector<VehiclePosition> all;
  read_positions(folder + "/positions-" + date + ".csv.gz",
                 [&](const std::vector<VehiclePosition>& batch) {
                   all.insert(all.end(), batch.begin(), batch.end());
                 });
  return all;
}

void follow(const Network& network, const std::vector<VehiclePosition>& positions,
            std::vector<FinishedTrip>& finished) {
  Tracker tracker(network);
  std::vector<TrackEvent> events;
  for (const VehiclePosition& position : positions) {
    tracker.advance(position.received, events);
    tracker.update(position, events);
  }
  for (TrackEvent& event : events) {
    auto* const ended = std::get_if<TripEnded>(&event);
    if (ended == nullptr || ended->run.progress.empty()) continue;
    finished.push_back({stream_agency, std::move(ended->run), ended->received});
  }
}

/// What a reader sees of a fleet that polls its feed every ten seconds: the reports that were not
/// in the message before, those that are in it twice twice.
std::vector<VehiclePosition> polled(const Network& network, const FleetOptions& options,
                                    Instant from, Instant to) {
  Fleet fleet(network, options);
  std::vector<VehiclePosition> all;
  std::map<VehicleId, Instant> seen;
  for (Instant now = from; now < to; now += Seconds(10)) {
    const auto before = seen;
    for (VehiclePosition& position : fleet.reports(now)) {
      const auto known = before.find(position.vehicle);
      if (known != before.end() && known->second == position.time) continue;
      seen[position.vehicle] = position.time;
      all.push_back(std::move(position));
    }
  }
  return all;
}

}  // namespace

std::shared_ptr<const Network> network_of(const std::string& gtfs) {
  return std::make_shared<const Network>(
      build_network(read_gtfs(FileBundle::open_zip(gtfs, "timetable")).timetable));
}

StreamData recorded(const std::string& from, const std::string& to) {
  StreamData data;
  data.gtfs = *FileBundle::open(folder).read("gtfs.zip");
  data.network = network_of(data.gtfs);
  data.positions = read_day("20251007");
  const ServiceClock& clock = data.network->clock();
  const Instant first = clock.at(recorded_day, *parse_time_of_day(from));
  const Instant last = clock.at(recorded_day, *parse_time_of_day(to));
  std::erase_if(data.positions, [&](const VehiclePosition& position) {
    return position.received < first || position.received >= last;
  });
  for (const char* const date : {"20251001", "20251002", "20251006"}) {
    follow(*data.network, read_day(date), data.histories);
  }
  return data;
}

StreamData simulated(std::uint64_t seed) {
  TownOptions town;
  town.vehicles = 24;
  town.day = ServiceDate(town_day.days() - std::chrono::days(2));
  town.from = std::chrono::hours(8);
  town.length = std::chrono::hours(3);
  StreamData data;
  data.gtfs = zip_of(gtfs_files(make_town(town)));
  data.network = network_of(data.gtfs);
  FleetOptions fleet;
  fleet.every = Seconds(20);
  fleet.gap_share = 0.05;
  fleet.late_share = 0.03;
  fleet.doubled_share = 0.02;
  fleet.detour_share = 0.05;
  fleet.without_trip_share = 0.1;
  const auto from = [&](int days) {
    return data.network->clock().at(ServiceDate(town_day.days() - std::chrono::days(days)),
                                    std::chrono::hours(8));
  };
  for (const int days : {2, 1}) {
    fleet.seed = seed + static_cast<std::uint64_t>(days);
    follow(*data.network,
           polled(*data.network, fleet, from(days), from(days) + std::chrono::hours(2)),
           data.histories);
  }
  fleet.seed = seed;
  data.positions = polled(*data.network, fleet, from(0), from(0) + std::chrono::minutes(50));
  return data;
}

}  // namespace qiv::testing
