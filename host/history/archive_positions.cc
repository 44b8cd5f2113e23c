#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <compare>
#include <cstdint>
#include <map>
#include <numeric>
#include <optional>
#include <set>

#include "history/archive.h"
#include "history/archive_impl.h"

namespace qiv {
namespace {

/// A value of the table, as it lies there.
struct Cell {
  enum class Type : std::uint8_t { null, integer, real } type = Type::null;
  std::int64_t bits = 0;

  friend auto operator<=>(const Cell&, const Cell&) = default;
};

Cell cell(std::int64_t value) {
  return {Cell::Type::integer, value};
}

Cell cell(const std::optional<std::int64_t>& value) {
  return value ? cell(*value) : Cell{};
}

/// An integer of so many units where that says `value` exactly, else the number itself.
Cell cell(const std::optional<double>& value, double units) {
  if (!value || std::isnan(*value)) return {};
  if (std::abs(*value * units) < 1e15) {
    const auto whole = static_cast<std::int64_t>(std::llround(*value * units));
    const double back = static_cast<double>(whole) / units;
    if (std::bit_cast<std::int64_t>(back) == std::bit_cast<std::int64_t>(*value)) {
      return cell(whole);
    }
  }
  return {Cell::Type::real, std::bit_cast<std::int64_t>(*value)};
}

std::optional<std::int64_t> integer(const Cell& cell) {
  if (cell.type != Cell::Type::integer) return std::nullopt;
  return cell.bits;
}

std::optional<double> real(const Cell& cell, double units) {
  if (cell.type == Cell::Type::null) return std::nullopt;
  if (cell.type == Cell::Type::real) return std::bit_cast<double>(cell.bits);
  return static_cast<double>(cell.bits) / units;
}

// The order of the columns in every statement below, behind `received`.
enum Place : std::size_t {
  age,
  time_is_received,
  vehicle,
  trip,
  route,
  direction,
  start_date,
  start_time,
  lat,
  lon,
  bearing,
  speed,
  stop,
  stop_sequence,
  status,
  places
};

using Row = std::array<Cell, places>;

constexpr double per_degree = 1e7;
constexpr double per_bearing_degree = 100.0;
constexpr double per_mps = 1000.0;

template <class Value>
std::optional<std::int64_t> number(const std::optional<Value>& value) {
  if (!value) return std::nullopt;
  return static_cast<std::int64_t>(*value);
}

/// Seconds from `b` to `a`, which may wrap round for times that no feed should have.
std::int64_t seconds_between(Instant a, Instant b) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(unix_seconds(a)) -
                                   static_cast<std::uint64_t>(unix_seconds(b)));
}

bool has_place(const VehiclePosition& p) {
  return p.place && !std::isnan(p.place->lat_deg) && !std::isnan(p.place->lon_deg);
}

template <class Intern>
Row row_of(const VehiclePosition& p, Intern&& intern) {
  Row row;
  row[age] = cell(seconds_between(p.received, p.time));
  row[time_is_received] = cell(p.time_is_received ? 1 : 0);
  row[vehicle] = cell(intern(p.vehicle));
  row[trip] = cell(intern(p.trip));
  row[route] = cell(intern(p.route));
  row[direction] = cell(number(p.direction));
  if (p.start_date) row[start_date] = cell(day_number(*p.start_date));
  if (p.start_time) row[start_time] = cell(p.start_time->count());
  if (has_place(p)) {
    row[lat] = cell(p.place->lat_deg, per_degree);
    row[lon] = cell(p.place->lon_deg, per_degree);
  }
  row[bearing] = cell(p.bearing_deg, per_bearing_degree);
  row[speed] = cell(p.speed_mps, per_mps);
  row[stop] = cell(intern(p.stop));
  row[stop_sequence] = cell(number(p.stop_sequence));
  row[status] = cell(number(p.status));
  return row;
}

std::optional<StopStatus> status_of(const Cell& cell) {
  const auto value = integer(cell);
  if (!value || *value < 0 || *value > 2) return std::nullopt;
  return static_cast<StopStatus>(*value);
}

