#include <iomanip>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>

#include "app/city.h"
#include "app/commands.h"
#include "history/category.h"

namespace qiv {
namespace {

/// What is there of one pattern.
struct PatternState {
  const JourneyPattern* pattern = nullptr;
  PatternSettings chosen;
  std::size_t scheduled = 0;   ///< trips of the timetable on recorded days
  std::size_t runs = 0;        ///< of these, followed
  std::size_t categories = 0;  ///< finest ones that a trip of the timetable falls into
  std::size_t filled = 0;      ///< of these, with enough trips to forecast from

  double coverage() const {
    return scheduled == 0 ? 0.0 : static_cast<double>(runs) / static_cast<double>(scheduled);
  }
};

std::vector<PatternState> look_at(City& city, const LearnedSettings& settings) {
  const Network& network = city.network();
  std::vector<PatternState> states(network.patterns().size());
  std::vector<std::map<Category, std::size_t>> trips(states.size());
  for (PatternIndex i = 0; i < states.size(); ++i) {
    states[i].pattern = &network.pattern(i);
    states[i].chosen = settings.of(network.pattern(i).ref);
  }
  const auto finest = [&](PatternIndex pattern, ServiceDate day, Seconds departure) {
    return categories(day, departure, states[pattern].chosen.category_depth).front();
  };
  for (const ServiceDate day : city.recorded_days()) {
    for (const TripIndex index : network.trips_on(day)) {
      const TripPlan& trip = network.trip(index);
      ++states[trip.pattern].scheduled;
      trips[trip.pattern].try_emplace(finest(trip.pattern, day, trip.departure()));
    }
  }
  city.archive().read_runs({}, [&](ArchivedRun&& archived) {
    const auto pattern = network.find_pattern(archived.run.pattern);
    if (!pattern) return;
    ++states[*pattern].runs;
    const TripKey& key = archived.run.trip;
    if (const TripPlan* const trip = network.find_trip(key.trip, key.start)) {
      ++trips[*pattern][finest(*pattern, key.day, trip->departure())];
    }
  });
  for (PatternIndex i = 0; i < states.size(); ++i) {
    states[i].categories = trips[i].size();
    for (const auto& [category, count] : trips[i]) {
      if (count >= states[i].chosen.least_trips) ++states[i].filled;
    }
  }
  return states;
}

nlohmann::ordered_json to_json(const PatternState& state) {
  return {{"ref", state.pattern->ref.text()},
          {"stops", state.pattern->stops.size()},
          {"length_m", state.pattern->length_m()},
          {"scheduled", state.scheduled},
          {"runs", state.runs},
          {"coverage", state.coverage()},
          {"categories", state.categories},
          {"categories_filled", state.filled},
          {"bandwidth", state.chosen.bandwidth},
          {"category_depth", state.chosen.category_depth},
          {"window", state.chosen.window},
          {"milestone_spacing_m", state.chosen.milestone_spacing_m},
          {"delay_clock", state.chosen.delay_clock}};
}

void print(const std::vector<PatternState>& states) {
  std::cout << std::left << std::setw(46) << "pattern" << std::right << std::setw(6) << "stops"
            << std::setw(7) << "km" << std::setw(7) << "trips" << std::setw(9) << "followed"
            << std::setw(12) << "categories" << std::setw(7) << "depth" << std::setw(10)
            << "bandwidth" << std::setw(8) << "window" << std::setw(12) << "milestones\n"
            << std::fixed;
  for (const PatternState& state : states) {
    const std::string filled =
        std::to_string(state.filled) + " of " + std::to_string(state.categories);
    std::cout << std::left << std::setw(46) << state.pattern->ref.text().substr(0, 45) << std::right
              << std::setw(6) << state.pattern->stops.size() << std::setw(7) << std::setprecision(1)
              << state.pattern->length_m() / 1000.0 << std::setw(7) << state.scheduled
              << std::setw(8) << std::setprecision(0) << 100.0 * state.coverage() << "%"
              << std::setw(12) << filled << std::setw(7) << state.chosen.category_depth
              << std::setw(10) << state.chosen.bandwidth << std::setw(8) << state.chosen.window
              << std::setw(9) << state.chosen.milestone_spacing_m << " m"
              << (state.chosen.delay_clock ? ", delay clock" : "") << "\n";
  }
  std::cout << "\ntrips: scheduled on recorded days. categories: those with enough trips to\n"
               "forecast from, of those that the timetable has trips in.\n";
}

}  // namespace

void run_inspect(const InspectArguments& arguments) {
  City city(arguments.city);
  const ArchiveSummary summary = city.archive().summary();
  const std::vector<PatternState> states = look_at(city, city.settings());
  const auto learned = city.learned_until();
  if (arguments.json) {
    nlohmann::ordered_json result = {{"city", city.config().name},
                                     {"positions", summary.positions},
                                     {"runs", summary.runs},
                                     {"learned_until", learned ? learned->to_iso_string() : ""}};
    for (const PatternState& state : states) result["patterns"].push_back(to_json(state));
    std::cout << result.dump(2) << "\n";
    return;
  }
  std::cout << city.config().name << ": " << summary.positions << " positions, " << summary.runs
            << " followed trips";
  if (summary.first_day && summary.last_day) {
    std::cout << " (" << summary.first_day->to_iso_string() << " to "
              << summary.last_day->to_iso_string() << ")";
  }
  std::cout << ", learned until " << (learned ? learned->to_iso_string() : "never") << "\n\n";
  print(states);
}

}  // namespace qiv
