#include "evaluate/replay.h"

#include <utility>

namespace qiv {

Replay::Replay(const Network& network, const LearnedSettings& settings, HistorySource history,
               const ReplayOptions& options)
    : _display_interval(options.display_interval),
      _tracked(network, settings, std::move(history), options.track, options.engine) {}

void Replay::run(std::span<const VehiclePosition> positions, const ReplayObserver& observer) {
  if (positions.empty()) return;
  TrackedEngineObserver told;
  if (observer.on_report) {
    told.on_report = [&](const Progress& progress, const TripForecast& shown) {
      if (engine().leads(progress.vehicle, progress.trip)) observer.on_report(progress, shown);
    };
  }
  if (observer.on_finished) {
    told.on_finished = [&](const TripRun& run, Instant) { observer.on_finished(run); };
  }
  _tracked.observe(std::move(told));
  Instant tick = positions.front().received;
  for_each_second(positions, [&](std::span<const VehiclePosition> together) {
    for (; tick < together.front().received; tick += _display_interval) {
      _tracked.advance(tick);
      if (observer.on_display) observer.on_display(tick, engine().forecasts(tick));
    }
    _tracked.take(together);
  });
  _tracked.finish(positions.back().received);
  _tracked.observe({});
}

}  // namespace qiv
