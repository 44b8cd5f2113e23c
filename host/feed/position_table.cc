#include "feed/position_table.h"

#include <stdexcept>
#include <string>

#include "feed/csv.h"
#include "feed/gunzip.h"
#include "feed/iso8601.h"
#include "feed/number.h"
#include "feed/position_collector.h"
#include "feed/quotation.h"

namespace qiv {
namespace {

constexpr std::uint64_t max_table_bytes = std::uint64_t{1} << 30U;

// Unix seconds, whose fraction is dropped, or ISO 8601.
std::optional<Instant> time(std::string_view text) {
  const std::size_t point = text.find('.');
  const bool has_fraction =
      point != std::string_view::npos &&
      text.find_first_not_of("0123456789", point + 1) == std::string_view::npos;
  const auto seconds = parse_integer<long long>(has_fraction ? text.substr(0, point) : text);
  if (seconds) return plausible_instant(*seconds);
  const auto instant = parse_iso8601(text);
  return instant && is_plausible_time(*instant) ? instant : std::nullopt;
}

std::optional<StopStatus> status(std::string_view text) {
  if (text == "INCOMING_AT") return StopStatus::incoming_at;
  if (text == "STOPPED_AT") return StopStatus::stopped_at;
  if (text == "IN_TRANSIT_TO") return StopStatus::in_transit_to;
  return std::nullopt;
}

class Columns {
 public:
  explicit Columns(const CsvReader& table)
      : feed_timestamp(table.column("feed_timestamp")),
        timestamp(table.column("timestamp")),
        vehicle(table.column("vehicle_id")),
        trip(table.column("trip_id")),
        route(table.column("route_id")),
        direction(table.column("direction_id")),
        start_date(table.column("start_date")),
        start_time(table.column("start_time")),
        lat(table.column("lat")),
        lon(table.column("lon")),
        bearing(table.column("bearing")),
        speed(table.column("speed")),
        stop(table.column("stop_id")),
        stop_sequence(table.column("current_stop_sequence")),
        status(table.column("current_status")) {}

  CsvColumn feed_timestamp, timestamp, vehicle, trip, route, direction, start_date, start_time, lat,
      lon, bearing, speed, stop, stop_sequence, status;
};

StatedPosition state(const CsvReader& table, const Columns& columns,
                     const PositionOptions& options) {
  const auto field = [&](CsvColumn column) { return table.field(column); };
  const auto copy = [&](CsvColumn column) { return std::string(table.field(column)); };
  StatedPosition stated;
  stated.received = options.received ? options.received : time(field(columns.feed_timestamp));
  stated.has_time = !field(columns.timestamp).empty();
  stated.time = time(field(columns.timestamp));
  stated.has_place = !field(columns.lat).empty() || !field(columns.lon).empty();
  stated.lat_deg = parse_number(field(columns.lat));
  stated.lon_deg = parse_number(field(columns.lon));
  stated.bearing_deg = parse_number(field(columns.bearing));
  stated.speed_mps = parse_number(field(columns.speed));
  stated.start_date = field(columns.start_date);
  stated.start_time = field(columns.start_time);
  VehiclePosition& position = stated.position;
  position.vehicle = VehicleId(copy(columns.vehicle));
  position.trip = TripId(copy(columns.trip));
  position.route = RouteId(copy(columns.route));
  const std::string_view direction = field(columns.direction);
  if (direction == "0" || direction == "1") position.direction = direction == "1" ? 1 : 0;
  position.stop = StopId(copy(columns.stop));
  position.stop_sequence = parse_integer<std::uint32_t>(field(columns.stop_sequence));
  position.status = status(field(columns.status));
  return stated;
}

void read_rows(std::string_view text, const PositionOptions& options, PositionBatch& batch) {
  Rejections unreadable;
  CsvReader table(text, options.name, unreadable);
  const Columns columns(table);
  PositionCollector collector(batch);
  if (!columns.timestamp.present() && !columns.feed_timestamp.present()) {
    return collector.reject("neither a column timestamp nor feed_timestamp",
                            [&] { return table.quote(table.row()); });
  }
  const PositionCollector::Quote quote = [&] { return table.quote(table.row()); };
  while (table.next()) collector.add(state(table, columns, options), quote);
  batch.read += unreadable.total();
  batch.rejections.merge(unreadable);
}

}  // namespace

PositionBatch read_position_table(std::string_view bytes, const PositionOptions& options) {
  PositionBatch batch;
  if (!is_gzip(bytes)) {
    read_rows(bytes, options, batch);
    return batch;
  }
  try {
    read_rows(gunzip(bytes, options.name, max_table_bytes), options, batch);
  } catch (const std::runtime_error& error) {
    PositionCollector(batch).reject("damaged or too large",
                                    [&] { return quotation("gzip", error.what()); });
  }
  return batch;
}

}  // namespace qiv
