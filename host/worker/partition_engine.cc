#include "worker/partition_engine.h"

#include <algorithm>
#include <utility>

namespace qiv {
namespace {

/// What the stream no longer keeps must have been said again.
constexpr Seconds told_again = std::chrono::hours(1);

}  // namespace

PartitionEngine::PartitionEngine(const Network& network, const LearnedSettings& settings,
                                 HistorySource history, const TrackOptions& track,
                                 const EngineOptions& engine)
    : _tracker(network, track), _shard(network, settings, std::move(history), engine) {}

void PartitionEngine::take(VehiclePosition position, std::vector<PartitionOutput>& output) {
  position.received = std::max(position.received, _now);
  advance(position.received, output);
  _tracker.update(position, _events);
  tell(position.vehicle, output);
  const bool says_something = !_events.empty();
  if (!pass_on(output) && says_something) forecast(position.vehicle, position.received, output);
}

void PartitionEngine::advance(Instant now, std::vector<PartitionOutput>& output) {
  if (now <= _now) return;
  _now = now;
  _tracker.advance(now, _events);
  for (const TrackEvent& event : _events) tell(vehicle_of(event), output);
  pass_on(output);
  forget();
}

/// Says what is made of a vehicle, unless that has been said.
void PartitionEngine::tell(const VehicleId& vehicle, std::vector<PartitionOutput>& output) {
  auto said = _tracker.vehicle(vehicle);
  if (!said) return;
  VehicleState& told = _told[vehicle];
  const Tracker::VehicleReport& last = told.said;
  const bool is_same = last.status == said->status && last.since == said->since &&
                       last.trip == said->trip && last.confidence == said->confidence;
  if (is_same && _now - told.when < told_again) return;
  told = {AgencyId(), *std::move(said), _now};
  output.emplace_back(told);
}

/// Forgets what was told of the vehicles that the tracker has forgotten.
void PartitionEngine::forget() {
  if (_now - _forgot < told_again) return;
  _forgot = _now;
  std::erase_if(_told, [this](const auto& entry) { return !_tracker.vehicle(entry.first); });
}

std::map<VehicleId, TripKey> PartitionEngine::under_way() const {
  std::map<VehicleId, TripKey> trips;
  for (const auto& [vehicle, assignment] : _assignments) {
    if (const LiveTrip* const trip = _shard.live(vehicle)) trips[vehicle] = trip->schedule.key;
  }
  return trips;
}

/// Returns whether a forecast came of it.
bool PartitionEngine::pass_on(std::vector<PartitionOutput>& output) {
  bool told = false;
  for (TrackEvent& event : _events) {
    _shard.apply(event);
    if (const auto* const assigned = std::get_if<TripAssigned>(&event)) {
      _assignments[assigned->vehicle] = {assigned->received, assigned->confidence.has_value(), 0};
    } else if (const auto* const progress = std::get_if<Progress>(&event)) {
      forecast(progress->vehicle, progress->received, output);
      told = true;
    } else if (const auto* const corrected = std::get_if<Corrected>(&event)) {
      _assignments[corrected->vehicle].told = 0;
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
  if (!shown || (shown->stops.empty() && shown->legs.empty())) return;
  Assignment& assignment = _assignments[vehicle];
  auto followed = _shard.told_of(vehicle, assignment.told);
  assignment.told = followed->from + followed->progress.size();
  output.emplace_back(VehicleForecast{AgencyId(), std::move(*shown), assignment.assigned,
                                      assignment.by_course, std::move(followed)});
}

}  // namespace qiv
