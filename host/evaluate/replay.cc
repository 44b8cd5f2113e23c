#include "evaluate/replay.h"

#include <utility>

namespace qiv {

Replay::Replay(const Network& network, const LearnedSettings& settings, HistorySource history,
               const ReplayOptions& options)
    : _display_interval(options.display_interval),
      _tracked(network, settings, std::move(history), options.track, options.engine) {}

void Replay::run(std::span<const VehiclePosition> positions, const ReplayObserver& observer) {
  if (positions.empty()) return;
  _tracked.observe({{}, observer.on_report, [&](const TripRun& run, Instant) {
                      if (observer.on_finished) observer.on_finished(run);
                    }});
  Instant tick = positions.front().received;
  for (const VehiclePosition& position : positions) {
    for (; tick < position.received; tick += _display_interval) {
      _tracked.advance(tick);
      if (observer.on_display) observer.on_display(tick, engine().forecasts(tick));
    }
    _tracked.take(position);
  }
  _tracked.finish(positions.back().received);
  _tracked.observe({});
}

}  // namespace qiv
