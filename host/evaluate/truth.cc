#include "evaluate/truth.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "geo/distance.h"

namespace qiv {
namespace {

constexpr double noise_m = 60.0;
constexpr double highest_speed_mps = 45.0;
/// So many reports may be left out between two that are kept.
constexpr std::size_t farthest_back = 20;

/// A report that has been placed on the path.
struct Placed {
  Instant time{};
  double offset_m = 0.0;
};

struct Candidate {
  double offset_m = 0.0;
  double cost = 0.0;
  std::size_t from = 0;
};

double squared(double x) {
  return x * x;
}

double seconds_between(Instant from, Instant to) {
  return static_cast<double>((to - from).count());
}

/// How unlikely it is to go from one offset to another: back, or faster than any vehicle.
double step_cost(double from_m, double to_m, double elapsed_s) {
  const double moved_m = to_m - from_m;
  const double farthest_m = 100.0 + 35.0 * elapsed_s;
  if (moved_m < 0.0) return squared(moved_m / 30.0);
  return moved_m > farthest_m ? squared((moved_m - farthest_m) / 100.0) : moved_m / 20000.0;
}

/// One vehicle's reports on one trip.
class RunReader {
 public:
  RunReader(const Network& network, const ScheduledTrip& trip, const TruthOptions& options)
      : _network(network),
        _trip(trip),
        _options(options),
        _pattern(network.pattern(trip.pattern())) {}

  TripTruth read(const std::vector<const VehiclePosition*>& reports) {
    TripTruth truth;
    truth.vehicle = reports.front()->vehicle;
    truth.first_report = reports.front()->received;
    truth.last_report = reports.back()->received;
    truth.arrivals.resize(_pattern.stops.size());
    read_stated(reports, truth);
    interpolate(place_fixes(reports), truth);
    if (truth.arrivals.back()) {
      truth.last_report = std::min(truth.last_report, truth.arrivals.back()->time);
    }
    return truth;
  }

 private:
  std::optional<std::size_t> named_stop(const VehiclePosition& report) const {
    if (report.stop_sequence) {
      const auto stop = _trip.plan->find_sequence(*report.stop_sequence);
      if (stop && (report.stop.empty() || stop_id(*stop) == report.stop)) return stop;
    }
    return std::nullopt;
  }

  const StopId& stop_id(std::size_t j) const { return _network.stops()[_pattern.stops[j].stop].id; }

  double distance_to_stop_m(const VehiclePosition& report, std::size_t j) const {
    return report.place ? distance_m(*report.place, _network.stops()[_pattern.stops[j].stop].place)
                        : 0.0;
  }

  /// A statement that the vehicle stands at a stop.
  struct StatedCall {
    std::size_t stop = 0;
    Instant time{};
    Seconds gap{0};
  };

  /// Arrivals and departures as stated; a departure bounds the arrival at the next stop.
  void read_stated(const std::vector<const VehiclePosition*>& reports, TripTruth& truth) {
    std::vector<StatedCall> calls;
    Instant previous = reports.front()->received;
    for (const VehiclePosition* report : reports) {
      const auto stop = named_stop(*report);
      if (stop && report->status == StopStatus::stopped_at &&
          distance_to_stop_m(*report, *stop) <= _options.widest_distance_m) {
        calls.push_back({*stop, report->time, report->time - previous});
        _stated.push_back({report->time, _pattern.stops[*stop].offset_m});
      } else if (stop && *stop > 0 && report->status == StopStatus::in_transit_to &&
                 distance_to_stop_m(*report, *stop - 1) <= 30.0) {
        _stated.push_back({report->time, _pattern.stops[*stop - 1].offset_m});
      }
      previous = report->received;
    }
    for (const StatedCall& call : in_stop_order(calls)) {
      auto& arrival = truth.arrivals[call.stop];
      if (call.stop > 0 && !arrival) arrival = ObservedArrival{call.time, call.gap, true};
    }
    for (auto& arrival : truth.arrivals) {
      if (arrival && arrival->gap > _options.longest_gap) arrival.reset();
    }
  }

