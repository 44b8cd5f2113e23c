#include "history/archive_records.h"

#include <string>

#include "history/archive.h"
#include "history/archive_impl.h"
#include "history/settings_json.h"

namespace qiv {
namespace {

SettingsRecord read_settings(Archive::Impl& archive, const Query& query) {
  SettingsRecord record;
  record.learned = from_unix_seconds(query.integer(0));
  record.last_day = day_of(query.integer(1));
  try {
    record.settings = settings_from_json(query.text(2));
  } catch (const std::runtime_error& error) {
    archive.throw_damaged(error.what());
  }
  return record;
}

}  // namespace

void Archive::add_settings(const SettingsRecord& record) {
  _impl->write([&] {
    const std::string json = to_json(record.settings);
    _impl->query("INSERT INTO settings (learned, last_day, json) VALUES (?, ?, ?)")
        .with(std::int64_t{unix_seconds(record.learned)}, day_number(record.last_day), json)
        .run();
  });
}

std::optional<SettingsRecord> Archive::latest_settings() const {
  return _impl->read([&]() -> std::optional<SettingsRecord> {
    Query select =
        _impl->query("SELECT learned, last_day, json FROM settings ORDER BY id DESC LIMIT 1");
    if (!select.next()) return std::nullopt;
    return read_settings(*_impl, select);
  });
}

std::vector<SettingsRecord> Archive::settings() const {
  return _impl->read([&] {
    std::vector<SettingsRecord> found;
    Query select = _impl->query("SELECT learned, last_day, json FROM settings ORDER BY id");
    while (select.next()) found.push_back(read_settings(*_impl, select));
    return found;
  });
}

std::size_t Archive::remove_settings(std::size_t keep) {
  return _impl->write([&] {
    return _impl
        ->query(
            "DELETE FROM settings WHERE id NOT IN"
            " (SELECT id FROM settings ORDER BY id DESC LIMIT ?)")
        .with(static_cast<std::int64_t>(keep))
        .run();
  });
}

void Archive::add_partials(const std::string& work,
                           const std::map<std::string, std::string>& parts) {
  _impl->write([&] {
    _impl->query("DELETE FROM partial WHERE work <> ?").with(work).run();
    for (const auto& [part, result] : parts) {
      _impl->query("INSERT OR REPLACE INTO partial (work, part, result) VALUES (?, ?, ?)")
          .with(work, part, Blob{result})
          .run();
    }
  });
}

std::map<std::string, std::string> Archive::partials(const std::string& work) const {
  return _impl->read([&] {
    std::map<std::string, std::string> parts;
    Query select = _impl->query("SELECT part, result FROM partial WHERE work = ?");
    select.with(work);
    while (select.next()) parts[select.text(0)] = select.text(1);
    return parts;
  });
}

void Archive::remove_partials() {
  _impl->write([&] { _impl->query("DELETE FROM partial").run(); });
}

void Archive::add_timetable(const TimetableRecord& record) {
  _impl->write([&] {
    {
      Query latest = _impl->query("SELECT hash FROM timetable ORDER BY id DESC LIMIT 1");
      if (latest.next() && latest.text(0) == record.hash) return;
    }
    _impl->query("INSERT INTO timetable (name, hash, taken) VALUES (?, ?, ?)")
        .with(record.name, record.hash, std::int64_t{unix_seconds(record.taken)})
        .run();
  });
}

std::vector<TimetableRecord> Archive::timetables() const {
  return _impl->read([&] {
    std::vector<TimetableRecord> found;
    Query select = _impl->query("SELECT name, hash, taken FROM timetable ORDER BY id");
    while (select.next()) {
      found.push_back({select.text(0), select.text(1), from_unix_seconds(select.integer(2))});
    }
    return found;
  });
}

void Archive::add_import(const ImportRecord& record) {
  _impl->write([&] {
    _impl
        ->query(R"sql(
      INSERT INTO import (source, hash, taken, rows, added) VALUES (?, ?, ?, ?, ?)
      ON CONFLICT (source) DO UPDATE SET hash = excluded.hash, taken = excluded.taken,
        rows = excluded.rows, added = excluded.added)sql")
        .with(record.source, record.hash, std::int64_t{unix_seconds(record.taken)},
              static_cast<std::int64_t>(record.rows), static_cast<std::int64_t>(record.added))
        .run();
    _impl->query("DELETE FROM rejection WHERE import = (SELECT id FROM import WHERE source = ?)")
        .with(record.source)
        .run();
    for (const auto& [reason, entry] : record.rejections) {
      _impl
          ->query(
              "INSERT INTO rejection (import, reason, count, first)"
              " SELECT id, ?, ?, ? FROM import WHERE source = ?")
          .with(reason, static_cast<std::int64_t>(entry.count), entry.first, record.source)
          .run();
    }
  });
}

std::vector<ImportRecord> Archive::imports() const {
  return _impl->read([&] {
    std::vector<ImportRecord> found;
    Query select =
        _impl->query("SELECT source, hash, taken, rows, added, id FROM import ORDER BY source");
    while (select.next()) {
      ImportRecord record{select.text(0),
                          select.text(1),
                          from_unix_seconds(select.integer(2)),
                          static_cast<std::uint64_t>(select.integer(3)),
                          static_cast<std::uint64_t>(select.integer(4)),
                          {}};
      Query rejections =
          _impl->query("SELECT reason, count, first FROM rejection WHERE import = ?");
      rejections.with(select.integer(5));
      while (rejections.next()) {
        record.rejections.emplace(
            rejections.text(0), Rejections::Entry{static_cast<std::uint64_t>(rejections.integer(1)),
                                                  rejections.text(2)});
      }
      found.push_back(std::move(record));
    }
    return found;
  });
}

}  // namespace qiv
