#include "twin/Vehicle.h"

#include <algorithm>
#include <sstream>

#include "twin/Log.h"
#include "twin/Numbers.h"

namespace twin {

namespace {

template <class Number>
std::string text(Number number) {
  std::ostringstream out;
  out << number;
  return out.str();
}

}  // namespace

VehicleJourneyRef::VehicleJourneyRef(const std::string& datedVehicleJourneyRef,
                                     const std::string& dataFrameRef)
    : _value(datedVehicleJourneyRef, dataFrameRef), _string(datedVehicleJourneyRef) {
  if (!dataFrameRef.empty()) _string += "@" + datedVehicleJourneyRef;
}

bool VehicleJourneyRef::operator==(const VehicleJourneyRef& other) const {
  return _value == other._value;
}

bool VehicleJourneyRef::operator!=(const VehicleJourneyRef& other) const {
  return !(*this == other);
}

const std::string& VehicleJourneyRef::get_string() const {
  return _string;
}

invalid_update::invalid_update(Cause cause) : _cause(cause) {}

invalid_update::invalid_update(Cause cause, const std::string& target, double offset,
                               long long time, double max_error, std::deque<Position>* updates)
    : _cause(cause),
      _target(target),
      _offset(offset),
      _time(time),
      _max_error(max_error),
      _updates(updates) {}

const char* invalid_update::what() {
  if (_cause == offset_out_of_range) return "Invalid update: offset(s) out of range.";
  if (_cause != decreasing_offsets) return "Invalid update.";
  if (_updates == nullptr) return "Invalid update: decreasing offset(s).";
  _error_msg = "Invalid update: decreasing offset(s).\n";
  _error_msg += detail();
  return _error_msg.c_str();
}

const char* invalid_update::detail() {
  _detail_msg = "Invalid update for " + _target + ":\n";
  _detail_msg += "Given time stamp: " + text(_time) + "\n";
  _detail_msg += "Given offset: " + text(_offset) + "\n";
  _detail_msg += "Given max_error: " + text(_max_error) + "\n";
  _detail_msg += "Previous updates:\n";
  if (_updates != nullptr) {
    for (const Position& update : *_updates) {
      _detail_msg += "Time stamp: " + text(update.time) + "  Offset: " + text(update.offset) + "\n";
    }
  }
  return _detail_msg.c_str();
}

Vehicle::Vehicle(const std::string& vehicleID) : _vehicleID(vehicleID) {}

unsigned int Vehicle::size() const {
  return static_cast<unsigned int>(_updates.size());
}

long long Vehicle::get_time(unsigned int index) const {
  return _updates[index].time;
}

double Vehicle::get_offset(unsigned int index) const {
  return _updates[index].offset;
}

long long Vehicle::get_last_time() const {
  return _updates.empty() ? 0 : _updates.back().time;
}

double Vehicle::get_last_offset() const {
  return _updates.empty() ? 0.0 : _updates.back().offset;
}

void Vehicle::set_start_time(long long start_time) {
  _start_time = start_time;
}

long long Vehicle::get_start_time() const {
  return _start_time;
}

bool Vehicle::is_alive() {
  if (size() == _last_size) return false;
  _last_size = size();
  return true;
}

double Vehicle::interpolate(unsigned int index, double linear) const {
  const Position& before = _updates[index - 1];
  const Position& after = _updates[index];
  const double ratio = (linear - before.offset) / (after.offset - before.offset);
  const double elapsed = static_cast<double>(difference(after.time, before.time));
  return static_cast<double>(before.time) + elapsed * ratio;
}

void Vehicle::update_position(const VehicleJourneyRef& vehicleJourneyRef, double offset,
                              long long time, double max_error) {
  Position sample = {offset, time};

  if (_vehicleJourneyRef != vehicleJourneyRef && get_last_time() < time) {
    _vehicleJourneyRef = vehicleJourneyRef;
    _updates.clear();
    _last_size = 0;
    RQLogV("Vehicle::update_position", RQLogger::RQLogLevel::info, "KWXBN0032I", "%s%s", _vehicleID,
           _vehicleJourneyRef.get_string());
  }

  if (_updates.empty()) {
    _updates.push_back(sample);
    return;
  }

  if (time > get_last_time()) {
    if (!(offset + max_error >= get_last_offset())) reject(offset, time, max_error);
    if (offset < get_last_offset()) sample.offset = get_last_offset();
    _updates.push_back(sample);
    return;
  }

  const auto next = std::upper_bound(_updates.begin(), _updates.end(), sample, TimeComparer());

  if (next == _updates.begin()) {
    if (!(next->offset >= offset - max_error)) reject(offset, time, max_error);
    if (next->offset < offset) sample.offset = next->offset;
    _updates.insert(next, sample);
    return;
  }

  const auto previous = next - 1;
  if (!(previous->offset <= offset + max_error)) reject(offset, time, max_error);
  if (next != _updates.end()) {
    if (!(next->offset >= offset - max_error)) reject(offset, time, max_error);
    if (offset > next->offset) sample.offset = next->offset;
  }
  if (previous->offset > offset) sample.offset = previous->offset;
  _updates.insert(next, sample);
}

void Vehicle::reject(double offset, long long time, double max_error) {
  invalid_update error(invalid_update::decreasing_offsets, _vehicleID, offset, time, max_error,
                       &_updates);
  RQLogV("Vehicle::update_position", RQLogger::RQLogLevel::error, "KWXBN0021E", "%e%s%s", offset,
         _vehicleID, _vehicleJourneyRef.get_string());
  RQLogger::Error("Vehicle::update_position", error.detail());
  throw error;
}

Vehicle* AllVehicles::operator[](const std::string& vehicleID) {
  const auto found = _vehicle.find(vehicleID);
  return found == _vehicle.end() ? nullptr : found->second.get();
}

void AllVehicles::initialize(const std::string& vehicleID,
                             const VehicleJourneyRef& vehicleJourneyRef, double offset,
                             long long time, double max_error) {
  std::unique_ptr<Vehicle>& entry = _vehicle[vehicleID];
  if (entry) _replaced.push_back(std::move(entry));
  entry = std::make_unique<Vehicle>(vehicleID);
  entry->update_position(vehicleJourneyRef, offset, time, max_error);
}

void AllVehicles::remove_vehicle(const std::string& vehicleID) {
  _vehicle.erase(vehicleID);
}

void AllVehicles::remove_all_vehicles() {
  _vehicle.clear();
}

void AllVehicles::remove_inactive_vehicles() {
  for (auto entry = _vehicle.begin(); entry != _vehicle.end();) {
    if (entry->second->is_alive()) {
      ++entry;
    } else {
      entry = _vehicle.erase(entry);
    }
  }
}

}  // namespace twin