  /// The most statements that one trip can have made one after the other: the stops never go back.
  /// (Longest non-decreasing subsequence.)
  static std::vector<StatedCall> in_stop_order(const std::vector<StatedCall>& calls) {
    std::vector<std::size_t> ends;  // index of the call that ends the best chain of each length
    std::vector<std::size_t> before(calls.size());
    for (std::size_t i = 0; i < calls.size(); ++i) {
      const auto place = std::upper_bound(
          ends.begin(), ends.end(), calls[i].stop,
          [&](std::size_t stop, std::size_t end) { return stop < calls[end].stop; });
      before[i] = place == ends.begin() ? calls.size() : *(place - 1);
      if (place == ends.end()) {
        ends.push_back(i);
      } else {
        *place = i;
      }
    }
    std::vector<StatedCall> chain;
    if (ends.empty()) return chain;
    for (std::size_t i = ends.back(); i < calls.size(); i = before[i]) chain.push_back(calls[i]);
    std::reverse(chain.begin(), chain.end());
    return chain;
  }

  std::vector<Placed> place_fixes(const std::vector<const VehiclePosition*>& reports) const {
    if (!_stated.empty()) return increasing(_stated);
    std::vector<Instant> times;
    std::vector<std::vector<Candidate>> layers;
    const Polyline& line = _network.polyline(_trip.pattern());
    for (const VehiclePosition* report : reports) {
      if (!report->place || (!times.empty() && report->time <= times.back())) continue;
      std::vector<Candidate> layer;
      for (const LineMatch& match : line.candidates(*report->place, _options.widest_distance_m)) {
        layer.push_back({match.offset_m, squared(match.distance_m / 40.0), 0});
      }
      if (layer.empty()) continue;
      if (!layers.empty()) {
        connect(layers.back(), layer, seconds_between(times.back(), report->time));
      }
      times.push_back(report->time);
      layers.push_back(std::move(layer));
    }
    return increasing(best_path(times, layers));
  }

  static void connect(const std::vector<Candidate>& before, std::vector<Candidate>& layer,
                      double elapsed_s) {
    for (Candidate& candidate : layer) {
      double least = std::numeric_limits<double>::infinity();
      for (std::size_t i = 0; i < before.size(); ++i) {
        const double cost =
            before[i].cost + step_cost(before[i].offset_m, candidate.offset_m, elapsed_s);
        if (cost < least) {
          least = cost;
          candidate.from = i;
        }
      }
      candidate.cost += least;
    }
  }

  static std::vector<Placed> best_path(const std::vector<Instant>& times,
                                       const std::vector<std::vector<Candidate>>& layers) {
    std::vector<Placed> path(layers.size());
    if (layers.empty()) return path;
    const auto cheaper = [](const Candidate& a, const Candidate& b) { return a.cost < b.cost; };
    auto best = static_cast<std::size_t>(
        std::min_element(layers.back().begin(), layers.back().end(), cheaper) -
        layers.back().begin());
    for (std::size_t i = layers.size(); i-- > 0;) {
      path[i] = {times[i], layers[i][best].offset_m};
      best = layers[i][best].from;
    }
    return path;
  }

  /// The most reports that one vehicle can have made one after the other: neither back, beyond
  /// noise, nor faster than any vehicle. What is left of the noise is levelled.
  static std::vector<Placed> increasing(const std::vector<Placed>& path) {
    std::vector<std::size_t> length(path.size(), 1);
    std::vector<std::size_t> before(path.size(), path.size());
    std::size_t last = 0;
    for (std::size_t i = 0; i < path.size(); ++i) {
      const std::size_t earliest = i < farthest_back ? 0 : i - farthest_back;
      for (std::size_t j = earliest; j < i; ++j) {
        if (length[j] + 1 > length[i] && follows(path[j], path[i])) {
          length[i] = length[j] + 1;
          before[i] = j;
        }
      }
      if (length[i] > length[last]) last = i;
    }
    std::vector<Placed> chain;
    if (path.empty()) return chain;
    for (std::size_t i = last; i < path.size(); i = before[i]) chain.push_back(path[i]);
    std::reverse(chain.begin(), chain.end());
    for (std::size_t i = 1; i < chain.size(); ++i) {
      chain[i].offset_m = std::max(chain[i].offset_m, chain[i - 1].offset_m);
    }
    return chain;
  }

