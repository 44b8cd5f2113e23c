#include "host/serve/api/sample_snapshot.h"

#include <utility>

namespace qiv::testing {
namespace {

VehicleView vehicle(const std::string& id, VehicleStatus status, Instant now) {
  VehicleView view;
  view.vehicle = VehicleId(id);
  view.status = status;
  view.since = now - Seconds(180);
  view.last_report = now - Seconds(10);
  view.last_received = now - Seconds(5);
  return view;
}

SourceView source(Instant now) {
  SourceView view;
  view.name = "buses";
  view.kind = "gtfs-realtime over HTTP";
  view.health = SourceHealth::good;
  view.last_success = now - Seconds(5);
  view.header_time = now - Seconds(7);
  view.newest_entity_time = now - Seconds(10);
  view.fetches = 12;
  view.failures = 1;
  view.positions = 20;
  view.rejections.add("no position", [] { return "entity 'x'"; });
  return view;
}

/// Something of each kind. What is canceled lies on another day, so that the display shows nothing
/// of it.
std::shared_ptr<const ServiceChanges> sample_changes() {
  auto changes = std::make_shared<ServiceChanges>();
  TripChange& canceled =
      changes->trips[{TripId("later"), monday + std::chrono::days(1), Seconds(0)}];
  canceled.canceled = true;
  canceled.said_by = "updates";
  canceled.why = "trip update";
  TripChange& skipping =
      changes->trips[{TripId("loop1"), monday + std::chrono::days(1), Seconds(0)}];
  skipping.skipped = {1};
  skipping.said_by = "alerts";
  skipping.why = "Road works";
  AddedTrip& added = changes->added.emplace_back();
  added.trip = TripId("extra");
  added.said_by = "updates";
  ServiceAlert& alert = changes->alerts.emplace_back();
  alert.id = "7";
  alert.effect = AlertEffect::detour;
  alert.informed.emplace_back().route = RouteId("r");
  changes->not_used.add("trip is not in the timetable", [] { return "trip X"; });
  return changes;
}

}  // namespace

std::shared_ptr<const Network> line_network() {
  Timetable timetable = straight_timetable();
  const char* const names[] = {"Abbey", "Bridge", "Church Street", "Dock", "École"};
  for (std::size_t i = 0; i < timetable.stops.size(); ++i) timetable.stops[i].name = names[i];
  timetable.routes[0].color = "00AA55";
  timetable.trips[0].headsign = "Seaside";
  timetable.version = "spring";
  return std::make_shared<const Network>(build_network(timetable));
}

TripForecast line_forecast(const Network& network, const std::string& trip, std::size_t passed,
                           Seconds delay, Instant made) {
  TripForecast forecast;
  forecast.trip = {TripId(trip), monday, Seconds(0)};
  const ScheduledTrip schedule = *network.schedule(forecast.trip);
  const JourneyPattern& pattern = network.pattern(schedule.pattern());
  forecast.pattern = pattern.ref;
  forecast.made = made;
  forecast.category = 0;
  forecast.trips = 8;
  forecast.confidence = 2.0 / 3.0;
  for (std::size_t i = 0; i < pattern.stops.size(); ++i) {
    StopForecast stop;
    stop.stop = pattern.stops[i].stop;
    stop.stop_sequence = schedule.plan->call(i).sequence;
    stop.observed = i < passed;
    const Instant time = schedule.arrival(i) + (stop.observed ? Seconds(0) : delay);
    const Seconds half(stop.observed ? 0 : 60);
    stop.arrival = {time, time - half, time + half, time - 2 * half, time + 2 * half};
    stop.departure = time;
    stop.library_lower = time - half / 2;
    stop.library_upper = time + half / 2;
    forecast.stops.edit().push_back(stop);
  }
  return forecast;
}

Snapshot sample_snapshot() {
  Snapshot snapshot;
  snapshot.serial = 1;
  snapshot.now = at("08:03:00");
  snapshot.city = "Line";
  snapshot.version = "1.0";
  snapshot.network = line_network();
  snapshot.trips.push_back(
      line_forecast(*snapshot.network, "later", 0, Seconds(0), snapshot.now - Seconds(60)));
  TripForecast out =
      line_forecast(*snapshot.network, "out", 2, Seconds(60), snapshot.now - Seconds(10));
  out.state = TripState::under_way;
  out.vehicle = VehicleId("v1");
  out.position_time = snapshot.now - Seconds(10);
  out.offset_m = 1250.0;
  snapshot.trips.push_back(out);
  VehicleView v1 = vehicle("v1", VehicleStatus::under_way, snapshot.now);
  v1.place = place_at(1250.0);
  v1.bearing_deg = 90.0;
  v1.speed_mps = 8.5;
  v1.trip = out.trip;
  v1.reported_trip = out.trip.trip;
  v1.route = RouteId("r");
  v1.offset_m = 1250.0;
  v1.lateness = Seconds(60);
  snapshot.vehicles = {v1, vehicle("v2", VehicleStatus::no_trip, snapshot.now)};
  snapshot.sources = {source(snapshot.now)};
  LiveScore score;
  score.arrivals = 3;
  score.eta_score = 87.5;
  score.buckets = {{0, 3, 3, 20.5, -1.25, 2.0 / 3.0, 1.0, 60.0, 30.0, std::nullopt}};
  score.buckets[0].agency = {25.5, 3.25, 2, 22.0, 19.0};
  score.agency_eta_score = 75.25;
  snapshot.scores = {score};
  snapshot.counts.cycles = 7;
  snapshot.counts.positions_taken = 20;
  snapshot.counts.last_cycle_s = 0.0125;
  snapshot.rejections.add("trip is not in the timetable", [] { return "trip 'X'"; });
  snapshot.changes = sample_changes();
  snapshot.ready = true;
  return snapshot;
}

OutputsPtr outputs_of(Snapshot snapshot) {
  const auto shared = std::make_shared<const Snapshot>(std::move(snapshot));
  GuardedFeed feed;
  std::shared_ptr<const NetworkIndex> index;
  if (shared->network != nullptr) {
    index = std::make_shared<const NetworkIndex>(shared->network, shared->now);
    feed = FeedGuard().next(*shared);
  }
  return std::make_shared<const Outputs>(shared, index, feed);
}

}  // namespace qiv::testing
