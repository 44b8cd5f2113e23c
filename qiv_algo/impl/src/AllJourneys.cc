#include "Journey.h"

#include <cstddef>
#include <memory>

#include "NameTable.h"
#include "Prefetch.h"
#include "exception_contract.h"
#include "remembered_memory.h"

// The journey that the last unclaimed report of a vehicle went to, and the vehicle there. No other
// journey can hold it: every other one has released it before. This one may have lost it since: the
// vehicle is known for as long as the journey has swept no more often.
struct AllJourneys::Last {
  Last() : journey(nullptr), vehicle(), is_known(false), nb_sweeps(0), memory() {}

  Journey* journey;
  AllVehicles::Entry vehicle;
  bool is_known;
  std::size_t nb_sweeps;
  VehicleMemory memory;
};

struct AllJourneys::Known {
  Known() : journey(nullptr), memory() {}

  Journey* journey;
  JourneyMemory memory;
};

struct AllJourneys::Index {
  NameTable<Last> last_of_vehicle;
  NameTable<Known> journeys;
};

AllJourneys::~AllJourneys() {
  for (const auto& entry : _journey) delete entry.second;
  delete _index;
}

void AllJourneys::initialize(const std::string& forecast_method,
                             const std::vector<std::string>& string_parameter,
                             const std::vector<double>& double_parameter,
                             const std::string& forecast_mode, unsigned int max_size_history,
                             const std::string& replacement_strategy) {
  _forecast_method = forecast_method;
  _string_parameter = string_parameter;
  _double_parameter = double_parameter;
  _forecast_mode = forecast_mode;
  _max_size_history = max_size_history;
  _replacement_strategy = replacement_strategy;
}

QIV_CONTRACT_BEGIN

void AllJourneys::read_milestones(const std::string& journeyPatternRef,
                                  unsigned long long shapeVersionTime, long long shapeVersionID,
                                  const std::vector<double>& milestones)
    QIV_THROWS_ONLY(invalid_milestones) {
  let_pass_only<invalid_milestones>([&] {
    (*this)[journeyPatternRef]->read_milestones(shapeVersionTime, shapeVersionID, milestones);
  });
}

void AllJourneys::read_bus_stops(const std::string& journeyPatternRef,
                                 unsigned long long shapeVersionTime, long long shapeVersionID,
                                 const std::vector<std::string>& stopIDs,
                                 const std::vector<double>& offsets)
    QIV_THROWS_ONLY(invalid_bus_stops) {
  let_pass_only<invalid_bus_stops>([&] {
    (*this)[journeyPatternRef]->read_bus_stops(shapeVersionTime, shapeVersionID, stopIDs, offsets);
  });
}

void AllJourneys::read_history(const std::string& journeyPatternRef,
                               unsigned long long shapeVersionTime, long long shapeVersionID,
                               category_t category, const std::vector<int>& trajectory)
    QIV_THROWS_ONLY(invalid_history) {
  let_pass_only<invalid_history>([&] {
    (*this)[journeyPatternRef]->read_history(shapeVersionTime, shapeVersionID, category,
                                             trajectory);
  });
}

QIV_CONTRACT_END

Forecast* AllJourneys::update(const std::string& journeyPatternRef, const std::string& vehicleID,
                              const VehicleJourneyRef& vehicleJourneyRef,
                              unsigned long long shapeVersionTime, long long shapeVersionID,
                              category_t category, double offset, long long time,
                              double max_error) {
  Known* known = find(journeyPatternRef);
  Last* last = index().last_of_vehicle.find(vehicleID);
  if (last != nullptr) last->memory.ask_for();
  if (known != nullptr) {
    Prefetch::read(known->journey);
    known->memory.ask_for();
  }
  if (last != nullptr && (known == nullptr || last->journey != known->journey)) {
    const AllVehicles::Entry vehicle = vehicle_of(*last, vehicleID);
    last->is_known = false;
    if (last->journey->is_served_by(vehicle, time)) return nullptr;
  }
  if (known == nullptr) known = find_or_make(journeyPatternRef);
  Journey& journey = *known->journey;
  if (last == nullptr) last = &index().last_of_vehicle[vehicleID];
  last->journey = &journey;

  if (!journey.takes(shapeVersionTime, shapeVersionID, offset)) {
    if (journey._vehicle[vehicleID] == nullptr) index().last_of_vehicle.erase(vehicleID);
    return nullptr;
  }
  const History* const history = journey._history[category];
  last->vehicle = journey.record(vehicle_of(*last, vehicleID), vehicleID, vehicleJourneyRef,
                                 history, category, offset, time, max_error);
  last->is_known = true;
  last->nb_sweeps = journey._vehicle.nb_sweeps();
  last->memory.remember(journey._vehicle, &*last->vehicle, *last->vehicle->second);
  known->memory.remember(journey._bus_route, journey._history, history, journey._forecast_algorithm,
                         journey._forecast);
  return journey.forecast(last->vehicle->second, history, category);
}

void AllJourneys::remove_inactive_vehicles() {
  for (const auto& entry : _journey) entry.second->remove_inactive_vehicles();
  index().last_of_vehicle.erase_if([](const std::string& vehicleID, const Last& last) {
    return vehicle_of(last, vehicleID) == last.journey->_vehicle.nobody();
  });
}

Journey* AllJourneys::operator[](const std::string& journeyPatternRef) {
  return find_or_make(journeyPatternRef)->journey;
}

AllJourneys::Index& AllJourneys::index() {
  if (_index == nullptr) _index = new Index;
  return *_index;
}

// A value is without a journey where the memory for the journey's own entry had run out.
AllJourneys::Known* AllJourneys::find(const std::string& journeyPatternRef) {
  Known* const known = index().journeys.find(journeyPatternRef);
  return known != nullptr && known->journey != nullptr ? known : nullptr;
}

AllJourneys::Known* AllJourneys::find_or_make(const std::string& journeyPatternRef) {
  Known* const known = find(journeyPatternRef);
  if (known != nullptr) return known;
  std::unique_ptr<Journey> created(new Journey(_forecast_method, _string_parameter,
                                               _double_parameter, _forecast_mode, _max_size_history,
                                               _replacement_strategy));
  Known& made = index().journeys[journeyPatternRef];
  _journey.emplace(journeyPatternRef, created.get());
  made.journey = created.release();
  return &made;
}

// The vehicle on its last journey, or nobody when that has lost it.
AllVehicles::Entry AllJourneys::vehicle_of(const Last& last, const std::string& vehicleID) {
  AllVehicles& vehicles = last.journey->_vehicle;
  const bool is_known = last.is_known && last.nb_sweeps == vehicles.nb_sweeps();
  return is_known ? last.vehicle : vehicles.find(vehicleID);
}
