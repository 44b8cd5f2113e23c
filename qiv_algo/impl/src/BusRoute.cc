// Before everything else: it also covers the inline functions of the headers.
#include "exact.h"

#include "BusRoute.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

#include "Journey.h"
#include "RQLogger.h"
#include "text_stream.h"

namespace {

const double nowhere = -std::numeric_limits<double>::infinity();

}  // namespace

BusRoute::BusRoute(Journey& journey)
    : _journey(journey), _bus_stop(), _interpolation(), _ordered(false), _offset() {}

void BusRoute::read_milestones(const std::vector<double>& offset_list) {
  _ordered = false;
  _interpolation.assign(offset_list.begin(), offset_list.end());
  note_order();
}

void BusRoute::read_bus_stops(const std::vector<double>& offset_list,
                              const std::vector<std::string>& stopID_list) {
  remove_bus_stops();
  for (std::size_t i = 0; i < offset_list.size(); ++i) {
    add_bus_stop(offset_list[i], i < stopID_list.size() ? stopID_list[i] : std::string());
  }
}

void BusRoute::read(const std::vector<double>& offset_list, const std::vector<bool>& isStop_list,
                    const std::vector<std::string>& stopID_list) {
  remove_bus_stops();
  remove_milestones();
  for (std::size_t i = 0; i < offset_list.size(); ++i) {
    _interpolation.push_back(offset_list[i]);
    if (i < isStop_list.size() && isStop_list[i]) {
      add_bus_stop(offset_list[i], i < stopID_list.size() ? stopID_list[i] : std::string());
    }
  }
  note_order();
}

void BusRoute::remove_milestones() {
  _interpolation.clear();
  note_order();
}

void BusRoute::note_order() {
  const auto not_increasing = [](double prior, double next) { return !(prior < next); };
  _ordered = _interpolation.size() >= 2 &&
             std::adjacent_find(_interpolation.begin(), _interpolation.end(), not_increasing) ==
                 _interpolation.end();
}

// The offset first: where memory runs out between the two, the stop is not there, and what is
// behind the stops of `_offset` is not read.
void BusRoute::add_bus_stop(double offset, const std::string& stopID) {
  _offset.push_back(offset);
  _bus_stop.push_back(BusStopLocation(offset, stopID));
}

void BusRoute::remove_bus_stops() {
  _bus_stop.clear();
  _offset.clear();
}

unsigned int BusRoute::get_nb_milestones() const {
  return static_cast<unsigned int>(_interpolation.size());
}

unsigned int BusRoute::get_nb_bus_stops() const {
  return static_cast<unsigned int>(_bus_stop.size());
}

const std::string& BusRoute::get_stopID(unsigned int index) const {
  return _bus_stop[index].stopID;
}

double BusRoute::last_milestone_offset() const {
  return _interpolation.empty() ? nowhere : _interpolation.back();
}

double BusRoute::last_bus_stop_offset() const {
  return _bus_stop.empty() ? nowhere : _bus_stop.back().offset;
}

bool BusRoute::milestones_is_initialized() const {
  return !_interpolation.empty();
}

// Asks the milestones, not the bus stops.
bool BusRoute::bus_stops_is_initialized() const {
  return !_interpolation.empty();
}

bool BusRoute::is_initialized() const {
  return !_interpolation.empty();
}

bool BusRoute::identical_milestones(const std::vector<double>& milestones_offset_list) const {
  return _interpolation.size() == milestones_offset_list.size() &&
         std::equal(_interpolation.begin(), _interpolation.end(), milestones_offset_list.begin());
}

bool BusRoute::is_compatible(unsigned int nb_milestones) const {
  return nb_milestones == get_nb_milestones();
}

bool BusRoute::is_consistent_with_milestones(
    const std::vector<double>& milestones_offset_list) const {
  if (_bus_stop.empty()) return true;
  if (milestones_offset_list.empty()) return false;
  return !(last_bus_stop_offset() > milestones_offset_list.back());
}

bool BusRoute::is_consistent_with_bus_stops(
    const std::vector<double>& bus_stops_offset_list) const {
  if (_interpolation.empty() || bus_stops_offset_list.empty()) return true;
  return !(bus_stops_offset_list.back() > last_milestone_offset());
}

void BusRoute::get_interpolation_parameters(double offset, unsigned int& index,
                                            double& linear) const {
  if (_interpolation.empty()) return;
  const double first = _interpolation.front();
  const double last = _interpolation.back();
  // The accepted range begins at 0, not at the first milestone, and a NaN offset passes.
  if (offset > last || offset < 0.0) {
    RQLogV("BusRoute::get_interpolation_parameters", RQLogger::RQLogLevel::error, "KWXBN0020E",
           "%e%e%e%lld", offset, first, last, _journey.get_shapeVersionID());
    TextStream message;
    message << "offset " << offset << " out of range [" << 0 << "," << last << "]";
    throw std::invalid_argument(message.str());
  }
  if (first > offset) {
    index = 0;
    linear = offset / first;
    return;
  }
  // Unlike an inner milestone, which opens the segment behind it, the last one closes its segment.
  if (offset == last) {
    index = get_nb_milestones() - 1;
    linear = 1.0;
    return;
  }
  const std::deque<double>::const_iterator upper =
      std::upper_bound(_interpolation.begin(), _interpolation.end(), offset);
  if (upper == _interpolation.end()) return;
  const double current = *upper;
  const double prior = *(upper - 1);
  index = static_cast<unsigned int>(upper - _interpolation.begin());
  linear = (offset - prior) / (current - prior);
}

bool BusRoute::is_in_range(double offset) const {
  if (_interpolation.empty()) return true;
  return offset >= _interpolation.front() && _interpolation.back() >= offset;
}

bool BusRoute::is_in_termination_stop(double offset, double max_error) const {
  const double last = last_milestone_offset();
  return offset > last && last + max_error > offset;
}

double BusRoute::get_offset(unsigned int index) const {
  return _offset[index];
}
