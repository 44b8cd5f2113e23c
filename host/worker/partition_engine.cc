#include "worker/partition_engine.h"

#include <algorithm>
#include <utility>

namespace qiv {

PartitionEngine::PartitionEngine(const Network& network, const LearnedSettings& settings,
                                 HistorySource history, const TrackOptions& track,
                                 const EngineOptions& engine)
    : _tracker(network, track), _shard(network, settings, std::move(history), engine) {}

void PartitionEngine::take(VehiclePosition position, std::vector<PartitionOutput>& output) {
  position.received = std::max(position.received, _now);
  advance(position.received, output);
  _tracker.update(position, _events);
  const bool says_something = !_events.empty();
  if (!pass_on(output) && says_something) forecast(position.vehicle, position.received, output);
}

void PartitionEngine::advance(Instant now, std::vector<PartitionOutput>& output) {
  if (now <= _now) return;
  _now = now;
  _tracker.advance(now, _events);
  pass_on(output);
}

/// Returns whether a forecast came of it.
bool PartitionEngine::pass_on(std::vector<PartitionOutput>& output) {
  bool told = false;
  for (TrackEvent& event : _events) {
    _shard.apply(event);
    if (const auto* const assigned = std::get_if<TripAssigned>(&event)) {
      _assignments[assigned->vehicle] = {assigned->received, assigned->confidence.has_value()};
    } else if (const auto* const progress = std::get_if<Progress>(&event)) {
      forecast(progress->vehicle, progress->received, output);
      told = true;
    } else if (auto* const ended = std::get_if<TripEnded>(&event)) {
      note(*ended, output);
    }
  }
  _events.clear();
  return told;
}

void PartitionEngine::note(TripEnded& ended, std::vector<PartitionOutput>& output) {
  TripRun& run = ended.run;
  _assignments.erase(run.vehicle);
  const bool finished = ended.reason == TripEnded::Reason::finished;
  output.emplace_back(LeftTrip{{AgencyId(), run.trip, run.vehicle}, ended.received, finished});
  if (run.progress.empty()) return;
  output.emplace_back(FinishedTrip{AgencyId(), std::move(run), ended.received});
}

void PartitionEngine::forecast(const VehicleId& vehicle, Instant now,
                               std::vector<PartitionOutput>& output) {
  auto shown = _shard.forecast(vehicle, now);
  if (!shown || shown->stops.empty()) return;
  const Assignment& assignment = _assignments[vehicle];
  output.emplace_back(
      VehicleForecast{AgencyId(), std::move(*shown), assignment.assigned, assignment.by_course});
}

}  // namespace qiv
