#include "feed/position_collector.h"

#include <cmath>
#include <utility>

namespace qiv {
namespace {

constexpr long long first_second = 946'684'800;   // 2000-01-01
constexpr long long last_second = 4'102'444'799;  // 2099-12-31
constexpr double max_speed_mps = 150.0;

VehicleId stand_in_vehicle(const VehiclePosition& position, std::string_view entity) {
  if (!position.trip.empty()) {
    const std::string day =
        position.start_date ? "@" + position.start_date->to_string() : std::string();
    return VehicleId("trip " + position.trip.text() + day);
  }
  return VehicleId(entity.empty() ? std::string() : "entity " + std::string(entity));
}

std::optional<LatLon> plausible_place(const StatedPosition& stated) {
  if (!stated.lat_deg || !stated.lon_deg) return std::nullopt;
  const LatLon place{*stated.lat_deg, *stated.lon_deg};
  return is_plausible(place) ? std::optional(place) : std::nullopt;
}

}  // namespace

bool is_plausible_time(Instant time) {
  return plausible_instant(unix_seconds(time)).has_value();
}

std::optional<Instant> plausible_instant(long long unix_seconds) {
  if (unix_seconds < first_second || unix_seconds > last_second) return std::nullopt;
  return from_unix_seconds(unix_seconds);
}

void PositionCollector::add(StatedPosition&& stated, const Quote& quote) {
  VehiclePosition position = std::move(stated.position);
  const bool names_stop = !position.stop.empty() || position.stop_sequence.has_value();
  if (!stated.time && !stated.received)
    return reject(stated.has_time ? "implausible time" : "no time", quote);
  position.place = plausible_place(stated);
  if (!position.place && !names_stop)
    return reject(stated.has_place ? "implausible place" : "neither place nor stop", quote);
  add_start(stated, position, quote);
  if (position.vehicle.empty()) position.vehicle = stand_in_vehicle(position, stated.entity);
  if (position.vehicle.empty()) return reject("no vehicle", quote);

  if (stated.has_time && !stated.time) _batch.remarks.add("implausible time", quote);
  if (stated.has_place && !position.place) _batch.remarks.add("implausible place", quote);
  position.time_is_received = !stated.time.has_value();
  position.received = stated.received ? *stated.received : *stated.time;
  position.time = stated.time ? *stated.time : *stated.received;
  add_motion(stated, position, quote);
  ++_batch.read;
  _batch.positions.push_back(std::move(position));
}

void PositionCollector::reject(std::string_view reason, const Quote& quote) {
  ++_batch.read;
  _batch.rejections.add(reason, quote);
}

void PositionCollector::add_motion(const StatedPosition& stated, VehiclePosition& position,
                                   const Quote& quote) {
  if (stated.bearing_deg) {
    if (std::abs(*stated.bearing_deg) <= 360.0) {
      const double turned =
          *stated.bearing_deg < 0.0 ? *stated.bearing_deg + 360.0 : *stated.bearing_deg;
      position.bearing_deg = turned >= 360.0 ? 0.0 : turned;
    } else {
      _batch.remarks.add("implausible bearing", quote);
    }
  }
  if (stated.speed_mps) {
    if (*stated.speed_mps >= 0.0 && *stated.speed_mps <= max_speed_mps) {
      position.speed_mps = stated.speed_mps;
    } else {
      _batch.remarks.add("implausible speed", quote);
    }
  }
}

void PositionCollector::add_start(const StatedPosition& stated, VehiclePosition& position,
                                  const Quote& quote) {
  position.start_date = ServiceDate::parse(stated.start_date);
  if (position.start_date && !is_plausible_time(Instant(position.start_date->days())))
    position.start_date.reset();
  if (!position.start_date && !stated.start_date.empty())
    _batch.remarks.add("start date is no plausible date", quote);
  position.start_time = parse_time_of_day(stated.start_time);
  if (!position.start_time && !stated.start_time.empty())
    _batch.remarks.add("start time is no time", quote);
}

}  // namespace qiv
