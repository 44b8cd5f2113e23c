#pragma once

#include "model/trip_run.h"
#include "worker/stream_key.h"
#include "worker/stream_message.h"

namespace qiv {

/// A trip that was followed to its end, for the histories.
struct FinishedTrip {
  AgencyId agency;
  TripRun run;         ///< with progress
  Instant finished{};  ///< by the clock of receipt
};

/// Its key. Precondition: it has progress.
FinishedKey key_of(const FinishedTrip& trip);

/// A message of the finished trips' topic.
StreamMessage encode_finished(const FinishedTrip& trip);

/// Reads it. The progress comes back exactly, but for `pattern` of each, which is an index into
/// the network of whoever wrote it: it is 0. Undecodable: another key, bytes that are no such trip,
/// times beyond 2200, places that are no numbers, a later format.
Decoded<FinishedTrip> decode_finished(const StreamMessage& message);

}  // namespace qiv
