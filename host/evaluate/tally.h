#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "evaluate/bootstrap.h"
#include "evaluate/bound_stats.h"
#include "evaluate/contenders.h"
#include "evaluate/error_stats.h"
#include "evaluate/scorecard.h"
#include "evaluate/worst_trips.h"

namespace qiv {

/// A part of a whole, counted.
struct Share {
  std::uint64_t part = 0;
  std::uint64_t whole = 0;

  void add(bool is_part) {
    ++whole;
    if (is_part) ++part;
  }
  double value() const {
    return whole == 0 ? 0.0 : static_cast<double>(part) / static_cast<double>(whole);
  }
};

/// The contenders on the same events.
struct ContendersTally {
  ContenderStats forecast;
  std::array<ContenderStats, contender_count> contenders;

  /// "forecast" first, then the others in the order of `Contender`.
  std::vector<ContenderScore> scores() const;
};

/// Everything that an evaluation counts over all days.
struct Tally {
  explicit Tally(const Network& network);

  /// What has been counted. Timetable version, names and settings are left to the caller.
  Scorecard scorecard() const;

  std::vector<ServiceDate> days;
  std::uint64_t scheduled = 0, observed = 0, ghosts = 0, arrivals = 0, positions = 0;
  ContendersTally on_display, at_reports;
  std::vector<ContenderStats> others;  ///< other producers, in the order of the evaluation
  BoundTable by_lead{bucket_count};
  BoundTable by_hour{24};
  std::map<std::string, BoundTable> by_state;
  std::array<ErrorStats, 24> error_by_hour;
  std::map<std::uint32_t, ErrorStats> error_by_stop;
  WorstTrips worst_trips;
  std::vector<RunSums> runs;
  std::array<Share, 4> before;  ///< arrivals before lower 90, lower 68, upper 68, upper 90
  Share inside_90;              ///< arrivals inside the 90 % bounds
  Share missed;                 ///< riders at the leave-by time who come too late
  Share reporting;              ///< minutes in which a vehicle reports, with a forecast
  Share wanted;                 ///< events with a forecast
  double wobble_sum_s = 0.0;
  std::uint64_t wobbles = 0;
  Rejections rejections;

 private:
  void score_errors(Scorecard& card) const;
  void score_bounds(Scorecard& card) const;
};

}  // namespace qiv
