#include "worker/finished_codec.h"

#include <algorithm>
#include <cmath>

#include "history/run_codec.h"
#include "qiv-stream.pb.h"

namespace qiv {

namespace {

bool is_usable(const Progress& place) {
  return is_stream_time(place.time) && is_stream_time(place.received) &&
         std::isfinite(place.offset_m) && std::isfinite(place.error_m);
}

}  // namespace

FinishedKey key_of(const FinishedTrip& trip) {
  return {{trip.agency, trip.run.trip, trip.run.vehicle},
          trip.run.pattern,
          trip.run.progress.front().received};
}

StreamMessage encode_finished(const FinishedTrip& trip) {
  stream::FinishedTrip wire;
  wire.set_finished(unix_seconds(trip.finished));
  wire.set_progress(encode_progress(trip.run.progress));
  return make_message(finished_key(key_of(trip)), wire.SerializeAsString(), trip.finished);
}

Decoded<FinishedTrip> decode_finished(const StreamMessage& message) {
  if (auto foreign = foreign_format(message)) return *std::move(foreign);
  auto key = parse_finished_key(message.key);
  if (!key) return Undecodable{"the key is no finished trip's"};
  stream::FinishedTrip wire;
  if (!message.value || !wire.ParseFromString(*message.value)) {
    return Undecodable{"the bytes are no finished trip"};
  }
  FinishedTrip trip;
  trip.agency = std::move(key->trip.agency);
  trip.finished = from_unix_seconds(wire.finished());
  if (!is_stream_time(trip.finished)) return Undecodable{"its end is not between 1970 and 2200"};
  auto progress = decode_progress(wire.progress(), key->trip.vehicle, key->trip.trip);
  if (!progress || progress->empty()) return Undecodable{"its progress cannot be read"};
  if (!std::all_of(progress->begin(), progress->end(), is_usable)) {
    return Undecodable{"its progress has times that are not between 1970 and 2200, or no places"};
  }
  trip.run = {std::move(key->trip.vehicle), std::move(key->trip.trip), std::move(key->pattern),
              std::move(*progress)};
  return trip;
}

}  // namespace qiv
