#include "engine/explain.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <stdexcept>
#include <utility>

#include "BusRoute.h"
#include "Forecast.h"
#include "History.h"
#include "Journey.h"
#include "KernelRegression.h"
#include "Vehicle.h"

namespace qiv {
namespace {

/// Kernel regression that keeps the weights of its last forecast.
class WeightKeeper : public KernelRegression {
 public:
  using KernelRegression::KernelRegression;

  std::vector<double> weights(const Vehicle& vehicle, const History& history) {
    Kernel kernel(history.size(), 0.0);
    compute_kernel(kernel, &vehicle, &history, 0);
    std::vector<double> shares;
    for (unsigned k = 0; k < kernel.size(); ++k) shares.push_back(kernel.normalize(kernel[k]));
    return shares;
  }
};

History mirror(const std::vector<std::vector<int>>& trajectories, std::size_t size) {
  const auto count = static_cast<unsigned>(std::min(size, trajectories.size()));
  History history(count, History::ring);
  for (unsigned k = 0; k < count; ++k) history.push_back(trajectories[k]);
  return history;
}

bool same_bits(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

bool same(const LibraryForecast& a, const LibraryForecast& b) {
  if (a.first != b.first || !same_bits(a.confidence, b.confidence)) return false;
  if (a.rows.size() != b.rows.size()) return false;
  for (std::size_t i = 0; i < a.rows.size(); ++i) {
    const LibraryRow& x = a.rows[i];
    const LibraryRow& y = b.rows[i];
    if (x.time_s != y.time_s || x.lower_s != y.lower_s || x.upper_s != y.upper_s) return false;
    // The library leaves mean and variance of observed rows as the vehicle before left them.
    if (i < a.first) continue;
    if (!same_bits(x.variance_s2, y.variance_s2) || !same_bits(x.mean_s, y.mean_s)) return false;
  }
  return true;
}

}  // namespace

std::optional<Explanation> repeat_forecast(const LiveTrip& trip, const PatternDesk& desk) {
  if (!trip.latest || trip.reports.empty()) return std::nullopt;
  const std::vector<double> bandwidth = {desk.settings().bandwidth};
  const bool arrivals = desk.mode() == ForecastMode::arrival;
  const std::string mode = arrivals ? "arrival" : "travel";
  Journey owner("KernelRegression", {}, bandwidth, mode, 0, "ring");
  BusRoute route(owner);
  const std::vector<double> places_m =
      arrivals ? desk.grid().places_m : arrival_places_m(desk.grid());
  route.read_milestones(desk.grid().milestones_m);
  route.read_bus_stops(places_m, std::vector<std::string>(places_m.size()));
  Forecast record;
  record.initialize(mode);
  record.initialize(route);
  WeightKeeper algorithm(&record, &route, {}, bandwidth);

  const auto& trajectories = desk.stored(trip.choice.category);
  Vehicle vehicle(trip.in_library.key);
  const VehicleJourneyRef& reference = *trip.in_library.journey;
  for (const LibraryReport& report : trip.reports) {
    const bool first = vehicle.size() == 0;
    try {
      vehicle.update_position(reference, report.offset_m, report.time_s, report.error_m);
    } catch (invalid_update&) {
      continue;
    }
    if (!first) continue;
    const History at_start = mirror(trajectories, trip.trips_at_start);
    vehicle.set_start_time(algorithm.compute_start_time(&vehicle, &at_start, 0));
  }
  const History at_last = mirror(trajectories, trip.trips_at_last);
  algorithm.compute_forecast(&vehicle, &at_last, 0);

  Explanation explanation;
  explanation.category = trip.choice.category;
  explanation.basis = trip.choice.basis;
  std::optional<LibraryForecast> answer;
  copy_record(record, answer);
  explanation.forecast = std::move(*answer);
  const std::vector<double> weights = algorithm.weights(vehicle, at_last);
  const std::vector<SourceTrip>& sources = desk.sources(trip.choice.category);
  for (std::size_t k = 0; k < weights.size() && k < sources.size(); ++k) {
    explanation.trips.push_back({sources[k].trip, weights[k], sources[k].lent});
  }
  std::stable_sort(explanation.trips.begin(), explanation.trips.end(),
                   [](const WeighedTrip& a, const WeighedTrip& b) { return a.weight > b.weight; });
  return explanation;
}

std::optional<Explanation> explain(const LiveTrip& trip, const PatternDesk& desk) {
  auto explanation = repeat_forecast(trip, desk);
  if (explanation && !same(explanation->forecast, *trip.latest)) {
    throw std::logic_error("the explanation of " + trip.in_library.name +
                           " differs from the library's forecast");
  }
  return explanation;
}

}  // namespace qiv
