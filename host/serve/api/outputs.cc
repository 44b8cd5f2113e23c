#include "serve/api/outputs.h"

#include <algorithm>
#include <utility>

#include "serve/api/names.h"
#include "serve/http/error.h"

namespace qiv {

Outputs::Outputs(std::shared_ptr<const Snapshot> snapshot,
                 std::shared_ptr<const NetworkIndex> index, GuardedFeed feed)
    : _snapshot(std::move(snapshot)), _index(std::move(index)), _feed(std::move(feed)) {}

const NetworkIndex& Outputs::index() const {
  if (_index != nullptr) return *_index;
  throw HttpError(HttpErrorCode::not_ready,
                  "There is no timetable yet: " + _snapshot->not_ready + ".",
                  "Ask again later; /api/v1/sources tells how the sources fare.");
}

const StopBoard& Outputs::board() const {
  return _board.get([this] { return StopBoard(*_snapshot); });
}

const TripForecast* Outputs::find_trip(const TripKey& key) const {
  const auto& trips = _snapshot->trips;
  const auto found =
      std::lower_bound(trips.begin(), trips.end(), key,
                       [](const TripForecast& trip, const TripKey& k) { return trip.trip < k; });
  return found != trips.end() && found->trip == key ? &*found : nullptr;
}

const VehicleView* Outputs::find_vehicle(const VehicleId& id) const {
  const auto& vehicles = _snapshot->vehicles;
  const auto found = std::lower_bound(
      vehicles.begin(), vehicles.end(), id,
      [](const VehicleView& vehicle, const VehicleId& v) { return vehicle.vehicle < v; });
  return found != vehicles.end() && found->vehicle == id ? &*found : nullptr;
}

const Outputs::AssignedVehicles& Outputs::assigned() const {
  return _assigned.get([this] {
    AssignedVehicles vehicles;
    for (const VehicleView& vehicle : _snapshot->vehicles) {
      if (vehicle.confidence && vehicle.trip) vehicles.emplace(vehicle.vehicle, &vehicle);
    }
    return vehicles;
  });
}

std::optional<double> Outputs::trip_confidence(const TripForecast& trip) const {
  const AssignedVehicles& vehicles = assigned();
  if (vehicles.empty()) return std::nullopt;
  const auto found = vehicles.find(trip.vehicle);
  if (found == vehicles.end() || found->second->trip != trip.trip) return std::nullopt;
  return found->second->confidence;
}

std::size_t Outputs::assigned_trips() const {
  const auto& trips = _snapshot->trips;
  return static_cast<std::size_t>(std::count_if(
      trips.begin(), trips.end(),
      [this](const TripForecast& trip) { return trip_confidence(trip).has_value(); }));
}

const Tally& Outputs::vehicles_by_status() const {
  return _vehicles_by_status.get([this] {
    Tally tally;
    for (const VehicleStatus status : vehicle_statuses) tally[api_name(status)] = 0;
    for (const VehicleView& vehicle : _snapshot->vehicles) ++tally[api_name(vehicle.status)];
    return tally;
  });
}

const Tally& Outputs::trips_by_state() const {
  return _trips_by_state.get([this] {
    Tally tally;
    for (const TripState state : trip_states) tally[api_name(state)] = 0;
    for (const TripForecast& trip : _snapshot->trips) ++tally[api_name(trip.state)];
    return tally;
  });
}

BlobPtr Outputs::cached(const std::string& name, const std::function<BlobPtr()>& make) const {
  std::shared_ptr<Lazy<BlobPtr>> slot;
  {
    const std::lock_guard lock(_kept_mutex);
    const auto found = _kept.find(name);
    if (found != _kept.end()) {
      slot = found->second;
    } else if (_kept.size() < most_kept) {
      slot = _kept.emplace(name, std::make_shared<Lazy<BlobPtr>>()).first->second;
    }
  }
  return slot == nullptr ? make() : slot->get(make);
}

}  // namespace qiv