template <class Name>
VehiclePosition position_of(Instant received, const Row& row, Name&& name) {
  const auto text = [&](Place place) { return name(row[place].bits); };
  VehiclePosition p;
  p.received = received;
  p.time = from_unix_seconds(
      static_cast<std::int64_t>(static_cast<std::uint64_t>(unix_seconds(received)) -
                                static_cast<std::uint64_t>(row[age].bits)));
  p.time_is_received = row[time_is_received].bits != 0;
  p.vehicle = VehicleId(text(vehicle));
  p.trip = TripId(text(trip));
  p.route = RouteId(text(route));
  if (const auto value = integer(row[direction])) p.direction = static_cast<int>(*value);
  if (const auto value = integer(row[start_date])) p.start_date = day_of(*value);
  if (const auto value = integer(row[start_time])) p.start_time = Seconds(*value);
  const auto lat_deg = real(row[lat], per_degree);
  const auto lon_deg = real(row[lon], per_degree);
  if (lat_deg && lon_deg) p.place = LatLon{*lat_deg, *lon_deg};
  p.bearing_deg = real(row[bearing], per_bearing_degree);
  p.speed_mps = real(row[speed], per_mps);
  p.stop = StopId(text(stop));
  if (const auto value = integer(row[stop_sequence])) {
    p.stop_sequence = static_cast<std::uint32_t>(*value);
  }
  p.status = status_of(row[status]);
  return p;
}

Row read_row(const Query& query, int first_column) {
  Row row;
  for (std::size_t i = 0; i < places; ++i) {
    const SQLite::Column column = query.column(first_column + static_cast<int>(i));
    if (column.isInteger()) {
      row[i] = cell(column.getInt64());
    } else if (column.isFloat()) {
      row[i] = {Cell::Type::real, std::bit_cast<std::int64_t>(column.getDouble())};
    }
  }
  return row;
}

void bind_row(Query& query, int first_index, const Row& row) {
  for (std::size_t i = 0; i < places; ++i) {
    const int index = first_index + static_cast<int>(i);
    switch (row[i].type) {
      case Cell::Type::null:
        query.bind_null(index);
        break;
      case Cell::Type::integer:
        query.bind(index, row[i].bits);
        break;
      case Cell::Type::real:
        query.bind(index, std::bit_cast<double>(row[i].bits));
        break;
    }
  }
}

constexpr const char* select_received_sql =
    "SELECT serial, age, time_is_received, vehicle, trip, route, direction, start_date,"
    " start_time, lat, lon, bearing, speed, stop, stop_sequence, status"
    " FROM position WHERE received = ?";
constexpr const char* select_range_sql =
    "SELECT received, age, time_is_received, vehicle, trip, route, direction, start_date,"
    " start_time, lat, lon, bearing, speed, stop, stop_sequence, status"
    " FROM position WHERE received >= ? AND received < ? ORDER BY received, serial";
constexpr const char* insert_sql =
    "INSERT INTO position (received, serial, age, time_is_received, vehicle, trip, route,"
    " direction, start_date, start_time, lat, lon, bearing, speed, stop, stop_sequence, status)"
    " VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)";

/// The positions of one second of receipt that the archive has.
struct Second {
  std::set<Row> rows;
  std::int64_t next_serial = 0;
};

Second read_second(Query select, std::int64_t received) {
  Second second;
  select.with(received);
  while (select.next()) {
    second.rows.insert(read_row(select, 1));
    second.next_serial = std::max(second.next_serial, select.integer(0) + 1);
  }
  return second;
}

/// Changes are counted by quarter of an hour: every time zone's hours are made of them.
constexpr std::int64_t quarter_s = 900;

std::int64_t quarter_of(std::int64_t received) {
  return received / quarter_s - (received % quarter_s < 0 ? 1 : 0);
}

void note_change(Query note, std::int64_t quarter, std::int64_t changes) {
  note.with(quarter, changes).run();
}

