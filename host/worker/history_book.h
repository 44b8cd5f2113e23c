#pragma once

#include <map>
#include <set>
#include <vector>

#include "engine/engine_options.h"
#include "history/category.h"
#include "history/grid.h"
#include "history/trajectory.h"
#include "model/settings.h"
#include "network/network.h"
#include "worker/finished_codec.h"

namespace qiv {

/// The finished trips of one timetable's patterns, as far as its engines use them: of each pattern,
/// the trajectories of the trips that finished last, as many for each of its finest categories as
/// the settings' window has. What it holds does not depend on the order in which trips come.
class HistoryBook {
 public:
  /// Trips that finished after `until` stay out. `network` and `settings` must outlive the book.
  HistoryBook(const Network& network, const LearnedSettings& settings,
              Instant until = Instant::max())
      : _network(network), _settings(settings), _until(until) {}

  /// Takes a trip. False when it does not join the histories: it is known already; it finished too
  /// late, or before those that its full window holds; the timetable does not have its pattern; it
  /// makes no trajectory.
  bool take(const FinishedTrip& trip);

  /// The histories of the patterns, as they are at the moment at which each is asked for. The book
  /// must outlive the source.
  HistorySource source() const;

  /// Number of trips that are held.
  std::size_t trips() const { return _trips; }

 private:
  /// By the moment of finishing; what is the same by the others is the same trip.
  struct Earlier {
    bool operator()(const Trajectory& a, const Trajectory& b) const;
  };
  struct Window {
    std::set<Trajectory, Earlier> trips;
    bool full = false;  ///< it has dropped what was earlier
  };
  struct OfPattern {
    Grid grid;
    std::map<Category, Window> windows;
  };

  OfPattern& of(PatternIndex pattern);
  Category finest_category(const TripKey& trip, const PatternSettings& settings) const;

  const Network& _network;
  const LearnedSettings& _settings;
  Instant _until;
  std::map<PatternIndex, OfPattern> _patterns;
  std::size_t _trips = 0;
};

}  // namespace qiv
