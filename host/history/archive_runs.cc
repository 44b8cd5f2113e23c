#include <algorithm>
#include <limits>
#include <string>

#include "history/archive.h"
#include "history/archive_impl.h"
#include "history/run_codec.h"

namespace qiv {
namespace {

/// In `run.followed`: told by a service.
constexpr std::int64_t not_followed = 0;

std::int64_t finishing_time(const ArchivedRun& archived) {
  if (archived.ended) return unix_seconds(*archived.ended);
  std::int64_t finished = 0;
  for (const Progress& p : archived.run.progress) {
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

void Archive::Impl::insert_run(const ArchivedRun& archived, std::int64_t followed) {
  const TripRun& run = archived.run;
  const std::string progress = encode_progress(run.progress);
  std::optional<std::int64_t> calls_number;
  if (!archived.calls.empty()) calls_number = intern_calls(archived.calls);
  const std::int64_t trip = intern(run.trip.trip);
  const std::int64_t vehicle = intern(run.vehicle);
  const std::int64_t pattern = intern(run.pattern);
  query(R"sql(
    INSERT INTO run (trip, day, start, vehicle, followed, pattern, finished, progress, calls)
    VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)
    ON CONFLICT (trip, day, start, vehicle, followed) DO UPDATE SET
      pattern = excluded.pattern, finished = excluded.finished,
      progress = excluded.progress, calls = excluded.calls)sql")
      .with(trip, day_number(run.trip.day), std::int64_t{run.trip.start.count()}, vehicle, followed,
            pattern, finishing_time(archived), Blob{progress}, calls_number)
      .run();
}

void Archive::add_runs(std::span<const ArchivedRun> runs) {
  _impl->write([&] {
    for (const ArchivedRun& run : runs) {
      _impl->insert_run(run, not_followed);
      _impl->remove_under_way(run.run.vehicle, run.run.trip);
    }
  });
}

void Archive::keep_followed(const FollowedDay& followed) {
  const std::int64_t day = day_number(followed.day);
  _impl->write([&] {
    _impl->query("DELETE FROM run WHERE followed = ?").with(day).run();
    for (const ArchivedRun& run : followed.runs) _impl->insert_run(run, day);
    note_followed(followed.day, followed.state);
  });
}

void Archive::note_followed(ServiceDate day, const std::string& state) {
  _impl->write([&] {
    _impl->query("INSERT OR REPLACE INTO followed (day, state) VALUES (?, ?)")
        .with(day_number(day), state)
        .run();
  });
}

std::map<ServiceDate, std::string> Archive::followed_states() const {
  return _impl->read([&] {
    std::map<ServiceDate, std::string> states;
    Query select = _impl->query("SELECT day, state FROM followed");
    while (select.next()) states[day_of(select.integer(0))] = select.text(1);
    return states;
  });
}

std::size_t Archive::followed_runs(ServiceDate day) const {
  return _impl->read([&] {
    Query select = _impl->query("SELECT count(*) FROM run WHERE followed = ?");
    select.with(day_number(day)).next();
    return static_cast<std::size_t>(select.integer(0));
  });
}

void Archive::read_runs(const RunQuery& query,
                        const std::function<void(ArchivedRun&&)>& take) const {
  constexpr const char* select_of_pattern = R"sql(
    SELECT run.trip, day, start, vehicle, pattern, progress, calls.times, followed, finished
    FROM run JOIN name AS t ON t.id = run.trip JOIN name AS v ON v.id = vehicle
    LEFT JOIN calls ON calls.id = run.calls
    WHERE day BETWEEN ?1 AND ?2 AND followed <= ?3 AND finished >= ?4
      AND pattern = ?5 AND NOT EXISTS (
      SELECT 1 FROM run AS later WHERE later.trip = run.trip AND later.day = run.day
      AND later.start = run.start AND later.vehicle = run.vehicle
      AND later.followed > run.followed AND later.followed <= ?3)
    ORDER BY finished, t.text, day, start, v.text)sql";
  constexpr const char* select_all = R"sql(
    SELECT run.trip, day, start, vehicle, pattern, progress, calls.times, followed, finished
    FROM run JOIN name AS t ON t.id = run.trip JOIN name AS v ON v.id = vehicle
    LEFT JOIN calls ON calls.id = run.calls
    WHERE day BETWEEN ?1 AND ?2 AND followed <= ?3 AND finished >= ?4 AND NOT EXISTS (
      SELECT 1 FROM run AS later WHERE later.trip = run.trip AND later.day = run.day
      AND later.start = run.start AND later.vehicle = run.vehicle
      AND later.followed > run.followed AND later.followed <= ?3)
    ORDER BY finished, t.text, day, start, v.text)sql";
  constexpr auto last_number = std::numeric_limits<std::int64_t>::max();

  _impl->read([&] {
    const auto pattern = query.pattern ? _impl->find(query.pattern->text()) : std::nullopt;
    if (query.pattern && !pattern) return;
    Query select = _impl->query(pattern ? select_of_pattern : select_all);
    select.with(query.first_day ? day_number(*query.first_day) : -last_number,
                query.last_day ? day_number(*query.last_day) : last_number,
                query.followed_until ? day_number(*query.followed_until) : last_number,
                query.ended_from ? std::int64_t{unix_seconds(*query.ended_from)} : -last_number);
    if (pattern) select.bind(5, *pattern);
    while (select.next()) take(_impl->read_run(select));
  });
}

ArchivedRun Archive::Impl::read_run(const Query& select) {
  ArchivedRun found;
  TripRun& run = found.run;
  run.trip = read_key(select, 0);
  run.vehicle = VehicleId(name(select.integer(3)));
  run.pattern = PatternRef(name(select.integer(4)));
  auto progress = decode_progress(select.text(5), run.vehicle, run.trip);
  auto calls = select.is_null(6) ? std::vector<Call>() : decode_calls(select.text(6));
  if (!progress || !calls) throw_damaged("run " + to_string(run.trip));
  run.progress = std::move(*progress);
  found.calls = std::move(*calls);
  if (select.integer(7) != not_followed) found.followed = day_of(select.integer(7));
  found.ended = from_unix_seconds(select.integer(8));
  return found;
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
