#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "engine/forecast_library.h"
#include "engine/trip_clock.h"
#include "history/category.h"
#include "history/grid.h"
#include "history/trajectory.h"
#include "model/settings.h"
#include "network/network.h"

namespace qiv {

/// What a trip is forecast from.
struct HistoryChoice {
  Category category = 0;
  ForecastBasis basis = ForecastBasis::history;
  unsigned trips = 0;  ///< earlier trips in the category
};

/// Where a vehicle arrives at each stop; at the first, where it departs.
std::vector<double> arrival_places_m(const Grid& grid);

/// An earlier trip behind a category.
struct SourceTrip {
  TripKey trip;
  bool lent = false;  ///< by a pattern that is a close relative
};

/// One journey pattern at work: its grid, the earlier trips that the library was given, and the
/// choice among their categories. Keeps a mirror of what the library holds.
class PatternDesk {
 public:
  /// Opens the pattern in the library and gives it the window of each category out of `earlier`
  /// (in the order of finishing), whose times are those at the milestones of `grid`.
  PatternDesk(const Network& network, PatternIndex pattern, const PatternSettings& settings,
              const Grid& grid, ForecastLibrary& library, std::span<const Trajectory> earlier);

  const OpenPattern& opened() const { return _opened; }
  const JourneyPattern& pattern() const { return _network.pattern(_pattern); }
  const Grid& grid() const { return _grid; }
  const PatternSettings& settings() const { return _settings; }

  /// Whether the library gives this pattern's arrivals or its travel times.
  ForecastMode mode() const { return _library.mode(); }

  /// Adds a trip that has just finished, in all of its categories.
  void add(const Trajectory& trajectory);

  /// One more with every trip that was added: what is chosen and forecast without a vehicle is the
  /// same as long as this is.
  std::uint64_t version() const { return _version; }

  /// The finest category with enough trips; without any, the trip's own timetable, which is given
  /// to the library as a category of its own.
  HistoryChoice choose(const TripPlan& trip, ServiceDate day);

  /// The trip's own timetable, whatever earlier trips there are.
  HistoryChoice choose_timetable(const TripPlan& trip);

  /// The clock on which the library sees this trip.
  TripClock clock(const TripPlan& trip) const;

  /// The forecast of a trip that leaves the first stop at time 0, on the library's clock. Nothing
  /// when the library gives none.
  const std::optional<LibraryForecast>& fresh(Category category);

  /// How late a trip of the category departs that has not departed `waited` after its timetable:
  /// the median of the earlier trips that departed later than that. `waited` itself when there are
  /// none, and never negative.
  Seconds expected_departure_delay(Category category, Seconds waited) const;

  /// The trajectories of a category as the library holds them, in its order.
  const std::vector<std::vector<int>>& stored(Category category) const;

  /// Which trips they are, in the same order; empty for a timetable's category.
  const std::vector<SourceTrip>& sources(Category category) const;

  /// The same trips by elapsed time, whatever the clock of the library.
  const std::vector<std::vector<int>>& elapsed(Category category) const;

 private:
  /// The earlier trips of one category, or a timetable in their place.
  struct Past {
    std::vector<std::vector<int>> stored;
    std::vector<std::vector<int>> elapsed;
    std::vector<SourceTrip> sources;
    std::vector<Seconds> departure_delays;  ///< ascending
    bool has_fresh = false;                 ///< whether `fresh` is of these trips
    std::optional<LibraryForecast> fresh;
  };

  const Past& past(Category category) const;
  void add_to(Category category, const Trajectory& trajectory, const std::vector<int>& times_s);
  bool store(Category category, const std::vector<int>& times_s, const std::vector<int>& elapsed_s);
  std::vector<Category> categories_of(const Trajectory& trajectory) const;
  std::vector<int> library_times(const Trajectory& trajectory) const;

  const Network& _network;
  PatternIndex _pattern;
  PatternSettings _settings;
  ForecastLibrary& _library;
  Grid _grid;
  OpenPattern _opened;
  std::map<Category, Past> _past;
  std::map<std::vector<int>, Category> _timetables;
  std::uint64_t _version = 0;
};

}  // namespace qiv
