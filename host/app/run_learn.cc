#include <algorithm>
#include <chrono>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>

#include "app/city.h"
#include "app/commands.h"
#include "app/exit_code.h"
#include "app/kept_results.h"
#include "app/progress_bar.h"
#include "history/settings_json.h"
#include "learn/learn.h"

namespace qiv {

void run_learn(const LearnArguments& arguments) {
  City city(arguments.city);
  const std::vector<ServiceDate> days = city.recorded_days();
  if (days.empty()) {
    throw CommandError(ExitCode::no_data,
                       arguments.city + ": no positions recorded; record some by: qiv record " +
                           arguments.city + " FILE...");
  }
  const ServiceDate until =
      arguments.until.empty() ? days.back() : parse_day(arguments.until, "--until");
  ProgressBar bar("learning");
  const RecordedRuns runs = city.follow(until, [&](double share, ServiceDate day) {
    bar.show(0.2 * share, "following " + day.to_iso_string());
  });
  KeptResults kept(city.archive(), city.state(until) + " until " + until.to_iso_string());
  LearnOptions options;
  options.validation.threads = arguments.threads;
  options.track = city.config().track;
  options.engine = city.config().engine;
  options.partial = kept.partial_results();
  options.on_progress = [&](double share, const std::string& what) {
    bar.show(0.2 + 0.8 * share, what);
  };
  const LearnedSettings settings = learn(
      city.network(), runs, until, [&](ServiceDate day) { return city.positions(day); }, options);
  SettingsRecord record;
  record.learned = city.network().clock().at(until + std::chrono::days(1), Seconds(0));
  record.last_day = until;
  record.settings = settings;
  city.archive().together([&] {
    city.archive().add_settings(record);
    city.archive().remove_partials();
  });
  bar.show(1.0);
  if (arguments.json) {
    std::cout << to_json(settings) << "\n";
    return;
  }
  std::map<std::string, std::size_t> kinds;
  for (const auto& [ref, chosen] : settings.patterns) {
    kinds["depth " + std::to_string(chosen.category_depth) + ", bandwidth " +
          std::to_string(static_cast<long long>(chosen.bandwidth)) + ", window " +
          std::to_string(chosen.window) + ", milestones " +
          std::to_string(static_cast<long long>(chosen.milestone_spacing_m)) + " m" +
          (chosen.delay_clock ? ", delay clock" : "")]++;
  }
  std::cout << "Learned from " << days.front().to_iso_string() << " to " << until.to_iso_string()
            << ":\n";
  for (const auto& [kind, count] : kinds)
    std::cout << "  " << count << " patterns: " << kind << "\n";
}

}  // namespace qiv
