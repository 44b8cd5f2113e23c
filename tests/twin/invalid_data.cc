#include <sstream>

#include "twin/Journey.h"

namespace twin {

namespace {

/// The element `i`, or 0 where the list is too short.
template <class Value>
Value at(const std::vector<Value>& list, std::size_t i) {
  return i < list.size() ? list[i] : Value();
}

template <class Value>
Value last(const std::vector<Value>& list) {
  return list.empty() ? Value() : list.back();
}

/// "name[i]=a, name[j]=b" of the neighbours i and j = i+1 that begin at `i`.
template <class Value>
std::string neighbours(const std::string& name, const std::vector<Value>& list, std::size_t i) {
  std::ostringstream text;
  text << name << "[" << i << "]=" << at(list, i) << ", " << name << "[" << i + 1
       << "]=" << at(list, i + 1);
  return text.str();
}

std::size_t first_not_increasing(const std::vector<double>& list) {
  for (std::size_t i = 0; i + 1 < list.size(); ++i) {
    if (list[i] >= list[i + 1]) return i;
  }
  return 0;
}

std::size_t first_decreasing(const std::vector<int>& list) {
  for (std::size_t i = 0; i + 1 < list.size(); ++i) {
    if (list[i + 1] < list[i]) return i;
  }
  return 0;
}

}  // namespace

invalid_milestones::invalid_milestones(Cause cause, const std::vector<double>& milestones) {
  std::ostringstream text;
  if (cause == less_than_two_milestones) {
    text << "Invalid milestones: number of milestones=" << milestones.size() << " (less than 2)\n";
  }
  if (cause == negative_milestones) {
    text << "Invalid milestones: first milestone is negative (" << at(milestones, 0) << ")\n";
  }
  if (cause == decreasing_milestones) {
    text << "Invalid milestones: decreasing milestones ("
         << neighbours("milestones", milestones, first_not_increasing(milestones)) << ")\n";
  }
  _error_msg = text.str();
}

invalid_milestones::invalid_milestones(Cause cause, const std::vector<double>& milestones,
                                       double last_bus_stop) {
  if (cause != bus_stops_out_of_range) return;
  std::ostringstream text;
  text << "Invalid milestones: bus stops out of range (last milestone=" << last(milestones)
       << ", last bus stop=" << last_bus_stop << ")\n";
  _error_msg = text.str();
}

invalid_milestones::invalid_milestones(Cause cause, const std::vector<double>& milestones,
                                       unsigned int history_length) {
  if (cause != incompatible_with_history) return;
  std::ostringstream text;
  text << "Invalid milestones: incompatible with history (number of milestones="
       << milestones.size() << ", length of historical trajectories=" << history_length << ")\n";
  _error_msg = text.str();
}

invalid_bus_stops::invalid_bus_stops(Cause cause, const std::vector<double>& offsets) {
  std::ostringstream text;
  if (cause == less_than_two_bus_stops) {
    text << "Invalid bus stops: number of bus stops=" << offsets.size() << " (less than 2)\n";
  }
  if (cause == negative_offsets) {
    text << "Invalid bus stops: first offset is negative (" << at(offsets, 0) << ")\n";
  }
  if (cause == decreasing_offsets) {
    text << "Invalid bus stops: decreasing offsets ("
         << neighbours("offsets", offsets, first_not_increasing(offsets)) << ")\n";
  }
  _error_msg = text.str();
}

invalid_bus_stops::invalid_bus_stops(Cause cause, const std::vector<double>& offsets,
                                     double last_milestone) {
  if (cause != bus_stops_out_of_range) return;
  std::ostringstream text;
  text << "Invalid bus stops: bus stops out of range (last offset=" << last(offsets)
       << ", last milestone=" << last_milestone << ")\n";
  _error_msg = text.str();
}

invalid_history::invalid_history(Cause cause, const std::vector<int>& trajectory) {
  std::ostringstream text;
  if (cause == less_than_two_milestones) {
    text << "Invalid history: length of milestones=" << trajectory.size() << " (less than 2)\n";
  }
  if (cause == decreasing_time_stamps) {
    text << "Invalid history: decreasing time stamps ("
         << neighbours("trajectory", trajectory, first_decreasing(trajectory)) << ")\n";
  }
  _error_msg = text.str();
}

invalid_history::invalid_history(Cause cause, const std::vector<int>& trajectory,
                                 unsigned int length) {
  std::ostringstream text;
  if (cause == incompatible_with_history) {
    text << "Invalid history: incompatible with previous trajectories (length of new trajectory="
         << trajectory.size() << ", length of previous trajectories=" << length << ")\n";
  }
  if (cause == incompatible_with_milestones) {
    text << "Invalid history: incompatible with milestones (length of historical trajectory="
         << trajectory.size() << ", number of milestones=" << length << ")\n";
  }
  _error_msg = text.str();
}

}  // namespace twin
