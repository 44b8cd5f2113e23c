// Before everything else: it also covers the inline functions of the headers.
#include "exact.h"

#include "Vehicle.h"

#include <algorithm>
#include <memory>

#include "RQLogger.h"
#include "exception_contract.h"
#include "host_string.h"
#include "text_stream.h"

namespace {

template <class Number>
std::string to_text(Number number) {
  TextStream stream;
  stream << number;
  return stream.str();
}

}  // namespace

VehicleJourneyRef::VehicleJourneyRef() : _value(), _string() {}

// What follows the "@" is the first reference again, not the second.
VehicleJourneyRef::VehicleJourneyRef(const std::string& datedVehicleJourneyRef,
                                     const std::string& dataFrameRef)
    : _value(datedVehicleJourneyRef, dataFrameRef), _string(datedVehicleJourneyRef) {
  if (!dataFrameRef.empty()) _string += "@" + datedVehicleJourneyRef;
}

VehicleJourneyRef& VehicleJourneyRef::operator=(const VehicleJourneyRef& other) {
  if (this != &other) {
    _value.first = other._value.first;
    _value.second = other._value.second;
    _string = other._string;
  }
  return *this;
}

bool VehicleJourneyRef::operator==(const VehicleJourneyRef& other) const {
  return _value.first == other._value.first && _value.second == other._value.second;
}

bool VehicleJourneyRef::operator!=(const VehicleJourneyRef& other) const {
  return !(*this == other);
}

QIV_CONTRACT_BEGIN

invalid_update::invalid_update(Cause cause)
    : _cause(cause),
      _target(),
      _offset(0.0),
      _time(0),
      _max_error(0.0),
      _updates(nullptr),
      _error_msg(),
      _detail_msg() {}

invalid_update::invalid_update(Cause cause, const std::string& target, double offset,
                               long long time, double max_error, std::deque<Position>* updates)
    : _cause(cause),
      _target(target),
      _offset(offset),
      _time(time),
      _max_error(max_error),
      _updates(updates),
      _error_msg(),
      _detail_msg() {}

invalid_update::~invalid_update() QIV_THROWS_NOTHING {}

const char* invalid_update::what() QIV_THROWS_NOTHING {
  switch (_cause) {
    case offset_out_of_range:
      return "Invalid update: offset(s) out of range.";
    case decreasing_offsets:
      if (_updates == nullptr) return "Invalid update: decreasing offset(s).";
      _error_msg = "Invalid update: decreasing offset(s).\n";
      _error_msg += detail();
      return _error_msg.c_str();
  }
  return "Invalid update.";
}

const char* invalid_update::detail() QIV_THROWS_NOTHING {
  _detail_msg = "Invalid update for " + _target + ":\n";
  _detail_msg += "Given time stamp: " + to_text(_time) + "\n";
  _detail_msg += "Given offset: " + to_text(_offset) + "\n";
  _detail_msg += "Given max_error: " + to_text(_max_error) + "\n";
  _detail_msg += "Previous updates:\n";
  if (_updates != nullptr) {
    for (const Position& update : *_updates) {
      _detail_msg += "Time stamp: " + to_text(update.time);
      _detail_msg += "  Offset: " + to_text(update.offset) + "\n";
    }
  }
  return _detail_msg.c_str();
}

Vehicle::Vehicle(const std::string& vehicleID)
    : _vehicleID(vehicleID), _vehicleJourneyRef(), _updates(), _start_time(0), _last_size(0) {}

long long Vehicle::get_last_time() const {
  return _updates.empty() ? 0 : _updates.back().time;
}

double Vehicle::get_last_offset() const {
  return _updates.empty() ? 0.0 : _updates.back().offset;
}

bool Vehicle::is_alive() {
  if (size() == _last_size) return false;
  _last_size = size();
  return true;
}

