#pragma once

#include <optional>
#include <vector>

#include "model/journey_pattern.h"
#include "track/events.h"
#include "track/locate.h"
#include "track/options.h"

namespace qiv {

/// Decides what of one vehicle's trip is passed on and what is held back: what has gone in cannot
/// be taken back cheaply, and says nothing new twice.
///
/// - At the first stop the vehicle waits; its last report there is its departure.
/// - A place that is no further on is "still there".
/// - A jump faster than any vehicle waits for a second fix that agrees. So does the first fix of a
///   vehicle that was not seen at the first stop, unless it is near its timetable and could mean no
///   other place: it may cross the route, run it the other way, or be at the other end of a loop.
///   Once the second agrees, both are passed on.
/// - Reports behind what was passed on are held back; after `contradictions` of them that agree,
/// what
///   was passed on is corrected, so that a vehicle is never locked out by its own past.
class Gate {
 public:
  Gate(VehicleId vehicle, ScheduledTrip trip, const JourneyPattern& pattern,
       const TrackOptions& options);

  enum class Verdict { waiting, passed, still_there, held_back, corrected, finished };

  /// Takes the places that a report may mean, best first, not empty. Appends the events.
  Verdict take(const std::vector<Sighting>& places, Instant time, Instant received,
               std::vector<TrackEvent>& events);

  /// The vehicle was seen off the route: what waits for a second fix is forgotten.
  void leave_route() { _pending.reset(); }

  const ScheduledTrip& trip() const { return _trip; }
  std::optional<Progress> last() const;
  TripRun run() const;

 private:
  struct Held {
    Sighting place;
    Instant time{};
    Instant received{};
  };

  Verdict take_first(const std::vector<Sighting>& places, const Held& best,
                     std::vector<TrackEvent>& events);
  bool believable(const std::vector<Sighting>& places) const;
  Verdict take_next(const Held& report, std::vector<TrackEvent>& events);
  Verdict take_backward(const Held& report, std::vector<TrackEvent>& events);
  bool jumps(double from_m, Instant from, const Held& to) const;
  void pass(const Held& report, std::vector<TrackEvent>& events);
  void depart(const Held& next, std::vector<TrackEvent>& events);
  Verdict say(const Held& report, Verdict verdict, std::vector<TrackEvent>& events) const;
  bool at_end(double offset_m) const;
  Progress progress_of(const Held& report) const;

  VehicleId _vehicle;
  ScheduledTrip _trip;
  const JourneyPattern& _pattern;
  const TrackOptions& _options;
  std::vector<Progress> _passed;
  std::vector<Held> _backward;
  std::optional<Held> _pending;
  std::optional<Held> _waited;
};

}  // namespace qiv
