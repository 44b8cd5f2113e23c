#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "worker/kafka/producer.h"
#include "worker/position_codec.h"

namespace qiv {

/// Writes positions into their topic, in order of receipt, and a watermark into every partition as
/// often as `interval` of the positions' own clock passes. One thread.
class PositionWriter {
 public:
  /// `producer` must outlive the writer.
  PositionWriter(kafka::Producer& producer, std::string topic, AgencyId agency, Seconds interval)
      : _producer(producer),
        _topic(std::move(topic)),
        _agency(std::move(agency)),
        _interval(interval) {}

  /// One that claims to have been received before the time that has passed was received then.
  /// Throws `kafka::Error`.
  void write(VehiclePosition position);

  /// Lets time pass until `now`.
  void pass(Instant now);

  std::uint64_t positions() const { return _positions; }
  std::uint64_t watermarks() const { return _watermarks; }

 private:
  kafka::Producer& _producer;
  std::string _topic;
  AgencyId _agency;
  Seconds _interval;
  Instant _now{};
  Instant _marked{};
  std::uint64_t _positions = 0;
  std::uint64_t _watermarks = 0;
};

}  // namespace qiv
