#include "history/pattern_outline.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "model/settings.h"

namespace qiv {
namespace {

/// A stop that two patterns share, by its index in each.
struct SharedStop {
  std::size_t a = 0;
  std::size_t b = 0;
};

/// The longest list of stops that both patterns call at in this order.
std::vector<SharedStop> shared_stops(const PatternOutline& a, const PatternOutline& b) {
  const std::size_t rows = a.stops.size();
  const std::size_t columns = b.stops.size();
  // longest[i * (columns + 1) + j]: how many the stops from i and from j on share
  std::vector<std::size_t> longest((rows + 1) * (columns + 1), 0);
  const auto at = [&](std::size_t i, std::size_t j) -> std::size_t& {
    return longest[i * (columns + 1) + j];
  };
  for (std::size_t i = rows; i-- > 0;) {
    for (std::size_t j = columns; j-- > 0;) {
      at(i, j) = a.stops[i].stop == b.stops[j].stop ? 1 + at(i + 1, j + 1)
                                                    : std::max(at(i + 1, j), at(i, j + 1));
    }
  }
  std::vector<SharedStop> shared;
  for (std::size_t i = 0, j = 0; i < rows && j < columns;) {
    if (a.stops[i].stop == b.stops[j].stop) {
      shared.push_back({i++, j++});
    } else {
      at(i + 1, j) >= at(i, j + 1) ? ++i : ++j;
    }
  }
  return shared;
}

/// A place that two paths share.
struct Anchor {
  double from_m = 0.0;
  double to_m = 0.0;
};

/// The two places of every shared stop, as far as both paths pass them in this order.
std::vector<Anchor> anchors(const PatternOutline& from, const PatternOutline& to,
                            const std::vector<SharedStop>& shared) {
  std::vector<Anchor> kept;
  const auto add = [&kept](Anchor anchor) {
    if (kept.empty() || (anchor.from_m > kept.back().from_m && anchor.to_m >= kept.back().to_m)) {
      kept.push_back(anchor);
    }
  };
  for (std::size_t i = 0; i < shared.size(); ++i) {
    const Anchor arrival{from.stops[shared[i].a].offset_m, to.stops[shared[i].b].offset_m};
    const Anchor departure{arrival.from_m + dwell_length_m, arrival.to_m + dwell_length_m};
    add(arrival);
    if (i + 1 == shared.size()) continue;
    const Anchor next{from.stops[shared[i + 1].a].offset_m, to.stops[shared[i + 1].b].offset_m};
    if (departure.from_m < next.from_m && departure.to_m < next.to_m) add(departure);
  }
  return kept;
}

class OffsetMap {
 public:
  OffsetMap(const PatternOutline& from, const PatternOutline& to,
            const std::vector<SharedStop>& shared)
      : _anchors(anchors(from, to, shared)),
        _to_length_m(to.length_m),
        _whole_start(shared.front().a == 0 && shared.front().b == 0),
        _whole_end(shared.back().a + 1 == from.stops.size() &&
                   shared.back().b + 1 == to.stops.size()) {}

  double first_m() const { return _anchors.front().from_m; }
  double last_m() const { return _anchors.back().from_m; }

  std::optional<double> operator()(double from_m) const {
    if (from_m < first_m()) {
      if (!_whole_start) return std::nullopt;
      return std::max(0.0, _anchors.front().to_m - (first_m() - from_m));
    }
    if (from_m >= last_m()) {
      if (from_m > last_m() && !_whole_end) return std::nullopt;
      return std::min(std::max(_to_length_m, _anchors.back().to_m),
                      _anchors.back().to_m + (from_m - last_m()));
    }
    const auto after = std::upper_bound(
        _anchors.begin(), _anchors.end(), from_m,
        [](double offset_m, const Anchor& anchor) { return offset_m < anchor.from_m; });
    const auto before = after - 1;
    const double share = (from_m - before->from_m) / (after->from_m - before->from_m);
    return before->to_m + share * (after->to_m - before->to_m);
  }

  /// Whether a place of a shared stop lies here.
  bool is_anchor(double from_m) const {
    return std::any_of(_anchors.begin(), _anchors.end(), [from_m](const Anchor& anchor) {
      return std::abs(anchor.from_m - from_m) < 0.5;
    });
  }

 private:
  std::vector<Anchor> _anchors;
  double _to_length_m;
  bool _whole_start;
  bool _whole_end;
};

/// Adds a fix where the run passes `offset_m`, if it does so between two reports.
void add_fix_at(std::vector<Progress>& progress, double offset_m) {
  const auto after = std::find_if(progress.begin(), progress.end(),
                                  [offset_m](const Progress& p) { return p.offset_m >= offset_m; });
  if (after == progress.begin() || after == progress.end() || after->offset_m == offset_m) return;
  const Progress& before = *(after - 1);
  const double share = (offset_m - before.offset_m) / (after->offset_m - before.offset_m);
  Progress fix = *after;
  fix.time =
      before.time +
      Seconds(std::llround(share * static_cast<double>((after->time - before.time).count())));
  fix.offset_m = offset_m;
  fix.evidence = Evidence::fix;
  progress.insert(after, std::move(fix));
}

double share(std::size_t shared, std::size_t stops) {
  return stops == 0 ? 0.0 : static_cast<double>(shared) / static_cast<double>(stops);
}

bool same_service(const PatternOutline& a, const PatternOutline& b) {
  return a.route == b.route && a.direction == b.direction;
}

}  // namespace

PatternOutline outline(const JourneyPattern& pattern, std::span<const Stop> stops) {
  PatternOutline result{pattern.ref, pattern.route, pattern.direction, {}, pattern.length_m()};
  result.stops.reserve(pattern.stops.size());
  for (const PatternStop& stop : pattern.stops) {
    result.stops.push_back({stops[stop.stop].id, stop.offset_m});
  }
  return result;
}

double kinship(const PatternOutline& a, const PatternOutline& b) {
  if (!same_service(a, b)) return 0.0;
  return share(shared_stops(a, b).size(), std::max(a.stops.size(), b.stops.size()));
}

double coverage(const PatternOutline& from, const PatternOutline& to) {
  return same_service(from, to) ? share(shared_stops(from, to).size(), to.stops.size()) : 0.0;
}

std::optional<TripRun> reproject(const TripRun& run, const PatternOutline& from,
                                 const PatternOutline& to) {
  if (!same_service(from, to)) return std::nullopt;
  const auto shared = shared_stops(from, to);
  if (shared.size() < 2 || share(shared.size(), to.stops.size()) < close_coverage) {
    return std::nullopt;
  }
  const OffsetMap map(from, to, shared);
  std::vector<Progress> reports = run.progress;
  add_fix_at(reports, map.first_m());
  add_fix_at(reports, map.last_m());

  TripRun moved{run.vehicle, run.trip, to.ref, {}};
  for (const Progress& report : reports) {
    const auto offset_m = map(report.offset_m);
    if (!offset_m) continue;
    moved.progress.push_back(report);
    Progress& p = moved.progress.back();
    p.pattern = 0;
    p.offset_m = *offset_m;
    if (!map.is_anchor(report.offset_m)) p.evidence = Evidence::fix;
  }
  if (moved.progress.size() < 2) return std::nullopt;
  return moved;
}

}  // namespace qiv
