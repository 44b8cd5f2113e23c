#include "serve/vehicle_views.h"

#include <algorithm>
#include <tuple>
#include <unordered_set>

#include "model/trip_key_hash.h"

namespace qiv {
namespace {

std::optional<Seconds> lateness_of(const TripForecast& shown, const TripPlan& plan,
                                   const Network& network) {
  if (shown.stops.size() != plan.size()) return std::nullopt;
  const auto next = std::partition_point(shown.stops.begin(), shown.stops.end(),
                                         [](const StopForecast& stop) { return stop.observed; });
  if (next == shown.stops.end()) return std::nullopt;
  const Instant scheduled = network.clock().zero(shown.trip.day) +
                            plan.call(static_cast<std::size_t>(next - shown.stops.begin())).arrival;
  return next->arrival.time - scheduled;
}

VehicleView view_of(const Tracker::VehicleReport& report, const VehiclePosition* seen,
                    const TripForecast* shown, const Network& network) {
  VehicleView view;
  view.vehicle = report.vehicle;
  view.status = report.status;
  view.since = report.since;
  view.last_report = report.last_report;
  view.trip = report.trip;
  if (seen != nullptr) {
    view.last_received = seen->received;
    view.place = seen->place;
    view.bearing_deg = seen->bearing_deg;
    view.speed_mps = seen->speed_mps;
    view.reported_trip = seen->trip;
    view.route = seen->route;
  }
  if (!report.trip) return view;
  view.confidence = report.confidence;
  const TripPlan* const plan = network.find_trip(report.trip->trip, report.trip->start);
  if (plan != nullptr) view.route = network.pattern(plan->pattern).route;
  if (shown == nullptr) return view;
  view.offset_m = shown->offset_m;
  if (plan != nullptr) view.lateness = lateness_of(*shown, *plan, network);
  return view;
}

/// Forecasts to be found by their trips.
struct TripHash : TripKeyHash {
  using is_transparent = void;
  using TripKeyHash::operator();
  std::size_t operator()(const TripForecast* forecast) const { return (*this)(forecast->trip); }
};

struct TripEqual {
  using is_transparent = void;
  static const TripKey& key(const TripKey& trip) { return trip; }
  static const TripKey& key(const TripForecast* forecast) { return forecast->trip; }
  bool operator()(const auto& a, const auto& b) const { return key(a) == key(b); }
};

using ByTrip = std::unordered_set<const TripForecast*, TripHash, TripEqual>;

}  // namespace

std::vector<VehicleView> vehicle_views(const std::vector<Tracker::VehicleReport>& said,
                                       const SeenReport& seen,
                                       const std::vector<TripForecast>& shown,
                                       const Network& network) {
  ByTrip with_vehicle;
  with_vehicle.reserve(said.size());
  for (const TripForecast& forecast : shown) {
    if (!forecast.vehicle.empty()) with_vehicle.insert(&forecast);
  }
  std::vector<VehicleView> views;
  views.reserve(said.size());
  for (const Tracker::VehicleReport& report : said) {
    const auto forecast = report.trip ? with_vehicle.find(*report.trip) : with_vehicle.end();
    views.push_back(view_of(report, seen(report.vehicle),
                            forecast == with_vehicle.end() ? nullptr : *forecast, network));
  }
  return views;
}

bool is_same_report(const VehiclePosition& before, const VehiclePosition& now) {
  const auto stated = [](const VehiclePosition& p) {
    return std::tie(p.time, p.time_is_received, p.vehicle, p.trip, p.route, p.direction,
                    p.start_date, p.start_time, p.place, p.bearing_deg, p.speed_mps, p.stop,
                    p.stop_sequence, p.status);
  };
  return stated(before) == stated(now);
}

}  // namespace qiv
