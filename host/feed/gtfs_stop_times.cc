#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "feed/gtfs_reader.h"
#include "feed/number.h"

namespace qiv {
namespace {

struct CallRow {
  std::uint32_t trip = 0;
  CsvRow row;
  StopTime call;
};

bool stands_before(const CallRow& a, const CallRow& b) {
  return a.trip != b.trip ? a.trip < b.trip : a.call.sequence < b.call.sequence;
}

std::optional<Seconds> time_in(GtfsTable& table, CsvColumn column, std::string_view remark) {
  const auto time = parse_time_of_day(table[column]);
  if (!time && !table[column].empty()) table.remark(remark);
  return time;
}

// Where only one of the two is stated it serves as both.
void complete_times(GtfsTable& table, StopTime& call) {
  if (!call.arrival) call.arrival = call.departure;
  if (!call.departure) call.departure = call.arrival;
  if (call.arrival && *call.departure < *call.arrival) {
    table.remark("departure_time before arrival_time");
    call.departure = call.arrival;
  }
}

std::vector<CallRow> read_calls(GtfsTable& table, const NameIndex& trips, const NameIndex& stops) {
  const CsvColumn trip_id = table.column("trip_id");
  const CsvColumn stop_id = table.column("stop_id");
  const CsvColumn sequence = table.column("stop_sequence");
  const CsvColumn arrival = table.column("arrival_time");
  const CsvColumn departure = table.column("departure_time");
  const CsvColumn shape_dist = table.column("shape_dist_traveled");
  std::vector<CallRow> rows;
  std::string present_id;
  std::optional<std::uint32_t> trip;
  while (table.next()) {
    if (table[trip_id] != present_id) {
      present_id = table[trip_id];
      trip = trips.find(present_id);
    }
    const auto stop = stops.find(table[stop_id]);
    const auto number = parse_integer<std::uint32_t>(table[sequence]);
    if (!trip) {
      table.reject("unknown trip_id");
    } else if (!stop) {
      table.reject("unknown stop_id");
    } else if (!number) {
      table.reject("stop_sequence is no number from 0");
    } else {
      CallRow row{*trip, table.row(), {*stop, *number, {}, {}, {}}};
      row.call.arrival = time_in(table, arrival, "arrival_time is no time");
      row.call.departure = time_in(table, departure, "departure_time is no time");
      complete_times(table, row.call);
      const auto dist = parse_number(table[shape_dist]);
      if (dist && *dist >= 0.0) {
        row.call.shape_dist = dist;
      } else if (!table[shape_dist].empty()) {
        table.remark("shape_dist_traveled is no number from 0");
      }
      rows.push_back(row);
    }
  }
  return rows;
}

// Drops times before an earlier one.
void drop_falling_times(GtfsTable& table, std::vector<CallRow>::iterator begin,
                        std::vector<CallRow>::iterator end) {
  Seconds latest{0};
  for (auto row = begin; row != end; ++row) {
    StopTime& call = row->call;
    if (!call.arrival) continue;
    if (*call.arrival < latest) {
      table.remark("time before an earlier one of the trip", row->row);
      call.arrival = call.departure = std::nullopt;
    } else {
      latest = *call.departure;
    }
  }
}

void remark_missing_ends(GtfsTable& table, const CallRow& first, const CallRow& last) {
  if (!first.call.arrival) table.remark("first stop of a trip without time", first.row);
  if (!last.call.arrival) table.remark("last stop of a trip without time", last.row);
}

}  // namespace

void GtfsReader::read_stop_times(GtfsTable& table, GtfsTable& trips) {
  table.require({"trip_id", "stop_id", "stop_sequence"});
  std::vector<CallRow> rows = read_calls(table, _trips, _stops);
  if (!std::is_sorted(rows.begin(), rows.end(), stands_before))
    std::stable_sort(rows.begin(), rows.end(), stands_before);

  std::vector<Trip> used;
  used.reserve(_timetable.trips.size());
  _trips = NameIndex();
  auto begin = rows.begin();
  for (std::uint32_t i = 0; i < _timetable.trips.size(); ++i) {
    const auto end =
        std::find_if(begin, rows.end(), [&](const CallRow& row) { return row.trip != i; });
    auto kept = begin;
    for (auto row = begin; row != end; ++row) {
      if (kept != begin && row->call.sequence == std::prev(kept)->call.sequence) {
        table.reject("stop_sequence occurs twice", row->row);
      } else {
        *kept++ = *row;
      }
    }
    if (kept - begin < 2) {
      for (auto row = begin; row != kept; ++row)
        table.reject("trip of fewer than two stops", row->row);
      trips.reject("trip of fewer than two stops", _trip_rows[i]);
    } else {
      drop_falling_times(table, begin, kept);
      remark_missing_ends(table, *begin, *std::prev(kept));
      Trip& trip = _timetable.trips[i];
      trip.stop_times.reserve(static_cast<std::size_t>(kept - begin));
      for (auto row = begin; row != kept; ++row) trip.stop_times.push_back(row->call);
      _trips.add(trip.id.text(), static_cast<std::uint32_t>(used.size()));
      used.push_back(std::move(trip));
    }
    begin = end;
  }
  _timetable.trips = std::move(used);
}

}  // namespace qiv
