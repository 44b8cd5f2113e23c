#include <fstream>
#include <iostream>
#include <memory>

#include "app/city.h"
#include "app/commands.h"
#include "app/exit_code.h"
#include "evaluate/replay.h"
#include "history/category.h"
#include "publish/json_lines.h"
#include "publish/trip_updates.h"

namespace qiv {
namespace {

std::string describe_category(const TripForecast& forecast) {
  if (forecast.basis == ForecastBasis::timetable) return "timetable";
  return describe(static_cast<Category>(forecast.category));
}

}  // namespace

void run_replay(const ReplayArguments& arguments) {
  City city(arguments.city);
  const ServiceDate day = parse_day(arguments.day, "--day");
  const std::vector<VehiclePosition> positions = city.positions(day);
  if (positions.empty()) {
    throw CommandError(ExitCode::no_data, "no positions recorded on " + day.to_iso_string());
  }
  std::optional<Instant> wanted;
  if (!arguments.at.empty()) {
    const auto time = parse_time_of_day(arguments.at);
    if (!time) throw CommandError(ExitCode::usage, "--at: write HH:MM:SS");
    wanted = city.network().clock().at(day, *time);
  }
  const bool travel = arguments.mode == "travel";
  if (travel && arguments.format != "json") {
    throw CommandError(ExitCode::usage,
                       "TripUpdates (--format pb, text) hold arrivals, not travel times: "
                       "--mode travel needs --format json");
  }
  if (arguments.format != "json" && !wanted) {
    throw CommandError(ExitCode::usage, "one message holds one moment: give --at HH:MM:SS");
  }
  const RecordedRuns runs = city.follow(day - std::chrono::days(1), [](double, ServiceDate) {});
  const LearnedSettings settings = city.settings();
  ReplayOptions options;
  options.track = city.config().track;
  options.engine = city.config().engine;
  options.engine.mode = travel ? ForecastMode::travel : ForecastMode::arrival;
  Replay replay(city.network(), settings, runs.source_before(day), options);
  std::ofstream file;
  if (!arguments.out.empty()) file.open(arguments.out, std::ios::binary);
  std::ostream& out = arguments.out.empty() ? std::cout : file;
  bool done = false;
  ReplayObserver observer;
  observer.on_display = [&](Instant now, const std::vector<TripForecast>& shown) {
    if (done || (wanted && now < *wanted)) return;
    done = wanted.has_value();
    if (arguments.format == "json") {
      out << json_lines(shown, city.network(), describe_category).text;
    } else {
      const TripUpdateFeed feed = trip_updates(shown, city.network(), now);
      out << (arguments.format == "pb" ? to_bytes(feed.message) : to_text(feed.message));
    }
  };
  replay.run(positions, observer);
  out.flush();
  if (!out) throw CommandError(ExitCode::failed, arguments.out + ": cannot be written");
}

}  // namespace qiv
