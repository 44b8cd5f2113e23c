#include "app/nightly.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "app/city.h"
#include "evaluate/evaluation.h"
#include "learn/learn.h"

namespace qiv {
namespace {

/// The days on which old and new settings are compared; neither has learned from them.
constexpr std::size_t days_compared = 2;
/// Fewer days than this are not worth learning from.
constexpr std::size_t least_days = 4;

std::string in_seconds(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f s", seconds);
  return text;
}

/// The mean error on display over `days`, each forecast from the days before it.
double score(City& city, const RecordedRuns& runs, const LearnedSettings& settings,
             const std::vector<ServiceDate>& days) {
  EvaluationOptions options;
  options.replay.track = city.config().track;
  options.replay.engine = city.config().engine;
  Evaluation evaluation(city.network(), settings, options);
  for (const ServiceDate day : days) {
    evaluation.add_day(day, city.positions(day), runs.source_before(day));
  }
  return evaluation.scorecard().on_display.front().mean_mae_s;
}

}  // namespace

Nightly::Nightly(std::filesystem::path folder, const ServeConfig& config, ServiceClock city_clock,
                 TakeSettings take_settings, Clock clock, const Log& log)
    : _folder(std::move(folder)),
      _config(config),
      _city_clock(std::move(city_clock)),
      _take_settings(std::move(take_settings)),
      _clock(std::move(clock)),
      _log(log) {}

void Nightly::run(std::stop_token stop) {
  ServiceDate last = _city_clock.local_day(_clock());
  if (_city_clock.local_time(_clock()) < _config.learn_at) last = last - std::chrono::days(1);
  while (!stop.stop_requested()) {
    bool soon = false;
    {
      std::unique_lock lock(_mutex);
      _wake.wait_for(lock, stop, std::chrono::seconds(20), [&] { return _soon; });
      soon = std::exchange(_soon, false);
    }
    const Instant now = _clock();
    const ServiceDate today = _city_clock.local_day(now);
    const bool due = today > last && _city_clock.local_time(now) >= _config.learn_at;
    if (stop.stop_requested() || !(soon || due)) continue;
    last = today;
    try {
      forget(now);
      if (soon || _config.learns) _log.write(LogLevel::warning, learn_again(now));
    } catch (const std::exception& error) {
      _log.write(LogLevel::error, std::string("the night's learning failed: ") + error.what());
    }
  }
}

void Nightly::begin_soon() {
  {
    const std::lock_guard lock(_mutex);
    _soon = true;
  }
  _wake.notify_all();
}

std::string Nightly::learn_again(Instant now) {
  City city(_folder);
  std::vector<ServiceDate> days = city.recorded_days();
  const ServiceDate today = _city_clock.local_day(now);
  std::erase_if(days, [&](ServiceDate day) { return day >= today; });
  if (days.size() < least_days) {
    return "nothing learned: " + std::to_string(days.size()) + " whole days are recorded, " +
           std::to_string(least_days) + " are needed";
  }
  const RecordedRuns runs = city.follow(days.back(), [](double, ServiceDate) {});
  const std::vector<ServiceDate> compared(days.end() - days_compared, days.end());
  const ServiceDate until = days[days.size() - days_compared - 1];
  LearnOptions options;
  options.validation.threads = 1;
  options.track = city.config().track;
  options.engine = city.config().engine;
  const LearnedSettings fresh = learn(
      city.network(), runs, until, [&](ServiceDate day) { return city.positions(day); }, options);
  const double fresh_s = score(city, runs, fresh, compared);
  const double present_s = score(city, runs, city.settings(), compared);
  const std::string scores = "on the last " + std::to_string(days_compared) +
                             " days the new settings score " + in_seconds(fresh_s) +
                             ", the present ones " + in_seconds(present_s);
  if (!(fresh_s < present_s)) return "present settings kept: " + scores;
  city.archive().add_settings({now, until, fresh});
  _take_settings(fresh);
  return "new settings taken: " + scores;
}

void Nightly::forget(Instant now) {
  Archive archive(_folder / "archive.sqlite");
  const auto days_ago = [&](int days) { return now - std::chrono::hours(24) * days; };
  const ArchiveSummary summary = archive.summary();
  const Instant oldest = days_ago(_config.keep_positions_days);
  // Hour by hour, so that the service never waits long for its turn.
  for (Instant begin = summary.first_received.value_or(oldest); begin < oldest;
       begin += std::chrono::hours(1)) {
    archive.remove_positions(begin, std::min(begin + std::chrono::hours(1), oldest));
  }
  if (summary.first_day) {
    const ServiceDate last = _city_clock.local_day(days_ago(_config.keep_trips_days));
    if (*summary.first_day <= last) archive.remove_runs(*summary.first_day, last);
  }
  archive.remove_settings(30);
}

}  // namespace qiv
