// Reads a GTFS-realtime message, once for its vehicle positions and once for its trip updates.

#include <cstdint>
#include <string_view>

#include "feed/gtfs_realtime.h"
#include "position_check.h"

namespace {

void check_time(const qiv::PredictedTime& predicted) {
  constexpr qiv::Seconds day{24 * 3600};
  fuzz::check(!predicted.time || qiv::is_plausible_time(*predicted.time), "predicted time");
  fuzz::check(!predicted.delay || (*predicted.delay >= -day && *predicted.delay <= day), "delay");
  fuzz::check(!predicted.uncertainty || *predicted.uncertainty >= qiv::Seconds(0), "uncertainty");
}

void check_trip_updates(std::string_view bytes) {
  const qiv::TripUpdateBatch batch = qiv::read_trip_updates(bytes);
  fuzz::check(batch.read == batch.updates.size() + batch.rejections.total(),
              "what is read is used or rejected");
  std::size_t calls = 0;
  for (const qiv::TripUpdate& update : batch.updates) {
    fuzz::check(!update.trip.empty(), "an update has a trip");
    fuzz::check(qiv::is_plausible_time(update.time), "the time is plausible");
    calls += update.calls.size();
    for (const qiv::PredictedCall& call : update.calls) {
      fuzz::check(call.stop_sequence || !call.stop.empty(), "a call names its stop");
      check_time(call.arrival);
      check_time(call.departure);
    }
  }
  fuzz::check(calls + batch.read <= bytes.size() + 1, "there are no more calls than bytes");
  fuzz::check(qiv::read_trip_updates(bytes).updates.size() == batch.updates.size(),
              "reading twice gives as many");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  fuzz::check_batch(qiv::read_vehicle_positions(bytes), qiv::read_vehicle_positions(bytes), size);
  check_trip_updates(bytes);
  return 0;
}
