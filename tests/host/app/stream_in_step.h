#pragma once

#include <deque>
#include <memory>
#include <span>
#include <vector>

#include "app/gateway_display.h"
#include "host/worker/stream_data.h"
#include "worker/partition_engine.h"

namespace qiv::testing {

/// The engines of four partitions and a gateway's display, whose messages go from one to the other
/// without a broker, and at once: what one process does in a second, they have done in that second.
class StreamInStep {
 public:
  StreamInStep(const StreamData& data, const LearnedSettings& settings);

  /// Takes the recorded positions that were received by `now`, and lets time pass until then.
  void pass(Instant now);

  GatewayDisplay& display() { return _display; }
  std::uint64_t messages() const { return _messages; }
  std::uint64_t bytes() const { return _bytes; }

 private:
  void take(std::span<const VehiclePosition> together);
  void advance(Instant now);
  void publish(std::vector<PartitionOutput>& output);
  void say(const StreamMessage& message);
  void learn();

  const StreamData& _data;
  LearnedSettings _settings;
  HistoryBook _book;
  std::deque<PartitionEngine> _partitions;
  GatewayDisplay _display;
  std::size_t _next = 0;
  std::vector<FinishedTrip> _finished;  ///< in this second
  std::uint64_t _messages = 0;
  std::uint64_t _bytes = 0;
};

}  // namespace qiv::testing
