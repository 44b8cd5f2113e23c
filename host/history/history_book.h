#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "history/category.h"
#include "history/trajectory.h"
#include "model/journey_pattern.h"
#include "model/trip_run.h"

namespace qiv {

/// The earlier trips of every pattern, ready for forecasting: trajectories in the order in which
/// the trips finished (ties: by trip and vehicle), each under its categories of every depth. The
/// same trips added in any order make the same book.
class HistoryBook {
 public:
  explicit HistoryBook(TrajectoryRules rules = {}) : _rules(rules) {}
  HistoryBook(HistoryBook&&) = default;
  HistoryBook& operator=(HistoryBook&&) = default;

  /// Opens the chapter of `pattern`, whose trajectories have a time for each of `milestones_m`. One
  /// that is there already is emptied. The book keeps what it needs of `pattern`.
  /// Precondition: `milestones_m` never decreases.
  void open(const JourneyPattern& pattern, std::vector<double> milestones_m);

  /// Adds a finished trip, which its timetable lets leave at `departure` (seconds of the service
  /// day). The same vehicle and trip again replaces what its pattern had of it. Returns why the run
  /// makes no trajectory (see `make_trajectory`, and "unknown pattern"), or nothing if it was
  /// added; a rejected run leaves the book as it is.
  std::optional<std::string_view> add(const TripRun& run, Seconds departure);

  /// The latest `window` trips of a category that finished before `before`, oldest first. Empty for
  /// patterns without a chapter. Valid until the book is changed.
  std::span<const Trajectory* const> latest(const PatternRef& pattern, Category category,
                                            std::size_t window, Instant before) const;

  /// Number of trips of a category that finished before `before`.
  std::size_t count(const PatternRef& pattern, Category category, Instant before) const;

  /// The first of `finest_first` with at least `least_trips` that finished before `before`; the
  /// last of them if none has so many. Precondition: `finest_first` is not empty.
  Category choose(const PatternRef& pattern, std::span<const Category> finest_first,
                  std::size_t least_trips, Instant before) const;

  /// The categories of a pattern in which there are trips, in order of number.
  std::vector<Category> categories_of(const PatternRef& pattern) const;

  /// The milestones that the chapter was opened with; empty without a chapter.
  std::span<const double> milestones_m(const PatternRef& pattern) const;

  /// The patterns that have a chapter, in order.
  std::vector<PatternRef> patterns() const;

  /// Drops the trips that finished before `before`; returns how many.
  std::size_t forget(Instant before);

 private:
  using TripOfVehicle = std::pair<TripKey, VehicleId>;

  struct Booked {
    Trajectory trajectory;
    std::vector<Category> finest_first;
  };

  struct Chapter {
    JourneyPattern pattern;
    std::vector<double> milestones_m;
    std::map<TripOfVehicle, Booked> trips;
    std::map<Category, std::vector<const Trajectory*>> shelves;  ///< each in order of finishing
  };

  static void put(Chapter& chapter, Trajectory trajectory,
                  const std::vector<Category>& finest_first);
  static void remove(Chapter& chapter, const TripOfVehicle& key);
  const std::vector<const Trajectory*>* shelf(const PatternRef& pattern, Category category) const;

  TrajectoryRules _rules;
  std::map<PatternRef, Chapter> _chapters;
};

}  // namespace qiv
