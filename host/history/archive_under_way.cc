#include <string>

#include "history/archive.h"
#include "history/archive_impl.h"

namespace qiv {

std::optional<std::int64_t> Archive::Impl::find_under_way(const VehicleId& vehicle,
                                                          const TripKey& trip) {
  const auto vehicle_number = find(vehicle.text());
  const auto trip_number = find(trip.trip.text());
  if (!vehicle_number || !trip_number) return std::nullopt;
  Query select =
      query("SELECT id FROM under_way WHERE trip = ? AND day = ? AND start = ? AND vehicle = ?");
  select.with(*trip_number, day_number(trip.day), std::int64_t{trip.start.count()},
              *vehicle_number);
  if (!select.next()) return std::nullopt;
  return select.integer(0);
}

std::int64_t Archive::Impl::open_under_way(const VehicleId& vehicle, const TripKey& trip,
                                           const PatternRef& pattern) {
  const std::int64_t pattern_number = intern(pattern);
  if (const auto there = find_under_way(vehicle, trip)) {
    query("UPDATE under_way SET pattern = ? WHERE id = ? AND pattern <> ?")
        .with(pattern_number, *there, pattern_number)
        .run();
    return *there;
  }
  const std::int64_t trip_number = intern(trip.trip);
  const std::int64_t vehicle_number = intern(vehicle);
  query("INSERT INTO under_way (trip, day, start, vehicle, pattern) VALUES (?, ?, ?, ?, ?)")
      .with(trip_number, day_number(trip.day), std::int64_t{trip.start.count()}, vehicle_number,
            pattern_number)
      .run();
  return _database.getLastInsertRowid();
}

void Archive::Impl::remove_under_way(const VehicleId& vehicle, const TripKey& trip) {
  const auto number = find_under_way(vehicle, trip);
  if (!number) return;
  query("DELETE FROM progress WHERE under_way = ?").with(*number).run();
  query("DELETE FROM under_way WHERE id = ?").with(*number).run();
}

void Archive::Impl::insert_progress(std::int64_t under_way, const Progress& p) {
  query(
      "INSERT OR IGNORE INTO progress (under_way, time, offset_m, evidence, received, error_m)"
      " VALUES (?, ?, ?, ?, ?, ?)")
      .with(under_way, std::int64_t{unix_seconds(p.time)}, p.offset_m,
            static_cast<std::int64_t>(p.evidence), std::int64_t{unix_seconds(p.received)},
            p.error_m)
      .run();
}

std::vector<Progress> Archive::Impl::read_progress(std::int64_t under_way, const TripRun& run) {
  Query select = query(
      "SELECT time, received, offset_m, error_m, evidence FROM progress WHERE under_way = ?"
      " ORDER BY time, offset_m, evidence");
  select.with(under_way);
  std::vector<Progress> progress;
  while (select.next()) {
    const std::int64_t evidence = select.integer(4);
    if (evidence < 0 || evidence > 2) throw_damaged("progress of " + to_string(run.trip));
    progress.push_back({run.vehicle, run.trip, 0, from_unix_seconds(select.integer(0)),
                        from_unix_seconds(select.integer(1)), select.real(2), select.real(3),
                        static_cast<Evidence>(evidence)});
  }
  return progress;
}

void Archive::append_progress(std::span<const AcceptedProgress> progress) {
  _impl->write([&] {
    for (const auto& [pattern, p] : progress) {
      _impl->insert_progress(_impl->open_under_way(p.vehicle, p.trip, pattern), p);
    }
  });
}

void Archive::correct_progress(const TripRun& cleaned) {
  _impl->write([&] {
    const std::int64_t number =
        _impl->open_under_way(cleaned.vehicle, cleaned.trip, cleaned.pattern);
    _impl->query("DELETE FROM progress WHERE under_way = ?").with(number).run();
    for (const Progress& p : cleaned.progress) _impl->insert_progress(number, p);
  });
}

void Archive::remove_under_way(const VehicleId& vehicle, const TripKey& trip) {
  _impl->write([&] { _impl->remove_under_way(vehicle, trip); });
}

std::vector<TripRun> Archive::under_way() const {
  return _impl->read([&] {
    std::vector<TripRun> found;
    Query select = _impl->query(R"sql(
      SELECT trip, day, start, vehicle, pattern, under_way.id
      FROM under_way JOIN name AS t ON t.id = trip JOIN name AS v ON v.id = vehicle
      ORDER BY t.text, day, start, v.text)sql");
    while (select.next()) {
      TripRun run;
      run.trip = _impl->read_key(select, 0);
      run.vehicle = VehicleId(_impl->name(select.integer(3)));
      run.pattern = PatternRef(_impl->name(select.integer(4)));
      run.progress = _impl->read_progress(select.integer(5), run);
      found.push_back(std::move(run));
    }
    return found;
  });
}

}  // namespace qiv
