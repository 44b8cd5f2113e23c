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
  _arrivals = arrivals_of(snapshot.updates, network, _not_used);
  _updates += _arrivals.size();
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
