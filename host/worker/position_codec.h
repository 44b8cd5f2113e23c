#pragma once

#include <variant>

#include "model/vehicle_position.h"
#include "worker/stream_key.h"
#include "worker/stream_message.h"

namespace qiv {

/// Stands in every partition of the positions: whatever was received until `now` lies before it. So
/// time passes in a partition whose vehicles are silent.
struct Watermark {
  Instant now{};

  friend bool operator==(const Watermark&, const Watermark&) = default;
};

/// A message of the positions' topic: a GTFS-realtime VehiclePosition with all that the model holds
/// beside it.
StreamMessage encode_position(const AgencyId& agency, const VehiclePosition& position);

/// A message for one partition of the positions' topic.
StreamMessage encode_watermark(const Watermark& watermark);

/// Reads both. A position that another program wrote, with the standard's fields only, was received
/// at the message's timestamp. Undecodable: bytes that are no such message, a later format, no
/// vehicle, a time before 1970 or beyond 2200, a place that is not on the globe.
Decoded<std::variant<VehiclePosition, Watermark>> decode_position(const StreamMessage& message);

}  // namespace qiv
