#include <string>
#include <utility>

#include "feed/entity_reader.h"
#include "feed/gtfs_realtime.h"
#include "feed/position_collector.h"

namespace qiv {
namespace {

using Event = transit_realtime::TripUpdate::StopTimeEvent;
using Call = transit_realtime::TripUpdate::StopTimeUpdate;

constexpr int max_delay_s = 24 * 3600;

TripStatus stated_status(const transit_realtime::TripDescriptor& trip) {
  switch (trip.schedule_relationship()) {
    case transit_realtime::TripDescriptor::CANCELED:
    case transit_realtime::TripDescriptor::DELETED:
      return TripStatus::canceled;
    case transit_realtime::TripDescriptor::UNSCHEDULED:
      return TripStatus::unscheduled;
    case transit_realtime::TripDescriptor::SCHEDULED:
      return TripStatus::scheduled;
    default:  // ADDED, NEW, DUPLICATED, REPLACEMENT and what later versions add
      return TripStatus::added;
  }
}

CallStatus stated_status(const Call& call) {
  switch (call.schedule_relationship()) {
    case Call::SKIPPED:
      return CallStatus::skipped;
    case Call::NO_DATA:
      return CallStatus::no_data;
    case Call::UNSCHEDULED:
      return CallStatus::unscheduled;
    case Call::SCHEDULED:
      break;
  }
  return CallStatus::scheduled;
}

// Turns the entities of one message into trip updates.
class TripUpdateReader : private EntityReader<TripUpdateBatch> {
 public:
  TripUpdateReader(TripUpdateBatch& batch, const PositionOptions& options)
      : EntityReader(batch, options) {}

  void read(std::string_view bytes) {
    read_entities(bytes, "entity without trip update",
                  [&](const transit_realtime::FeedEntity& entity) {
                    if (entity.has_trip_update()) add(entity.trip_update(), entity.id());
                    return entity.has_trip_update();
                  });
  }

 private:
  void add(const transit_realtime::TripUpdate& stated, const std::string& entity) {
    const auto time = plausible_instant(static_cast<long long>(stated.timestamp()));
    const std::optional<Instant> received = _options.received ? _options.received : _batch.time;
    if (stated.trip().trip_id().empty()) return reject("no trip_id", entity);
    if (!time && !received) return reject("no usable time", entity);
    if (!time && stated.timestamp() != 0) remark("implausible time", entity);
    TripUpdate update;
    update.received = received ? *received : *time;
    update.time = time ? *time : *received;
    update.time_is_received = !time;
    add_trip(stated.trip(), update, entity);
    if (stated.trip().schedule_relationship() == transit_realtime::TripDescriptor::DUPLICATED) {
      add_duplicate(stated.trip_properties(), update, entity);
    }
    update.vehicle = stated_vehicle(stated.vehicle());
    if (stated.has_delay()) update.delay = plausible_delay(stated.delay(), entity);
    for (const Call& call : stated.stop_time_update()) {
      if (call.stop_id().empty() && !call.has_stop_sequence()) {
        remark("call without stop", entity);
      } else {
        update.calls.push_back(predicted_call(call, entity));
      }
    }
    ++_batch.read;
    _batch.updates.push_back(std::move(update));
  }

  void add_trip(const transit_realtime::TripDescriptor& trip, TripUpdate& update,
                const std::string& entity) {
    update.trip = TripId(trip.trip_id());
    update.route = RouteId(trip.route_id());
    update.direction = stated_direction(trip);
    update.status = stated_status(trip);
    update.start_date = ServiceDate::parse(trip.start_date());
    update.start_time = parse_time_of_day(trip.start_time());
    if (!update.start_date && !trip.start_date().empty()) remark("start date is no date", entity);
    if (!update.start_time && !trip.start_time().empty()) remark("start time is no time", entity);
  }

  void add_duplicate(const transit_realtime::TripUpdate::TripProperties& stated, TripUpdate& update,
                     const std::string& entity) {
    if (stated.trip_id().empty()) return remark("duplicate without a name of its own", entity);
    update.trip = TripId(stated.trip_id());
    update.start_date = ServiceDate::parse(stated.start_date());
    update.start_time = parse_time_of_day(stated.start_time());
  }

  PredictedCall predicted_call(const Call& stated, const std::string& entity) {
    PredictedCall call;
    if (stated.has_stop_sequence()) call.stop_sequence = stated.stop_sequence();
    call.stop = StopId(stated.stop_id());
    call.status = stated_status(stated);
    if (stated.has_arrival()) call.arrival = predicted_time(stated.arrival(), entity);
    if (stated.has_departure()) call.departure = predicted_time(stated.departure(), entity);
    return call;
  }

  PredictedTime predicted_time(const Event& stated, const std::string& entity) {
    PredictedTime predicted;
    if (stated.has_time()) predicted.time = plausible_instant(stated.time());
    if (stated.time() != 0 && !predicted.time) remark("implausible predicted time", entity);
    if (stated.has_delay()) predicted.delay = plausible_delay(stated.delay(), entity);
    if (stated.has_uncertainty() && stated.uncertainty() >= 0)
      predicted.uncertainty = Seconds(stated.uncertainty());
    return predicted;
  }

  std::optional<Seconds> plausible_delay(std::int32_t delay_s, const std::string& entity) {
    if (delay_s >= -max_delay_s && delay_s <= max_delay_s) return Seconds(delay_s);
    remark("delay beyond a day", entity);
    return std::nullopt;
  }
};

}  // namespace

TripUpdateBatch read_trip_updates(std::string_view bytes, const PositionOptions& options) {
  TripUpdateBatch batch;
  TripUpdateReader(batch, options).read(bytes);
  return batch;
}

}  // namespace qiv
