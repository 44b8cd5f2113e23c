#include "evaluate/contenders.h"

#include <algorithm>

namespace qiv {
namespace {

std::vector<double>& of(ContenderPredictions& predictions, Contender contender) {
  return predictions.arrivals_s[static_cast<std::size_t>(contender)];
}

struct Spot {
  std::size_t index = 1;
  double share = 0.0;
};

Spot locate(const std::vector<double>& at_m, double offset_m) {
  const auto upper = std::upper_bound(at_m.begin() + 1, at_m.end() - 1, offset_m);
  const auto index = static_cast<std::size_t>(upper - at_m.begin());
  return {index,
          std::clamp((offset_m - at_m[index - 1]) / (at_m[index] - at_m[index - 1]), 0.0, 1.0)};
}

template <class Value>
double read(const std::vector<Value>& times_s, Spot spot) {
  const auto from = static_cast<double>(times_s[spot.index - 1]);
  return from + spot.share * (static_cast<double>(times_s[spot.index]) - from);
}

/// Mean time of the trips from one offset to each stop.
std::vector<double> mean_increments_s(const Grid& grid, std::size_t stops, double from_m,
                                      const std::vector<std::vector<int>>& trips) {
  std::vector<double> sums_s(stops, 0.0);
  if (trips.empty()) return {};
  const Spot from = locate(grid.milestones_m, from_m);
  std::vector<Spot> spots;
  for (std::size_t j = 0; j < stops; ++j) {
    spots.push_back(locate(grid.milestones_m, grid.places_m[Grid::arrival_place(j)]));
  }
  for (const std::vector<int>& times_s : trips) {
    const double here_s = read(times_s, from);
    for (std::size_t j = 0; j < stops; ++j) sums_s[j] += read(times_s, spots[j]) - here_s;
  }
  for (double& sum_s : sums_s) sum_s /= static_cast<double>(trips.size());
  return sums_s;
}

/// From `origin_s` on by the increments; without any, like the timetable plus delay.
void fill(ContenderPredictions& predictions, Contender contender, double origin_s,
          const std::vector<double>& increments_s) {
  std::vector<double>& arrivals_s = of(predictions, contender);
  arrivals_s = of(predictions, Contender::timetable_delay);
  for (std::size_t j = 0; j < increments_s.size(); ++j) arrivals_s[j] = origin_s + increments_s[j];
  predictions.is_own[static_cast<std::size_t>(contender)] = !increments_s.empty();
}

/// All contenders, from a place at a time.
void predict_from(const ScheduledTrip& trip, const PatternDesk& desk, Category category,
                  double offset_m, double time_s, ContenderPredictions& predictions) {
  const std::size_t stops = trip.plan->size();
  const Grid& grid = desk.grid();
  const std::vector<double> scheduled_s = scheduled_times_s(*trip.plan);
  const auto departure_s = static_cast<double>(unix_seconds(trip.first_departure()));
  const double delay_s = time_s - departure_s - read(scheduled_s, locate(grid.places_m, offset_m));
  std::vector<double>& timetable_s = of(predictions, Contender::timetable);
  std::vector<double>& delayed_s = of(predictions, Contender::timetable_delay);
  predictions.is_own.fill(true);
  timetable_s.clear();
  delayed_s.clear();
  for (std::size_t j = 0; j < stops; ++j) {
    timetable_s.push_back(static_cast<double>(unix_seconds(trip.arrival(j))));
    delayed_s.push_back(timetable_s.back() + delay_s);
  }
  const auto& all = desk.elapsed(0);
  const std::vector<std::vector<int>> last(all.end() - (all.empty() ? 0 : 1), all.end());
  const auto mean = [&](const std::vector<std::vector<int>>& trips) {
    return mean_increments_s(grid, stops, offset_m, trips);
  };
  fill(predictions, Contender::historical_mean, time_s, mean(all));
  fill(predictions, Contender::category_mean, time_s, mean(desk.elapsed(category)));
  fill(predictions, Contender::last_vehicle, time_s, mean(last));
  if (desk.sources(category).empty()) {
    predictions.is_own[static_cast<std::size_t>(Contender::category_mean)] = false;
  }
}

}  // namespace

const char* to_string(Contender contender) {
  switch (contender) {
    case Contender::timetable:
      return "timetable";
    case Contender::timetable_delay:
      return "timetable_delay";
    case Contender::historical_mean:
      return "historical_mean";
    case Contender::category_mean:
      return "category_mean";
    case Contender::last_vehicle:
      return "last_vehicle";
  }
  return "unknown";
}

const ContenderPredictions& Contenders::predict(const ScheduledTrip& trip, Instant now) {
  const LiveTrip* const live = _engine.live(trip.key);
  const bool begun = live != nullptr && !live->places.empty();
  const auto now_s = static_cast<double>(unix_seconds(now));
  double late_s = 0.0;
  if (begun) {
    Standing& standing = _standing[trip.key];
    if (standing.reports != live->places.size()) standing = compute(trip, *live);
    _predicted = standing.predictions;
  } else {
    _predicted = fresh(trip).predictions;
    late_s = std::max(0.0, now_s - static_cast<double>(unix_seconds(trip.first_departure())));
  }
  for (std::size_t c = 1; c < contender_count; ++c) {
    for (double& arrival_s : _predicted.arrivals_s[c])
      arrival_s = std::max(arrival_s + late_s, now_s);
  }
  return _predicted;
}

Contenders::Standing Contenders::compute(const ScheduledTrip& trip, const LiveTrip& live) {
  Standing standing;
  standing.reports = live.places.size();
  predict_from(trip, *live.desk, live.choice.category, live.reports.back().offset_m,
               static_cast<double>(unix_seconds(live.places.back().time)), standing.predictions);
  return standing;
}

/// Before the first report: the timetable's departure. Histories hardly change within the hour in
/// which a trip is announced, so this is computed once for each trip.
const Contenders::Standing& Contenders::fresh(const ScheduledTrip& trip) {
  const auto [entry, added] = _fresh.try_emplace(trip.key);
  if (added) {
    PatternDesk& desk = _engine.desk_of(trip.pattern());
    const HistoryChoice choice = desk.choose(*trip.plan, trip.key.day);
    predict_from(trip, desk, choice.category, desk.grid().places_m.front(),
                 static_cast<double>(unix_seconds(trip.first_departure())),
                 entry->second.predictions);
  }
  return entry->second;
}

}  // namespace qiv
