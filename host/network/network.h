#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "geo/polyline.h"
#include "model/journey_pattern.h"
#include "model/rejections.h"
#include "model/timetable.h"
#include "network/service_clock.h"
#include "network/trip_plan.h"

namespace qiv {

/// What a network is made of; see `build_network`.
struct NetworkParts {
  ServiceClock clock;
  std::string version;
  std::vector<Stop> stops;
  std::vector<Route> routes;
  std::vector<Service> services;
  std::vector<JourneyPattern> patterns;                    ///< in order of `ref`
  std::vector<std::shared_ptr<const Polyline>> polylines;  ///< one for each pattern
  std::vector<Call> calls;                                 ///< what `template_calls` point into
  std::vector<TripPlan> trips;  ///< in order of (`id`, `start`), `index` being the place
  Rejections rejections;
};

/// A timetable made ready: journey patterns with paths and stop offsets, the trips on them with all
/// their times, and which of them run when. Immutable; may be moved, and pointers and spans into it
/// stay valid. The order of everything that is listed does not depend on the order of the feed.
class Network {
 public:
  explicit Network(NetworkParts parts);
  Network(Network&&) = default;
  Network& operator=(Network&&) = default;

  const ServiceClock& clock() const { return _parts.clock; }
  const std::string& version() const { return _parts.version; }
  const Rejections& rejections() const { return _parts.rejections; }

  /// The timetable's stops and routes, in its order: `PatternStop::stop` is an index into `stops`.
  const std::vector<Stop>& stops() const { return _parts.stops; }
  const std::vector<Route>& routes() const { return _parts.routes; }
  std::optional<std::uint32_t> find_stop(const StopId& id) const;
  const Route* find_route(const RouteId& id) const;

  const std::vector<JourneyPattern>& patterns() const { return _parts.patterns; }
  const JourneyPattern& pattern(PatternIndex index) const { return _parts.patterns[index]; }
  const Polyline& polyline(PatternIndex index) const { return *_parts.polylines[index]; }
  std::optional<PatternIndex> find_pattern(const PatternRef& ref) const;
  /// Without `direction`, the patterns of both directions and of none.
  std::vector<PatternIndex> patterns_of(const RouteId& route,
                                        std::optional<int> direction = std::nullopt) const;

  const std::vector<TripPlan>& trips() const { return _parts.trips; }
  const TripPlan& trip(TripIndex index) const { return _parts.trips[index]; }
  /// All plans of this name: one, or the repetitions in order of `start`; none if unknown.
  std::span<const TripPlan> trips_of(const TripId& id) const;
  /// The plan with exactly this start (0 unless a repetition); null if there is none.
  const TripPlan* find_trip(const TripId& id, Seconds start = Seconds(0)) const;
  /// The repetition that starts nearest to `start`, the earlier of two; a trip that is not repeated
  /// whatever the start; null if the trip is unknown.
  const TripPlan* nearest_repetition(const TripId& id, Seconds start) const;
  /// The trips of a pattern in order of departure.
  std::span<const TripIndex> trips_of(PatternIndex pattern) const;

  bool runs_on(const TripPlan& trip, ServiceDate day) const;
  /// The trips that run on `day`, in order of departure.
  std::vector<TripIndex> trips_on(ServiceDate day) const;
  /// The trips of a block that run on `day`, in order of departure.
  std::vector<TripIndex> block_on(const BlockId& block, ServiceDate day) const;

  /// The trip on its day, with its neighbours in the block. Answers also for days on which the trip
  /// does not run: feeds report such trips (`runs_on` tells). Nothing for an unknown trip.
  std::optional<ScheduledTrip> schedule(const TripKey& key) const;
  ScheduledTrip schedule(const TripPlan& trip, ServiceDate day) const;

  /// The days of service under way at `instant`: trips run on that day, and the instant lies
  /// between the first departure and the last arrival of them all, each widened by `slack`. In
  /// order.
  std::vector<ServiceDate> service_days(Instant instant, Seconds slack = Seconds(0)) const;

  /// The day on which `trip` runs whose scheduled span holds `instant` or is nearest to it, the
  /// earlier of two, among the days for which that is at most about a day away. Nothing if the trip
  /// runs on none of them.
  std::optional<ServiceDate> nearest_service_day(const TripPlan& trip, Instant instant) const;

  /// First and last day on which any trip runs; nothing if none ever does.
  std::optional<std::pair<ServiceDate, ServiceDate>> days() const { return _days; }

 private:
  void index_trips();
  std::optional<std::pair<Seconds, Seconds>> span_on(ServiceDate day) const;

  NetworkParts _parts;
  std::unordered_map<StopId, std::uint32_t> _stop_by_id;
  std::unordered_map<RouteId, std::uint32_t> _route_by_id;
  std::unordered_map<PatternRef, PatternIndex> _pattern_by_ref;
  std::unordered_map<std::string_view, TripIndex> _trip_by_id;  ///< the first plan of the name
  std::unordered_map<RouteId, std::vector<PatternIndex>> _patterns_of_route;
  std::unordered_map<BlockId, std::vector<TripIndex>> _trips_of_block;
  std::vector<std::vector<TripIndex>> _trips_of_pattern;
  std::vector<TripIndex> _by_departure;
  std::vector<std::optional<std::pair<Seconds, Seconds>>> _span_of_service;
  std::optional<std::pair<ServiceDate, ServiceDate>> _days;
  std::pair<Seconds, Seconds> _reach{};  ///< earliest departure and latest arrival of any trip
};

}  // namespace qiv