constexpr const char* note_change_sql =
    "INSERT INTO recorded (quarter, changes) VALUES (?, ?)"
    " ON CONFLICT (quarter) DO UPDATE SET changes = changes + excluded.changes";

}  // namespace

std::size_t Archive::record(std::span<const VehiclePosition> positions) {
  std::vector<std::size_t> by_receipt(positions.size());
  std::iota(by_receipt.begin(), by_receipt.end(), std::size_t{0});
  std::stable_sort(by_receipt.begin(), by_receipt.end(), [&](std::size_t a, std::size_t b) {
    return positions[a].received < positions[b].received;
  });
  return _impl->write([&] {
    std::size_t added = 0;
    std::map<std::int64_t, std::int64_t> changes;
    std::optional<Instant> current;
    Second second;
    for (const std::size_t i : by_receipt) {
      const VehiclePosition& position = positions[i];
      const std::int64_t received = unix_seconds(position.received);
      if (current != position.received) {
        current = position.received;
        second = read_second(_impl->query(select_received_sql), received);
      }
      const Row row = row_of(position, [&](const auto& id) { return _impl->intern(id); });
      if (!second.rows.insert(row).second) continue;
      Query insert = _impl->query(insert_sql);
      insert.bind(1, received);
      insert.bind(2, second.next_serial++);
      bind_row(insert, 3, row);
      insert.run();
      ++added;
      ++changes[quarter_of(received)];
    }
    for (const auto& [quarter, count] : changes) {
      note_change(_impl->query(note_change_sql), quarter, count);
    }
    return added;
  });
}

void Archive::read_positions(Instant from, Instant to,
                             const std::function<void(const VehiclePosition&)>& take) const {
  _impl->read([&] {
    Query select = _impl->query(select_range_sql);
    select.with(std::int64_t{unix_seconds(from)}, std::int64_t{unix_seconds(to)});
    while (select.next()) {
      take(position_of(
          from_unix_seconds(select.integer(0)), read_row(select, 1),
          [&](std::int64_t number) -> const std::string& { return _impl->name(number); }));
    }
  });
}

std::vector<VehiclePosition> Archive::positions(Instant from, Instant to) const {
  std::vector<VehiclePosition> found;
  read_positions(from, to, [&](const VehiclePosition& position) { found.push_back(position); });
  return found;
}

std::optional<Instant> Archive::next_received(Instant from) const {
  return _impl->read([&]() -> std::optional<Instant> {
    Query select = _impl->query(
        "SELECT received FROM position WHERE received >= ? ORDER BY received, serial LIMIT 1");
    if (!select.with(std::int64_t{unix_seconds(from)}).next()) return std::nullopt;
    return from_unix_seconds(select.integer(0));
  });
}

std::uint64_t Archive::position_changes(Instant from, Instant to) const {
  return _impl->read([&] {
    Query select =
        _impl->query("SELECT total(changes) FROM recorded WHERE quarter >= ? AND quarter <= ?");
    select.with(quarter_of(unix_seconds(from)), quarter_of(unix_seconds(to) - 1)).next();
    return static_cast<std::uint64_t>(select.real(0));
  });
}

std::size_t Archive::remove_positions(Instant from, Instant to) {
  return _impl->write([&] {
    _impl
        ->query(R"sql(
      INSERT INTO recorded (quarter, changes)
      SELECT (received - (received % 900 + 900) % 900) / 900, count(*) FROM position
      WHERE received >= ? AND received < ? GROUP BY 1
      ON CONFLICT (quarter) DO UPDATE SET changes = changes + excluded.changes)sql")
        .with(std::int64_t{unix_seconds(from)}, std::int64_t{unix_seconds(to)})
        .run();
    return _impl->query("DELETE FROM position WHERE received >= ? AND received < ?")
        .with(std::int64_t{unix_seconds(from)}, std::int64_t{unix_seconds(to)})
        .run();
  });
}

}  // namespace qiv
