#include "history/grid.h"

#include <algorithm>
#include <cmath>

#include "model/settings.h"

namespace qiv {
namespace {

constexpr double least_distance_m = 0.1;

/// Pushes the places apart so that they increase strictly and none lies beyond `end_m`.
void separate(std::vector<double>& places_m, double end_m) {
  for (std::size_t i = 1; i < places_m.size(); ++i) {
    places_m[i] = std::max(places_m[i], places_m[i - 1] + least_distance_m);
  }
  double limit_m = end_m;
  for (std::size_t i = places_m.size(); i-- > 0;) {
    places_m[i] = std::min(places_m[i], limit_m);
    limit_m = places_m[i] - least_distance_m;
  }
}

void append_between(std::vector<double>& milestones_m, double from_m, double to_m,
                    double spacing_m) {
  const double parts = std::ceil((to_m - from_m) / spacing_m);
  for (double part = 1.0; part < parts; part += 1.0) {
    milestones_m.push_back(from_m + (to_m - from_m) * part / parts);
  }
}

std::vector<double> milestones_through(const std::vector<double>& places_m, double end_m,
                                       double spacing_m) {
  std::vector<double> milestones_m;
  if (places_m.front() > 0.0) milestones_m.push_back(0.0);
  for (const double place_m : places_m) {
    if (!milestones_m.empty())
      append_between(milestones_m, milestones_m.back(), place_m, spacing_m);
    milestones_m.push_back(place_m);
  }
  if (end_m > milestones_m.back()) {
    append_between(milestones_m, milestones_m.back(), end_m, spacing_m);
    milestones_m.push_back(end_m);
  }
  return milestones_m;
}

/// Index of the stop whose own offset, moved by `shift_m`, is nearest to `offset_m`.
std::size_t nearest_stop(const JourneyPattern& pattern, double offset_m, double shift_m) {
  std::size_t nearest = 0;
  double least_m = HUGE_VAL;
  for (std::size_t j = 0; j < pattern.stops.size(); ++j) {
    const double distance_m = std::abs(pattern.stops[j].offset_m + shift_m - offset_m);
    if (distance_m < least_m) {
      least_m = distance_m;
      nearest = j;
    }
  }
  return nearest;
}

}  // namespace

Grid make_grid(const JourneyPattern& pattern, double spacing_m) {
  Grid grid;
  const std::size_t last = pattern.stops.size() - 1;
  grid.places_m.push_back(std::max(0.0, pattern.stops.front().offset_m));
  for (std::size_t j = 1; j <= last; ++j) {
    grid.places_m.push_back(pattern.stops[j].offset_m);
    if (j < last) grid.places_m.push_back(pattern.stops[j].offset_m + dwell_length_m);
  }
  const double needed_m = least_distance_m * static_cast<double>(grid.places_m.size());
  const double end_m = std::max(pattern.length_m(), needed_m);
  separate(grid.places_m, end_m);
  grid.milestones_m = milestones_through(grid.places_m, end_m, spacing_m);
  return grid;
}

double grid_offset_m(const Grid& grid, const JourneyPattern& pattern, const Progress& progress) {
  const std::size_t last = pattern.stops.size() - 1;
  if (progress.evidence == Evidence::arrival) {
    const std::size_t stop = nearest_stop(pattern, progress.offset_m, 0.0);
    return grid.places_m[Grid::arrival_place(stop)];
  }
  if (progress.evidence == Evidence::departure) {
    const std::size_t stop = nearest_stop(pattern, progress.offset_m, dwell_length_m);
    return grid.places_m[stop < last ? Grid::departure_place(stop) : Grid::arrival_place(stop)];
  }
  return std::clamp(progress.offset_m, 0.0, grid.milestones_m.back());
}

}  // namespace qiv
