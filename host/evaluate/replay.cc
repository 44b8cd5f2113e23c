#include "evaluate/replay.h"

#include <utility>
#include <variant>

namespace qiv {

Replay::Replay(const Network& network, const LearnedSettings& settings, HistorySource history,
               ReplayOptions options)
    : _options(options),
      _tracker(network, options.track),
      _engine(network, settings, std::move(history), options.engine) {}

void Replay::run(std::span<const VehiclePosition> positions, const ReplayObserver& observer) {
  if (positions.empty()) return;
  Instant tick = positions.front().received;
  for (const VehiclePosition& position : positions) {
    for (; tick < position.received; tick += _options.display_interval) {
      _events.clear();
      _tracker.advance(tick, _events);
      take(_events, observer);
      take_finished(tick, observer);
      if (observer.on_display) observer.on_display(tick, _engine.forecasts(tick));
    }
    _events.clear();
    _tracker.update(position, _events);
    take(_events, observer);
    take_finished(position.received, observer);
  }
  _events.clear();
  _tracker.finish(_events);
  take(_events, observer);
  take_finished(positions.back().received, observer);
}

void Replay::take(const std::vector<TrackEvent>& events, const ReplayObserver& observer) {
  for (const TrackEvent& event : events) {
    _engine.apply(event);
    const auto* const progress = std::get_if<Progress>(&event);
    if (progress == nullptr || !observer.on_report) continue;
    if (const auto shown = _engine.forecast(progress->trip, progress->received)) {
      observer.on_report(*progress, *shown);
    }
  }
}

void Replay::take_finished(Instant now, const ReplayObserver& observer) {
  for (const TripRun& run : _engine.take_finished()) {
    if (observer.on_finished) observer.on_finished(run);
    _engine.learn_from(run, now);
  }
}

}  // namespace qiv