void Vehicle::update_position(const VehicleJourneyRef& vehicleJourneyRef, double offset,
                              long long time, double max_error) QIV_THROWS_ONLY(invalid_update) {
  let_pass_only<invalid_update>([&] {
    if (_vehicleJourneyRef != vehicleJourneyRef && get_last_time() < time) {
      begin_journey(vehicleJourneyRef);
    }
    const Position report = {offset, time};
    if (!record(report, max_error)) reject(report, max_error);
  });
}

QIV_CONTRACT_END

// The start time stays that of the trip before.
void Vehicle::begin_journey(const VehicleJourneyRef& vehicleJourneyRef) {
  _vehicleJourneyRef = vehicleJourneyRef;
  _updates.clear();
  _last_size = 0;
  RQLogV("Vehicle::update_position", RQLogger::RQLogLevel::info, "KWXBN0032I", "%s%s",
         host_string(_vehicleID), host_string(_vehicleJourneyRef.get_string()));
}

// Each test accepts only where its comparison holds, so that a NaN is rejected.
bool Vehicle::record(Position sample, double max_error) {
  if (_updates.empty()) {
    _updates.push_back(sample);
    return true;
  }
  const std::deque<Position>::iterator next =
      sample.time >= _updates.back().time
          ? _updates.end()
          : std::upper_bound(_updates.begin(), _updates.end(), sample, TimeComparer());
  const double offset = sample.offset;
  if (next != _updates.begin()) {
    const double previous_offset = (next - 1)->offset;
    if (!(previous_offset <= offset + max_error)) return false;
    if (previous_offset > offset) sample.offset = previous_offset;
  }
  if (next != _updates.end()) {
    const double next_offset = next->offset;
    if (!(next_offset >= offset - max_error)) return false;
    if (offset > next_offset) sample.offset = next_offset;
  }
  _updates.insert(next, sample);
  return true;
}

void Vehicle::reject(const Position& report, double max_error) {
  invalid_update error(invalid_update::decreasing_offsets, _vehicleID, report.offset, report.time,
                       max_error, &_updates);
  RQLogV("Vehicle::update_position", RQLogger::RQLogLevel::error, "KWXBN0021E", "%e%s%s",
         report.offset, host_string(_vehicleID), host_string(_vehicleJourneyRef.get_string()));
  RQLogger::Error(host_string("Vehicle::update_position"), host_string(error.detail()));
  throw error;
}

AllVehicles::~AllVehicles() {
  remove_all_vehicles();
}

Vehicle* AllVehicles::operator[](const std::string& vehicleID) {
  const Entry entry = find(vehicleID);
  return entry == nobody() ? nullptr : entry->second;
}

void AllVehicles::initialize(const std::string& vehicleID,
                             const VehicleJourneyRef& vehicleJourneyRef, double offset,
                             long long time, double max_error) {
  make(vehicleID, vehicleJourneyRef, offset, time, max_error);
}

// A vehicle registered before under the same identifier is not released.
AllVehicles::Entry AllVehicles::make(const std::string& vehicleID,
                                     const VehicleJourneyRef& vehicleJourneyRef, double offset,
                                     long long time, double max_error) {
  std::unique_ptr<Vehicle> created(new Vehicle(vehicleID));
  const Entry entry = _vehicle.emplace(vehicleID, nullptr).first;
  entry->second = created.release();
  entry->second->update_position(vehicleJourneyRef, offset, time, max_error);
  return entry;
}

void AllVehicles::remove_vehicle(const std::string& vehicleID) {
  const Entry entry = find(vehicleID);
  if (entry != nobody()) remove(entry);
}

AllVehicles::Entry AllVehicles::remove(Entry entry) {
  delete entry->second;
  return _vehicle.erase(entry);
}

void AllVehicles::remove_all_vehicles() {
  ++_nb_sweeps;
  for (const auto& entry : _vehicle) delete entry.second;
  _vehicle.clear();
}

void AllVehicles::remove_inactive_vehicles() {
  ++_nb_sweeps;
  for (Entry entry = _vehicle.begin(); entry != nobody();) {
    if (entry->second->is_alive()) {
      ++entry;
    } else {
      entry = remove(entry);
    }
  }
}
