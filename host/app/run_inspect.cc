#include <iomanip>
#include <iostream>
#include <nlohmann/json.hpp>

#include "app/city.h"
#include "app/commands.h"

namespace qiv {

void run_inspect(const InspectArguments& arguments) {
  City city(arguments.city);
  const Network& network = city.network();
  const ArchiveSummary summary = city.archive().summary();
  const LearnedSettings settings = city.settings();
  std::map<PatternRef, std::size_t> runs;
  city.archive().read_runs({}, [&](ArchivedRun&& run) { ++runs[run.run.pattern]; });
  const auto learned = city.learned_until();
  if (arguments.json) {
    nlohmann::ordered_json result = {{"city", city.config().name},
                                     {"positions", summary.positions},
                                     {"runs", summary.runs},
                                     {"learned_until", learned ? learned->to_iso_string() : ""}};
    for (const JourneyPattern& pattern : network.patterns()) {
      const PatternSettings& chosen = settings.of(pattern.ref);
      result["patterns"].push_back({{"ref", pattern.ref.text()},
                                    {"stops", pattern.stops.size()},
                                    {"length_m", pattern.length_m()},
                                    {"runs", runs[pattern.ref]},
                                    {"bandwidth", chosen.bandwidth},
                                    {"category_depth", chosen.category_depth},
                                    {"window", chosen.window},
                                    {"milestone_spacing_m", chosen.milestone_spacing_m},
                                    {"delay_clock", chosen.delay_clock}});
    }
    std::cout << result.dump(2) << "\n";
    return;
  }
  std::cout << city.config().name << ": " << summary.positions << " positions, " << summary.runs
            << " followed trips";
  if (summary.first_day && summary.last_day) {
    std::cout << " (" << summary.first_day->to_iso_string() << " to "
              << summary.last_day->to_iso_string() << ")";
  }
  std::cout << ", learned until " << (learned ? learned->to_iso_string() : "never") << "\n\n"
            << std::left << std::setw(58) << "pattern" << std::right << std::setw(6) << "stops"
            << std::setw(9) << "km" << std::setw(7) << "runs" << std::setw(7) << "depth"
            << std::setw(11) << "bandwidth\n";
  for (const JourneyPattern& pattern : network.patterns()) {
    const PatternSettings& chosen = settings.of(pattern.ref);
    std::cout << std::left << std::setw(58) << pattern.ref.text() << std::right << std::setw(6)
              << pattern.stops.size() << std::setw(9) << std::fixed << std::setprecision(1)
              << pattern.length_m() / 1000.0 << std::setw(7) << runs[pattern.ref] << std::setw(7)
              << chosen.category_depth << std::setw(10) << std::setprecision(0) << chosen.bandwidth
              << (chosen.delay_clock ? " delay clock" : "") << "\n";
  }
}

}  // namespace qiv
