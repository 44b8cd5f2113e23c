#pragma once

#include <SQLiteCpp/Database.h>

namespace qiv {

/// The version of the archive's tables that this program writes (`PRAGMA user_version`).
inline constexpr int archive_version = 3;

/// `PRAGMA application_id` of an archive: "qiva".
inline constexpr int archive_application_id = 0x71697661;

/// Makes the tables of version `to` from those of version `from`, 0 being an empty file, and notes
/// the version. To be called within a transaction. Precondition: 0 <= `from` <= `to` <=
/// `archive_version`.
void migrate(SQLite::Database& database, int from, int to);

}  // namespace qiv
