#include <algorithm>
#include <limits>
#include <string>

#include "history/archive.h"
#include "history/archive_impl.h"
#include "history/run_codec.h"

namespace qiv {
namespace {

std::int64_t finishing_time(const TripRun& run) {
  std::int64_t finished = 0;
  for (const Progress& p : run.progress) {
    finished = std::max(finished, std::int64_t{unix_seconds(p.received)});
  }
  return finished;
}

}  // namespace

std::int64_t Archive::Impl::intern_calls(const std::vector<Call>& calls) {
  const std::string bytes = encode_calls(calls);
  {
    Query select = query("SELECT id FROM calls WHERE times = ?");
    if (select.with(Blob{bytes}).next()) return select.integer(0);
  }
  query("INSERT INTO calls (times) VALUES (?)").with(Blob{bytes}).run();
  return _database.getLastInsertRowid();
}

TripKey Archive::Impl::read_key(const Query& query, int column) {
  return {TripId(name(query.integer(column))), day_of(query.integer(column + 1)),
          Seconds(query.integer(column + 2))};
}

void Archive::add_runs(std::span<const ArchivedRun> runs) {
  _impl->write([&] {
    for (const auto& [run, calls] : runs) {
      const std::string progress = encode_progress(run.progress);
      std::optional<std::int64_t> calls_number;
      if (!calls.empty()) calls_number = _impl->intern_calls(calls);
      const std::int64_t trip = _impl->intern(run.trip.trip);
      const std::int64_t vehicle = _impl->intern(run.vehicle);
      const std::int64_t pattern = _impl->intern(run.pattern);
      _impl
          ->query(R"sql(
        INSERT INTO run (trip, day, start, vehicle, pattern, finished, progress, calls)
        VALUES (?, ?, ?, ?, ?, ?, ?, ?)
        ON CONFLICT (trip, day, start, vehicle) DO UPDATE SET
          pattern = excluded.pattern, finished = excluded.finished,
          progress = excluded.progress, calls = excluded.calls)sql")
          .with(trip, day_number(run.trip.day), std::int64_t{run.trip.start.count()}, vehicle,
                pattern, finishing_time(run), Blob{progress}, calls_number)
          .run();
      _impl->remove_under_way(run.vehicle, run.trip);
    }
  });
}

void Archive::read_runs(const RunQuery& query,
                        const std::function<void(ArchivedRun&&)>& take) const {
  constexpr const char* select_of_pattern = R"sql(
    SELECT run.trip, day, start, vehicle, pattern, progress, calls.times
    FROM run JOIN name AS t ON t.id = run.trip JOIN name AS v ON v.id = vehicle
    LEFT JOIN calls ON calls.id = run.calls
    WHERE day BETWEEN ? AND ? AND pattern = ?
    ORDER BY finished, t.text, day, start, v.text)sql";
  constexpr const char* select_all = R"sql(
    SELECT run.trip, day, start, vehicle, pattern, progress, calls.times
    FROM run JOIN name AS t ON t.id = run.trip JOIN name AS v ON v.id = vehicle
    LEFT JOIN calls ON calls.id = run.calls
    WHERE day BETWEEN ? AND ?
    ORDER BY finished, t.text, day, start, v.text)sql";
  constexpr auto last_number = std::numeric_limits<std::int64_t>::max();

  _impl->read([&] {
    const auto pattern = query.pattern ? _impl->find(query.pattern->text()) : std::nullopt;
    if (query.pattern && !pattern) return;
    Query select = _impl->query(pattern ? select_of_pattern : select_all);
    select.with(query.first_day ? day_number(*query.first_day) : -last_number,
                query.last_day ? day_number(*query.last_day) : last_number);
    if (pattern) select.bind(3, *pattern);
    while (select.next()) {
      ArchivedRun found;
      TripRun& run = found.run;
      run.trip = _impl->read_key(select, 0);
      run.vehicle = VehicleId(_impl->name(select.integer(3)));
      run.pattern = PatternRef(_impl->name(select.integer(4)));
      auto progress = decode_progress(select.text(5), run.vehicle, run.trip);
      auto calls = select.is_null(6) ? std::vector<Call>() : decode_calls(select.text(6));
      if (!progress || !calls) _impl->throw_damaged("run " + to_string(run.trip));
      run.progress = std::move(*progress);
      found.calls = std::move(*calls);
      take(std::move(found));
    }
  });
}

std::vector<ArchivedRun> Archive::runs(const RunQuery& query) const {
  std::vector<ArchivedRun> found;
  read_runs(query, [&](ArchivedRun&& run) { found.push_back(std::move(run)); });
  return found;
}

std::size_t Archive::remove_runs(ServiceDate first_day, ServiceDate last_day) {
  return _impl->write([&] {
    return _impl->query("DELETE FROM run WHERE day BETWEEN ? AND ?")
        .with(day_number(first_day), day_number(last_day))
        .run();
  });
}

}  // namespace qiv
