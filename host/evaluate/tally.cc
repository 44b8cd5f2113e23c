#include "evaluate/tally.h"

#include <tuple>
#include <utility>

namespace qiv {
namespace {

constexpr std::size_t worst_trips_listed = 12;
constexpr std::size_t worst_trips_drawn = 6;

}  // namespace

std::vector<ContenderScore> ContendersTally::scores() const {
  std::vector<ContenderScore> scores = {forecast.score("forecast")};
  for (std::size_t c = 0; c < contender_count; ++c) {
    scores.push_back(contenders[c].score(to_string(static_cast<Contender>(c))));
  }
  return scores;
}

Tally::Tally(const Network& network) : worst_trips(network, worst_trips_drawn) {}

void Tally::score_errors(Scorecard& card) const {
  card.on_display = on_display.scores();
  card.at_reports = at_reports.scores();
  for (std::size_t hour = 0; hour < error_by_hour.size(); ++hour) {
    const int from = static_cast<int>(hour);
    card.by_hour[hour] = error_by_hour[hour].score(from, from + 1);
  }
  for (const auto& [stop, errors] : error_by_stop) {
    card.by_stop[stop] = errors.score(0, bucket_edges_min.back());
  }
  card.worst_trips = worst_trips.list(worst_trips_listed);
  std::tie(card.advantage_low_s, card.advantage_high_s) = advantage_interval_s(runs);
}

void Tally::score_bounds(Scorecard& card) const {
  const auto minutes = [](std::size_t i) {
    return std::pair(bucket_edges_min[i], bucket_edges_min[i + 1]);
  };
  card.bounds = by_lead.scores(minutes);
  for (const auto& [state, table] : by_state) card.bounds_by_state[state] = table.scores(minutes);
  card.bounds_by_hour = by_hour.scores([](std::size_t hour) {
    return std::pair(static_cast<int>(hour), static_cast<int>(hour) + 1);
  });
  constexpr std::array<double, 4> promised = {0.05, 0.16, 0.84, 0.95};
  for (std::size_t i = 0; i < before.size() && before[i].whole > 0; ++i) {
    card.quantiles.push_back({promised[i], before[i].value()});
  }
  card.coverage_90 = inside_90.value();
  card.missed_share = missed.value();
}

Scorecard Tally::scorecard() const {
  Scorecard card;
  if (!days.empty()) {
    card.first_day = days.front();
    card.last_day = days.back();
  }
  card.trips_scheduled = scheduled;
  card.trips_observed = observed;
  card.trips_ghost = ghosts;
  card.arrivals_observed = arrivals;
  card.positions = positions;
  score_errors(card);
  score_bounds(card);
  card.availability = reporting.value();
  card.availability_scheduled = wanted.value();
  card.wobble_s = wobbles == 0 ? 0.0 : wobble_sum_s / static_cast<double>(wobbles);
  card.rejections = rejections;
  return card;
}

}  // namespace qiv
