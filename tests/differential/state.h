#ifndef QIV_TESTS_DIFFERENTIAL_STATE_H
#define QIV_TESTS_DIFFERENTIAL_STATE_H

#include <algorithm>
#include <string>
#include <vector>

#include "differential/Outcome.h"
#include "differential/fields.h"
#include "support/LogEntry.h"

/// What the objects of either side hold, as lines that are equal when everything is.

namespace differential {

template <class Route>
std::string route_text(const Route& route) {
  std::string text = "  milestones";
  for (const double milestone : milestones_of(route)) text += " " + support::exact(milestone);
  text += "\n  stops";
  for (const auto& stop : bus_stops_of(route)) {
    text += " " + quoted(stop.stopID) + "@" + support::exact(stop.offset);
  }
  return text + "\n";
}

template <class History>
std::string history_text(const History& history) {
  std::string text = "capacity " + std::to_string(capacity_of(history)) + " strategy " +
                     std::to_string(static_cast<int>(strategy_of(history)));
  for (const std::vector<int>& trajectory : trajectories_of(history)) {
    text += " [";
    for (const int time : trajectory) text += " " + std::to_string(time);
    text += "]";
  }
  return text;
}

template <class AllHistories>
std::string histories_text(const AllHistories& histories) {
  std::string text;
  for (const auto& entry : stores_of(histories)) {
    text += "  category " + std::to_string(entry.first) + ": " + history_text(*entry.second) + "\n";
  }
  return text;
}

template <class Vehicle>
std::string vehicle_text(const Vehicle& vehicle) {
  const auto& ref = journey_ref_of(vehicle);
  std::string text = quoted(name_of(vehicle)) + " on " + quoted(value_of(ref).first) + " " +
                     quoted(value_of(ref).second) + " " + quoted(string_of(ref)) + " start " +
                     std::to_string(start_time_of(vehicle)) + " seen " +
                     std::to_string(last_size_of(vehicle)) + ":";
  for (const auto& update : updates_of(vehicle)) {
    text += " " + std::to_string(update.time) + "@" + support::exact(update.offset);
  }
  return text;
}

template <class AllVehicles>
std::string vehicles_text(const AllVehicles& vehicles) {
  std::string text;
  for (const auto& entry : registered_of(vehicles)) {
    text += "  vehicle " + quoted(entry.first) + ": " + vehicle_text(*entry.second) + "\n";
  }
  return text;
}

inline bool same_bits(double left, double right) {
  return support::bits(left) == support::bits(right);
}

/// Whether `same` holds for the elements of both containers, pair by pair.
template <class Left, class Right, class Same>
bool same_elements(const Left& left, const Right& right, Same same) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(), same);
}

template <class LeftRoute, class RightRoute>
bool same_route(const LeftRoute& left, const RightRoute& right) {
  return same_elements(milestones_of(left), milestones_of(right), same_bits) &&
         same_elements(bus_stops_of(left), bus_stops_of(right), [](const auto& l, const auto& r) {
           return same_bits(l.offset, r.offset) && l.stopID == r.stopID;
         });
}

template <class LeftHistories, class RightHistories>
bool same_histories(const LeftHistories& left, const RightHistories& right) {
  return same_elements(stores_of(left), stores_of(right), [](const auto& l, const auto& r) {
    return l.first == r.first && capacity_of(*l.second) == capacity_of(*r.second) &&
           static_cast<int>(strategy_of(*l.second)) == static_cast<int>(strategy_of(*r.second)) &&
           trajectories_of(*l.second) == trajectories_of(*r.second);
  });
}

template <class LeftVehicle, class RightVehicle>
bool same_vehicle(const LeftVehicle& left, const RightVehicle& right) {
  return name_of(left) == name_of(right) &&
         value_of(journey_ref_of(left)) == value_of(journey_ref_of(right)) &&
         string_of(journey_ref_of(left)) == string_of(journey_ref_of(right)) &&
         start_time_of(left) == start_time_of(right) && last_size_of(left) == last_size_of(right) &&
         same_elements(updates_of(left), updates_of(right), [](const auto& l, const auto& r) {
           return l.time == r.time && same_bits(l.offset, r.offset);
         });
}

template <class LeftVehicles, class RightVehicles>
bool same_vehicles(const LeftVehicles& left, const RightVehicles& right) {
  return same_elements(registered_of(left), registered_of(right), [](const auto& l, const auto& r) {
    return l.first == r.first && same_vehicle(*l.second, *r.second);
  });
}

/// Whether `state_of` of both would be equal, found without writing it.
template <class LeftJourneys, class RightJourneys>
bool same_state(const LeftJourneys& left, const RightJourneys& right) {
  return same_elements(journeys_of(left), journeys_of(right), [](const auto& l, const auto& r) {
    return l.first == r.first && version_time_of(*l.second) == version_time_of(*r.second) &&
           version_id_of(*l.second) == version_id_of(*r.second) &&
           same_route(bus_route_of(*l.second), bus_route_of(*r.second)) &&
           same_histories(histories_of(*l.second), histories_of(*r.second)) &&
           same_vehicles(vehicles_of(*l.second), vehicles_of(*r.second));
  });
}

/// One element for each journey, in order. The forecast records are not part of it.
template <class AllJourneys>
std::vector<std::string> state_of(const AllJourneys& journeys) {
  std::vector<std::string> result;
  for (const auto& entry : journeys_of(journeys)) {
    const auto& journey = *entry.second;
    result.push_back(
        "journey " + quoted(entry.first) + " version " + std::to_string(version_time_of(journey)) +
        ":" + std::to_string(version_id_of(journey)) + "\n" + route_text(bus_route_of(journey)) +
        histories_text(histories_of(journey)) + vehicles_text(vehicles_of(journey)));
  }
  return result;
}

}  // namespace differential

#endif  // QIV_TESTS_DIFFERENTIAL_STATE_H
