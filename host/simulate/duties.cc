#include "simulate/duties.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>

namespace qiv {
namespace {

constexpr double turnaround_s = 60.0;
constexpr double empty_run_s = 600.0;

/// Gives the trips of a day to vehicles, in order of departure.
class Dispatcher {
 public:
  Dispatcher(const Network& network, std::size_t most) : _network(network), _most(most) {}

  /// The vehicle for a trip that departs at `departs_s`; nothing when there is none.
  std::optional<std::size_t> vehicle_for(const TripPlan& trip, double departs_s) {
    if (!trip.block.empty()) {
      const auto known = _of_block.find(trip.block);
      if (known != _of_block.end()) return known->second;
    }
    const std::optional<std::size_t> vehicle = free_vehicle(trip, departs_s);
    if (vehicle && !trip.block.empty()) _of_block.emplace(trip.block, *vehicle);
    return vehicle;
  }

  /// A vehicle has come to the end of `trip`. Those of blocks are left to their blocks.
  void arrived(std::size_t vehicle, const TripPlan& trip, double arrives_s) {
    if (!trip.block.empty()) return;
    const std::uint32_t stop = _network.pattern(trip.pattern).stops.back().stop;
    _waiting.insert({arrives_s, vehicle});
    _at_stop[stop].insert({arrives_s, vehicle});
    _place[vehicle] = stop;
  }

 private:
  using Waiting = std::set<std::pair<double, std::size_t>>;

  std::optional<std::size_t> free_vehicle(const TripPlan& trip, double departs_s) {
    const std::uint32_t stop = _network.pattern(trip.pattern).stops.front().stop;
    const auto here = _at_stop.find(stop);
    if (here != _at_stop.end() && !here->second.empty() &&
        here->second.begin()->first + turnaround_s <= departs_s) {
      return leave(*here->second.begin());
    }
    if (_most == 0 || _count < _most) return _count++;
    if (!_waiting.empty() && _waiting.begin()->first + empty_run_s <= departs_s) {
      return leave(*_waiting.begin());
    }
    return std::nullopt;
  }

  std::size_t leave(std::pair<double, std::size_t> waiting) {
    _waiting.erase(waiting);
    _at_stop[_place[waiting.second]].erase(waiting);
    return waiting.second;
  }

  const Network& _network;
  std::size_t _most;
  std::size_t _count = 0;
  std::unordered_map<BlockId, std::size_t> _of_block;
  Waiting _waiting;
  std::unordered_map<std::uint32_t, Waiting> _at_stop;
  std::unordered_map<std::size_t, std::uint32_t> _place;
};

}  // namespace

Duties::Duties(const Network& network, ServiceDate day, const FleetOptions& options,
               const Driver& driver)
    : _day(day), _zero(network.clock().zero(day)) {
  const Draw draw(options.seed);
  Dispatcher dispatcher(network, options.vehicles);
  std::vector<std::vector<DutyTrip>> duties;
  DrivenTimes times;
  for (const TripIndex index : network.trips_on(day)) {
    const TripPlan& trip = network.trip(index);
    const auto planned_s = static_cast<double>(unix_seconds(_zero + trip.departure()));
    const auto vehicle = dispatcher.vehicle_for(trip, planned_s);
    if (!vehicle) continue;
    if (*vehicle >= duties.size()) duties.resize(*vehicle + 1);
    std::vector<DutyTrip>& duty = duties[*vehicle];
    const double ready_s = duty.empty() ? planned_s : duty.back().arrives_s + turnaround_s;
    const auto key = static_cast<std::uint64_t>(unix_seconds(_zero));
    const double late = draw.share(Chance::late_start, {index, key});
    const double departs_s = std::max(planned_s, ready_s) + 90.0 * late * late;
    driver.drive(trip, network.pattern(trip.pattern), _zero, departs_s, times);
    duty.push_back({index, departs_s, times.arrival_s.back()});
    dispatcher.arrived(*vehicle, trip, duty.back().arrives_s);
  }
  _first.push_back(0);
  for (const std::vector<DutyTrip>& duty : duties) {
    _trips.insert(_trips.end(), duty.begin(), duty.end());
    _first.push_back(_trips.size());
  }
}

}  // namespace qiv
