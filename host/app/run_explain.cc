#include <algorithm>
#include <iomanip>
#include <iostream>

#include "app/city.h"
#include "app/commands.h"
#include "app/exit_code.h"
#include "engine/explain.h"
#include "engine/tracked_engine.h"
#include "history/category.h"

namespace qiv {
namespace {

constexpr std::size_t trips_listed = 10;

struct Moment {
  ServiceDate day;
  Seconds time{0};
};

Moment parse_moment(const std::string& text) {
  const auto day = ServiceDate::parse(text.substr(0, 10));
  const auto time = text.size() > 11 ? parse_time_of_day(text.substr(11)) : std::nullopt;
  if (!day || !time) {
    throw CommandError(ExitCode::usage, "--at: '" + text + "': write YYYY-MM-DDTHH:MM:SS");
  }
  return {*day, *time};
}

class Printer {
 public:
  explicit Printer(const Network& network) : _network(network) {}

  void forecast(const TripForecast& forecast) const {
    std::cout << to_string(forecast.trip) << ": " << to_string(forecast.state) << ", vehicle "
              << (forecast.vehicle.empty() ? "not known" : forecast.vehicle.text())
              << ", last report " << local(forecast.position_time) << " at "
              << std::llround(forecast.offset_m) << " m\n\n"
              << std::left << std::setw(28) << "stop" << std::setw(11) << "arrival" << std::setw(21)
              << "68 % of arrivals"
              << "90 % of arrivals\n";
    for (const StopForecast& stop : forecast.stops) {
      const BoundedTime& arrival = stop.arrival;
      std::cout << std::setw(28) << _network.stops()[stop.stop].name.substr(0, 27) << std::setw(11)
                << local(arrival.time);
      if (stop.observed) {
        std::cout << "observed\n";
      } else {
        std::cout << local(arrival.lower_68) << "-" << std::setw(12) << local(arrival.upper_68)
                  << local(arrival.lower_90) << "-" << local(arrival.upper_90) << "\n";
      }
    }
  }

  void explanation(const Explanation& explanation) const {
    if (explanation.basis == ForecastBasis::timetable) {
      std::cout << "\nNo earlier trips: the timetable itself served as history.\n";
      return;
    }
    std::cout << "\nFrom " << explanation.trips.size() << " earlier trips, "
              << describe(explanation.category) << ". The heaviest:\n";
    for (std::size_t i = 0; i < std::min(trips_listed, explanation.trips.size()); ++i) {
      std::cout << "  " << std::fixed << std::setprecision(1) << std::right << std::setw(5)
                << 100.0 * explanation.trips[i].weight << " %  " << std::left
                << to_string(explanation.trips[i].trip)
                << (explanation.trips[i].lent ? ", lent by a relative\n" : "\n");
    }
  }

 private:
  std::string local(Instant instant) const {
    return format_time_of_day(_network.clock().local_time(instant));
  }

  const Network& _network;
};

/// Why there is nothing to explain.
std::string reason(const Network& network, const TripKey& key, Instant now,
                   const EngineOptions& options) {
  const auto trip = network.schedule(key);
  if (!trip) return "the timetable has no trip of this name";
  if (!network.runs_on(*trip->plan, key.day)) return "the trip does not run on this day";
  if (now < trip->first_departure() - options.announce) {
    return "the trip is announced only " + std::to_string(options.announce.count() / 60) +
           " minutes before its departure";
  }
  return "the trip has ended, or no vehicle has begun it";
}

}  // namespace

void run_explain(const ExplainArguments& arguments) {
  City city(arguments.city);
  const Moment moment = parse_moment(arguments.at);
  const Instant at = city.network().clock().at(moment.day, moment.time);
  const TripKey key{TripId(arguments.trip), moment.day, Seconds(0)};
  std::vector<VehiclePosition> positions = city.positions(moment.day);
  std::erase_if(positions, [&](const VehiclePosition& p) { return p.received > at; });
  const RecordedRuns runs =
      city.follow(moment.day - std::chrono::days(1), [](double, ServiceDate) {});
  const LearnedSettings settings = city.settings();
  TrackedEngine tracked(city.network(), settings, runs.source_before(moment.day),
                        city.config().track, city.config().engine);
  for_each_second(positions,
                  [&](std::span<const VehiclePosition> together) { tracked.take(together); });
  Engine& engine = tracked.engine();
  const auto shown = engine.forecast(key, at);
  if (!shown || shown->stops.empty()) {
    throw CommandError(ExitCode::no_data,
                       "no forecast for " + to_string(key) + ": " +
                           reason(city.network(), key, at, city.config().engine));
  }
  const Printer printer(city.network());
  printer.forecast(*shown);
  if (const auto explanation = engine.explain_trip(key)) printer.explanation(*explanation);
}

}  // namespace qiv
