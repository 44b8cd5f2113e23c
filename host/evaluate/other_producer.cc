#include "evaluate/other_producer.h"

#include <utility>

namespace qiv {

OtherProducer::OtherProducer(std::string name, const std::filesystem::path& recording,
                             Seconds longest_age)
    : _name(std::move(name)), _recording(recording.string()), _record(recording, longest_age) {}

const PredictedArrivals* OtherProducer::predict(const Network& network, const TripKey& trip,
                                                Instant now) {
  const TripUpdateBatch* const snapshot = _record.at(now);
  if (snapshot == nullptr) return nullptr;
  if (_taken != snapshot->time) take(*snapshot, network);
  const auto found = _arrivals.find(trip);
  return found == _arrivals.end() ? nullptr : &found->second;
}

void OtherProducer::take(const TripUpdateBatch& snapshot, const Network& network) {
  _taken = snapshot.time;
  _arrivals.clear();
  for (const TripUpdate& update : snapshot.updates) {
    const auto trip = trip_of(update, network, _not_used);
    if (!trip) continue;
    const auto [entry, is_new] = _arrivals.try_emplace(trip->key);
    if (!is_new) {
      _not_used.add("second update for a trip", [&] { return to_string(trip->key); });
      continue;
    }
    entry->second = predicted_arrivals(update, *trip, network, _not_used);
    ++_updates;
  }
}

RecordedSource OtherProducer::source() const {
  RecordedSource source;
  source.recording = _recording;
  source.snapshots = _record.size();
  source.snapshots_shown = _record.shown();
  source.updates = _updates;
  source.not_used = _record.rejections();
  source.not_used.merge(_not_used);
  return source;
}

}  // namespace qiv