  static bool follows(const Placed& from, const Placed& to) {
    const double moved_m = to.offset_m - from.offset_m;
    return moved_m >= -noise_m &&
           moved_m <= 300.0 + highest_speed_mps * seconds_between(from.time, to.time);
  }

  void interpolate(const std::vector<Placed>& path, TripTruth& truth) const {
    std::size_t next = 0;
    for (std::size_t j = 1; j < _pattern.stops.size(); ++j) {
      const bool last = j + 1 == _pattern.stops.size();
      const double offset_m =
          _pattern.stops[j].offset_m - (last && _stated.empty() ? _options.end_zone_m : 0.0);
      while (next < path.size() && path[next].offset_m < offset_m) ++next;
      if (next == path.size()) return;
      if (next == 0 || truth.arrivals[j]) continue;
      const Placed& before = path[next - 1];
      const Placed& after = path[next];
      const Seconds gap = after.time - before.time;
      if (gap > _options.longest_gap) continue;
      const double share =
          (offset_m - before.offset_m) / std::max(1e-9, after.offset_m - before.offset_m);
      const auto elapsed =
          static_cast<long long>(std::llround(share * seconds_between(before.time, after.time)));
      truth.arrivals[j] = ObservedArrival{before.time + Seconds(elapsed), gap, false};
    }
  }

  const Network& _network;
  const ScheduledTrip& _trip;
  const TruthOptions& _options;
  const JourneyPattern& _pattern;
  std::vector<Placed> _stated;
};

std::size_t count_arrivals(const TripTruth& truth) {
  return static_cast<std::size_t>(std::count_if(truth.arrivals.begin(), truth.arrivals.end(),
                                                [](const auto& a) { return a.has_value(); }));
}

}  // namespace

std::optional<TripKey> stated_trip(const Network& network, const VehiclePosition& position) {
  if (position.vehicle.empty() || position.trip.empty()) return std::nullopt;
  const TripPlan* const plan =
      network.nearest_repetition(position.trip, position.start_time.value_or(Seconds(0)));
  if (plan == nullptr) return std::nullopt;
  const auto day =
      position.start_date ? position.start_date : network.nearest_service_day(*plan, position.time);
  if (!day) return std::nullopt;
  return TripKey{plan->id, *day, plan->start};
}

Truth observe(const Network& network, std::span<const VehiclePosition> positions,
              const TruthOptions& options) {
  std::map<std::pair<TripKey, VehicleId>, std::vector<const VehiclePosition*>> runs;
  for (const VehiclePosition& position : positions) {
    if (const auto key = stated_trip(network, position)) {
      runs[{*key, position.vehicle}].push_back(&position);
    }
  }
  Truth truth;
  for (auto& [key, reports] : runs) {
    std::stable_sort(reports.begin(), reports.end(),
                     [](const auto* a, const auto* b) { return a->time < b->time; });
    const std::optional<ScheduledTrip> trip = network.schedule(key.first);
    if (!trip) continue;
    TripTruth run = RunReader(network, *trip, options).read(reports);
    const auto known = truth.find(key.first);
    if (known == truth.end()) {
      truth.emplace(key.first, std::move(run));
    } else if (count_arrivals(run) > count_arrivals(known->second)) {
      known->second = std::move(run);
    }
  }
  return truth;
}

}  // namespace qiv
