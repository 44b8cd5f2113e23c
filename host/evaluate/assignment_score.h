#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "model/vehicle_position.h"
#include "network/network.h"
#include "track/options.h"

namespace qiv {

/// How well trips are assigned to vehicles whose reports name none. Reports count from a trip's
/// departure to its end.
struct AssignmentScore {
  /// Reports by the confidence stated for them, in tenths.
  struct Stated {
    std::uint64_t reports = 0;
    std::uint64_t right = 0;
  };
  static constexpr std::size_t tenths = 10;

  std::uint64_t trips = 0;
  std::uint64_t trips_found = 0;  ///< assigned to their vehicle at some time
  std::uint64_t reports = 0;      ///< of vehicles on a trip
  std::uint64_t assigned = 0;     ///< of these, with any trip
  std::uint64_t right = 0;        ///< of these, with the trip that the vehicle is on
  std::uint64_t others = 0;       ///< reports before, between and after the trips
  std::uint64_t others_assigned = 0;
  std::uint64_t assignments = 0;
  std::uint64_t withdrawn = 0;        ///< since another trip explained the reports
  std::vector<Seconds> until_found;   ///< from each found trip's departure, ascending
  std::array<Stated, tenths> stated;  ///< by confidence
};

/// What vehicles are left to state when their trips are hidden.
enum class HiddenTrip {
  all,    ///< nothing of the trip
  route,  ///< route and direction, where the feed has them
};

/// Scores the assignment of trips on recorded days: the reports are followed once with the trips
/// that they name, which is the truth, and once with the trips hidden.
class AssignmentTest {
 public:
  /// `network` must outlive it. `options` are used with `assign_trips` on.
  AssignmentTest(const Network& network, const TrackOptions& options, HiddenTrip hidden);

  /// Takes the positions of a day, in order of receipt.
  void add_day(std::span<const VehiclePosition> positions);

  const AssignmentScore& score() const { return _score; }

 private:
  class Day;

  const Network& _network;
  TrackOptions _options;
  HiddenTrip _hidden;
  AssignmentScore _score;
};

/// The score for the terminal.
std::string assignment_text(const AssignmentScore& score);

/// The same for programs.
std::string assignment_json(const AssignmentScore& score);

}  // namespace qiv
