#include "engine/tracked_engine.h"

#include <utility>
#include <variant>

namespace qiv {

TrackedEngine::TrackedEngine(const Network& network, const LearnedSettings& settings,
                             HistorySource history, const TrackOptions& track,
                             const EngineOptions& engine)
    : _tracker(network, track), _engine(network, settings, std::move(history), engine) {}

void TrackedEngine::observe(TrackedEngineObserver observer) {
  _observer = std::move(observer);
}

void TrackedEngine::take(const VehiclePosition& position) {
  _tracker.update(position, _events);
  pass_on(position.received);
}

void TrackedEngine::advance(Instant now) {
  _tracker.advance(now, _events);
  pass_on(now);
}

void TrackedEngine::release(const VehicleId& vehicle, Instant now) {
  _tracker.release(vehicle, now, _events);
  pass_on(now);
}

void TrackedEngine::finish(Instant now) {
  _tracker.finish(_events);
  pass_on(now);
}

void TrackedEngine::pass_on(Instant now) {
  for (const TrackEvent& event : _events) {
    if (_observer.on_event) _observer.on_event(event);
    _engine.apply(event);
    const auto* const progress = std::get_if<Progress>(&event);
    if (progress == nullptr || !_observer.on_report) continue;
    if (const auto shown = _engine.forecast(progress->trip, progress->received)) {
      _observer.on_report(*progress, *shown);
    }
  }
  _events.clear();
  for (const TripRun& run : _engine.take_finished()) {
    if (_observer.on_finished) _observer.on_finished(run, now);
    if (_engine.learn_from(run, now)) ++_learned;
  }
}

}  // namespace qiv
