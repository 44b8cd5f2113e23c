#include "history/archive_schema.h"

#include <array>
#include <string>

namespace qiv {
namespace {

/// What turns version i into version i + 1.
constexpr std::array<const char*, archive_version> steps = {
    R"sql(
      CREATE TABLE name (id INTEGER PRIMARY KEY, text TEXT NOT NULL UNIQUE);
      INSERT INTO name (id, text) VALUES (0, '');

      CREATE TABLE position (
        received INTEGER NOT NULL,
        serial INTEGER NOT NULL,
        age INTEGER NOT NULL,
        time_is_received INTEGER NOT NULL,
        vehicle INTEGER NOT NULL,
        trip INTEGER NOT NULL,
        route INTEGER NOT NULL,
        direction INTEGER,
        start_date INTEGER,
        start_time INTEGER,
        lat,
        lon,
        bearing,
        speed,
        stop INTEGER NOT NULL,
        stop_sequence INTEGER,
        status INTEGER,
        PRIMARY KEY (received, serial)
      ) WITHOUT ROWID;

      CREATE TABLE run (
        id INTEGER PRIMARY KEY,
        vehicle INTEGER NOT NULL,
        trip INTEGER NOT NULL,
        day INTEGER NOT NULL,
        start INTEGER NOT NULL,
        pattern INTEGER NOT NULL,
        finished INTEGER NOT NULL,
        progress BLOB NOT NULL,
        UNIQUE (trip, day, start, vehicle)
      );
      CREATE INDEX run_by_pattern ON run (pattern, finished);
      CREATE INDEX run_by_day ON run (day);

      CREATE TABLE settings (
        id INTEGER PRIMARY KEY,
        learned INTEGER NOT NULL,
        last_day INTEGER NOT NULL,
        json TEXT NOT NULL
      );

      CREATE TABLE timetable (
        id INTEGER PRIMARY KEY,
        name TEXT NOT NULL,
        hash TEXT NOT NULL,
        taken INTEGER NOT NULL
      );

      CREATE TABLE import (
        id INTEGER PRIMARY KEY,
        source TEXT NOT NULL UNIQUE,
        hash TEXT NOT NULL,
        taken INTEGER NOT NULL,
        rows INTEGER NOT NULL,
        added INTEGER NOT NULL
      );
      CREATE TABLE rejection (
        import INTEGER NOT NULL,
        reason TEXT NOT NULL,
        count INTEGER NOT NULL,
        first TEXT NOT NULL,
        PRIMARY KEY (import, reason)
      ) WITHOUT ROWID;
    )sql",
    R"sql(
      CREATE TABLE calls (id INTEGER PRIMARY KEY, times BLOB NOT NULL UNIQUE);
      ALTER TABLE run ADD COLUMN calls INTEGER;

      CREATE TABLE pattern (
        ref INTEGER PRIMARY KEY,
        route INTEGER NOT NULL,
        direction INTEGER,
        length_m REAL NOT NULL
      );
      CREATE TABLE pattern_stop (
        pattern INTEGER NOT NULL,
        serial INTEGER NOT NULL,
        stop INTEGER NOT NULL,
        offset_m REAL NOT NULL,
        PRIMARY KEY (pattern, serial)
      ) WITHOUT ROWID;

      CREATE TABLE under_way (
        id INTEGER PRIMARY KEY,
        vehicle INTEGER NOT NULL,
        trip INTEGER NOT NULL,
        day INTEGER NOT NULL,
        start INTEGER NOT NULL,
        pattern INTEGER NOT NULL,
        UNIQUE (trip, day, start, vehicle)
      );
      CREATE TABLE progress (
        under_way INTEGER NOT NULL,
        time INTEGER NOT NULL,
        offset_m REAL NOT NULL,
        evidence INTEGER NOT NULL,
        received INTEGER NOT NULL,
        error_m REAL NOT NULL,
        PRIMARY KEY (under_way, time, offset_m, evidence)
      ) WITHOUT ROWID;
    )sql",
    R"sql(
      CREATE TABLE recorded (quarter INTEGER PRIMARY KEY, changes INTEGER NOT NULL);
      INSERT INTO recorded (quarter, changes)
        SELECT (received - (received % 900 + 900) % 900) / 900, count(*) FROM position GROUP BY 1;

      CREATE TABLE followed (day INTEGER PRIMARY KEY, state TEXT NOT NULL);
      DROP INDEX run_by_pattern;
      DROP INDEX run_by_day;
      ALTER TABLE run RENAME TO run_of_version_2;
      CREATE TABLE run (
        id INTEGER PRIMARY KEY,
        vehicle INTEGER NOT NULL,
        trip INTEGER NOT NULL,
        day INTEGER NOT NULL,
        start INTEGER NOT NULL,
        followed INTEGER NOT NULL,
        pattern INTEGER NOT NULL,
        finished INTEGER NOT NULL,
        progress BLOB NOT NULL,
        calls INTEGER,
        UNIQUE (trip, day, start, vehicle, followed)
      );
      INSERT INTO run (id, vehicle, trip, day, start, followed, pattern, finished, progress, calls)
        SELECT id, vehicle, trip, day, start, 0, pattern, finished, progress, calls
        FROM run_of_version_2;
      DROP TABLE run_of_version_2;
      CREATE INDEX run_by_pattern ON run (pattern, finished);
      CREATE INDEX run_by_day ON run (day);
      CREATE INDEX run_by_followed ON run (followed);

      CREATE TABLE partial (
        work TEXT NOT NULL,
        part TEXT NOT NULL,
        result BLOB NOT NULL,
        PRIMARY KEY (work, part)
      ) WITHOUT ROWID;
    )sql",
};

}  // namespace

void migrate(SQLite::Database& database, int from, int to) {
  for (int version = from; version < to; ++version) {
    database.exec(steps[static_cast<std::size_t>(version)]);
  }
  database.exec("PRAGMA application_id = " + std::to_string(archive_application_id));
  database.exec("PRAGMA user_version = " + std::to_string(to));
}

}  // namespace qiv
