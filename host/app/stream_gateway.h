#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "app/stream_worker.h"
#include "serve/snapshot.h"
#include "worker/forecast_board.h"
#include "worker/kafka/log_reader.h"

namespace qiv {

/// Makes snapshots from the stream: its forecasts, the trips that no vehicle has begun, and its
/// vehicles. One thread.
class StreamGateway {
 public:
  /// Throws `kafka::Error`.
  explicit StreamGateway(const StreamCity& city);
  ~StreamGateway();

  /// Takes what has come, waiting for at most `patience`.
  void take(std::chrono::milliseconds patience);

  /// What is on display at `now`; null until timetable and forecasts have been read to their end.
  std::shared_ptr<Snapshot> show(Instant now);

  /// The newest moment that a forecast was made at.
  Instant newest() const;

 private:
  struct Shown;

  void take(const kafka::Received& message);
  void take_position(const StreamMessage& message);
  void begin();
  void begin_anew();
  std::vector<VehicleView> vehicle_views(Instant now);
  void add_trip(const VehicleForecast& of_vehicle, VehicleView& view) const;
  SourceView source(Instant now) const;

  const StreamCity& _city;
  Reference _reference;
  HistoryBook _book;
  std::vector<StreamMessage> _early;  ///< forecasts that came before the timetable
  bool _reference_changed = false;
  std::unique_ptr<Shown> _shown;
  std::map<VehicleId, VehiclePosition> _seen;
  Rejections _unused;
  std::uint64_t _serial = 0;
  std::uint64_t _positions = 0;
  kafka::LogReader _log;
};

}  // namespace qiv
