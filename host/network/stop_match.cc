#include "network/stop_match.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "geo/distance.h"

namespace qiv {
namespace {

constexpr std::size_t max_options = 64;    ///< of one stop, the nearest
constexpr std::size_t max_frontier = 256;  ///< the cheapest

constexpr double max_step_back_m = 50.0;  ///< of a stop that is out of order by little
constexpr double stated_reach_m = 300.0;
constexpr double stated_cost_m = 30.0;
constexpr double stated_near_m = 50.0;
constexpr double timed_reach = 0.25;  ///< of the path's length
constexpr double timed_cost_m = 5.0;

constexpr std::size_t none = static_cast<std::size_t>(-1);

double square(double x) {
  return x * x;
}

/// Squared metres for an offset that is `away_m` from a hint.
double hint_cost(double away_m, double reach_m, double cost_m) {
  return square(cost_m * std::min(1.0, std::abs(away_m) / reach_m));
}

/// One choice in a chain of choices, one for each stop that is on the path.
struct Choice {
  std::size_t stop;
  double offset_m;
  std::size_t before;
};

/// The best chain that ends at its offset.
struct State {
  double offset_m;
  double cost;
  std::size_t choice;
};

struct Option {
  double offset_m;
  double cost;
};

using OptionsOfStops = std::vector<std::vector<LineMatch>>;

OptionsOfStops find_options(const Polyline& path, std::span<const StopOnPath> stops,
                            double max_distance_m) {
  OptionsOfStops options(stops.size());
  for (std::size_t i = 0; i < stops.size(); ++i) {
    std::vector<LineMatch>& found = options[i];
    path.candidates(stops[i].place, max_distance_m, found);
    if (found.size() <= max_options) continue;
    std::stable_sort(found.begin(), found.end(), [](const LineMatch& a, const LineMatch& b) {
      return a.distance_m < b.distance_m;
    });
    found.resize(max_options);
  }
  return options;
}

/// Which stated offsets lie where the path is about as near to the stop as it comes; none of them
/// when that holds for fewer than half of the stops.
std::vector<bool> credible_hints(const Polyline& path, std::span<const StopOnPath> stops,
                                 const OptionsOfStops& options) {
  std::vector<bool> credible(stops.size(), false);
  std::size_t count = 0;
  for (std::size_t i = 0; i < stops.size(); ++i) {
    if (!stops[i].stated_offset_m || options[i].empty()) continue;
    double nearest_m = std::numeric_limits<double>::infinity();
    for (const LineMatch& option : options[i]) nearest_m = std::min(nearest_m, option.distance_m);
    const LatLon there = path.point_at(*stops[i].stated_offset_m);
    credible[i] = distance_m(stops[i].place, there) <= nearest_m + stated_near_m;
    if (credible[i]) ++count;
  }
  if (2 * count < stops.size()) credible.assign(stops.size(), false);
  return credible;
}

std::vector<Option> weigh(const std::vector<LineMatch>& found, const StopOnPath& stop,
                          bool hint_is_credible, double length_m) {
  std::vector<Option> options;
  for (const LineMatch& match : found) {
    double cost = square(match.distance_m);
    if (hint_is_credible) {
      cost += hint_cost(match.offset_m - *stop.stated_offset_m, stated_reach_m, stated_cost_m);
    }
    if (stop.timed_offset_m && length_m > 0.0) {
      cost +=
          hint_cost(match.offset_m - *stop.timed_offset_m, timed_reach * length_m, timed_cost_m);
    }
    options.push_back({match.offset_m, cost});
  }
  return options;
}

/// The cheapest way from the frontier to an option; a choice of none when there is no way.
State extend(const std::vector<State>& frontier, const Option& option) {
  State best{option.offset_m, std::numeric_limits<double>::infinity(), none};
  for (std::size_t i = 0; i < frontier.size(); ++i) {
    const double back_m = std::max(0.0, frontier[i].offset_m - option.offset_m);
    if (back_m > max_step_back_m) continue;
    const double cost = frontier[i].cost + option.cost + square(back_m);
    if (cost < best.cost) best = {option.offset_m, cost, i};
  }
  return best;
}

/// Leaves out every state that another one beats in both offset and cost.
void prune(std::vector<State>& states) {
  std::stable_sort(states.begin(), states.end(), [](const State& a, const State& b) {
    return a.offset_m != b.offset_m ? a.offset_m < b.offset_m : a.cost < b.cost;
  });
  double cheapest = std::numeric_limits<double>::infinity();
  std::erase_if(states, [&](const State& state) {
    if (state.cost >= cheapest) return true;
    cheapest = state.cost;
    return false;
  });
  if (states.size() > max_frontier) {
    const auto surplus = static_cast<std::ptrdiff_t>(states.size() - max_frontier);
    states.erase(states.begin(), states.begin() + surplus);
  }
}

/// Replaces every run of falling offsets by its mean: the nearest sequence that never falls.
void make_monotone(std::vector<double>& offsets) {
  struct Block {
    double sum;
    double count;
    double mean() const { return sum / count; }
  };
  std::vector<Block> blocks;
  for (const double offset : offsets) {
    blocks.push_back({offset, 1.0});
    while (blocks.size() > 1 && blocks[blocks.size() - 2].mean() > blocks.back().mean()) {
      blocks[blocks.size() - 2].sum += blocks.back().sum;
      blocks[blocks.size() - 2].count += blocks.back().count;
      blocks.pop_back();
    }
  }
  std::size_t next = 0;
  for (const Block& block : blocks) {
    for (double i = 0.0; i < block.count; i += 1.0) offsets[next++] = block.mean();
  }
}

}  // namespace

std::vector<std::optional<double>> match_stops(const Polyline& path,
                                               std::span<const StopOnPath> stops,
                                               double max_distance_m) {
  const OptionsOfStops found = find_options(path, stops, max_distance_m);
  const std::vector<bool> credible = credible_hints(path, stops, found);
  const double length_m = path.last_offset_m() - path.first_offset_m();

  std::vector<Choice> choices;
  std::vector<State> frontier{{path.first_offset_m(), 0.0, none}};
  for (std::size_t i = 0; i < stops.size(); ++i) {
    std::vector<State> next;
    for (const Option& option : weigh(found[i], stops[i], credible[i], length_m)) {
      State state = extend(frontier, option);
      if (state.choice == none) continue;
      choices.push_back({i, option.offset_m, frontier[state.choice].choice});
      state.choice = choices.size() - 1;
      next.push_back(state);
    }
    for (State left_out : frontier) {
      left_out.cost += square(max_distance_m);
      next.push_back(left_out);
    }
    prune(next);
    frontier = std::move(next);
  }

  std::vector<std::size_t> chosen;
  for (std::size_t c = frontier.back().choice; c != none; c = choices[c].before) {
    chosen.push_back(c);
  }
  std::reverse(chosen.begin(), chosen.end());
  std::vector<double> offsets;
  offsets.reserve(chosen.size());
  for (const std::size_t c : chosen) offsets.push_back(choices[c].offset_m);
  make_monotone(offsets);
  std::vector<std::optional<double>> result(stops.size());
  for (std::size_t i = 0; i < chosen.size(); ++i) result[choices[chosen[i]].stop] = offsets[i];
  return result;
}

}  // namespace qiv
