#include "worker/position_writer.h"

#include <algorithm>

namespace qiv {

void PositionWriter::write(VehiclePosition position) {
  pass(position.received);
  position.received = _now;
  const StreamMessage message = encode_position(_agency, position);
  _producer.send(_topic, message.key, message);
  ++_positions;
}

void PositionWriter::pass(Instant now) {
  _now = std::max(_now, now);
  const Instant due = _now - _now.time_since_epoch() % _interval;
  if (due <= _marked) return;
  _marked = due;
  const std::int32_t partitions = _producer.partitions_of(_topic);
  for (std::int32_t partition = 0; partition < partitions; ++partition) {
    _producer.send(_topic, partition, encode_watermark({due}));
    ++_watermarks;
  }
}

}  // namespace qiv
