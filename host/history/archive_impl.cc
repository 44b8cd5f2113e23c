#include "history/archive_impl.h"

#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

#include "history/archive_schema.h"

namespace qiv {
namespace {

using Kind = ArchiveError::Kind;

std::string quoted(const std::filesystem::path& file) {
  return "'" + file.string() + "'";
}

/// The file as SQLite is to open it, after the questions that it would answer less clearly.
std::string existing(const std::filesystem::path& file, const ArchiveOptions& options) {
  std::error_code ignored;
  const bool exists = std::filesystem::exists(file, ignored);
  if (!exists && options.access == ArchiveOptions::Access::read) {
    throw ArchiveError(Kind::missing, "there is no archive " + quoted(file) +
                                          ": check the path, or make the city first");
  }
  const auto folder = file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
  if (!exists && !std::filesystem::is_directory(folder, ignored)) {
    throw ArchiveError(Kind::missing, "the archive " + quoted(file) + " cannot be made: " +
                                          quoted(folder) + " is not a folder; make it first");
  }
  if (exists && !std::filesystem::is_regular_file(file, ignored)) {
    throw ArchiveError(Kind::not_an_archive, quoted(file) + " is not a file: check the path");
  }
  return file.string();
}

int open_flags(const ArchiveOptions& options) {
  return options.access == ArchiveOptions::Access::read
             ? SQLite::OPEN_READONLY
             : SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE;
}

bool is_full(int extended_code, int system_error) {
  return (extended_code & 0xff) == SQLITE_FULL ||
         (extended_code == SQLITE_IOERR_WRITE &&
          (system_error == ENOSPC || system_error == EDQUOT || system_error == EFBIG));
}

Kind kind_of(int extended_code, int system_error) {
  if (is_full(extended_code, system_error)) return Kind::full;
  switch (extended_code & 0xff) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return Kind::locked;
    case SQLITE_READONLY:
    case SQLITE_PERM:
      return Kind::read_only;
    case SQLITE_NOTADB:
      return Kind::not_an_archive;
    case SQLITE_CORRUPT:
      return Kind::damaged;
    default:
      return Kind::failed;
  }
}

const char* cause_and_remedy(Kind kind) {
  switch (kind) {
    case Kind::full:
      return "cannot grow: make room on the disk or raise the limit, or remove old days";
    case Kind::locked:
      return "is being written by another program: wait for it to end, or stop it";
    case Kind::read_only:
      return "cannot be written: give write permission for the file and its folder";
    case Kind::not_an_archive:
      return "is not an archive: check the path";
    case Kind::damaged:
      return "is damaged: restore it from a backup, or move it away and import the recordings "
             "again";
    default:
      return "could not be used: check that the file and its folder may be read and written";
  }
}

[[noreturn]] void throw_error(const std::filesystem::path& file, Kind kind,
                              const std::string& detail) {
  throw ArchiveError(
      kind, "the archive " + quoted(file) + " " + cause_and_remedy(kind) + " (" + detail + ")");
}

SQLite::Database opened(const std::filesystem::path& file, const ArchiveOptions& options) {
  const std::string name = existing(file, options);
  try {
    return SQLite::Database(name, open_flags(options), static_cast<int>(options.patience.count()));
  } catch (const SQLite::Exception& error) {
    throw_error(file, kind_of(error.getExtendedErrorCode(), 0), error.getErrorStr());
  }
}

}  // namespace

Archive::Impl::Impl(const std::filesystem::path& file, const ArchiveOptions& options)
    : _file(file), _database(opened(file, options)) {
  translated([&] {
    check_content();
    if (options.access == ArchiveOptions::Access::read) {
      if (pragma("PRAGMA user_version") < archive_version) {
        throw ArchiveError(Kind::older,
                           "the archive " + quoted(_file) +
                               " was written by an earlier version of the program: "
                               "open it once for writing, as recording and learning do");
      }
    } else {
      bring_up_to_date(options);
    }
  });
}

std::int64_t Archive::Impl::pragma(const char* sql) {
  return _database.execAndGet(sql).getInt64();
}

/// Throws unless the file is empty or an archive that this program understands. All three answers
/// are of one state of the file, which another program may be making at this moment.
void Archive::Impl::check_content() {
  std::int64_t application = 0;
  std::int64_t version = 0;
  bool empty = true;
  read([&] {
    application = pragma("PRAGMA application_id");
    version = pragma("PRAGMA user_version");
    empty = pragma("SELECT count(*) FROM sqlite_master") == 0;
  });
  const bool ours = application == archive_application_id;
  if (!ours && (application != 0 || version != 0 || !empty)) {
    throw_error(_file, Kind::not_an_archive, "it is the database of another program");
  }
  if (ours && (version < 1 || empty)) throw_damaged("it has no version");
  if (version > archive_version) {
    throw ArchiveError(Kind::newer,
                       "the archive " + quoted(_file) + " was written by a later version of the " +
                           "program (format " + std::to_string(version) + ", this one knows " +
                           std::to_string(archive_version) + "): use that version");
  }
}

void Archive::Impl::bring_up_to_date(const ArchiveOptions& options) {
  if (sqlite3_db_readonly(_database.getHandle(), "main") == 1) {
    throw_error(_file, Kind::read_only, "it is write-protected");
  }
  if (options.size_limit_bytes > 0) {
    const auto pages = std::max<std::uint64_t>(
        1, options.size_limit_bytes / static_cast<std::uint64_t>(pragma("PRAGMA page_size")));
    pragma(("PRAGMA max_page_count = " + std::to_string(pages)).c_str());
  }
  _database.exec("PRAGMA synchronous = FULL");
  use_write_ahead_log(options.patience);
  write([&] {
    check_content();
    const auto version = static_cast<int>(pragma("PRAGMA user_version"));
    if (version < archive_version) migrate(_database, version, archive_version);
  });
}

/// The change of mode answers "locked" at once, whatever the patience, while another program opens
/// the new file at the same time; each round waits for that program's write to end.
void Archive::Impl::use_write_ahead_log(std::chrono::milliseconds patience) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  constexpr const char* change = "PRAGMA journal_mode = WAL";
  while ((_database.tryExec(change) & 0xff) == SQLITE_BUSY) {
    if (std::chrono::steady_clock::now() >= deadline) {
      _database.exec(change);  // says in its error what is in the way
      return;
    }
    _database.exec("BEGIN IMMEDIATE; COMMIT");
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

Query Archive::Impl::query(const char* sql) {
  const auto entry = _statements.find(sql);
  if (entry != _statements.end()) return Query(entry->second);
  return Query(_statements.emplace(sql, SQLite::Statement(_database, sql)).first->second);
}

std::optional<std::int64_t> Archive::Impl::find(const std::string& text) {
  const auto known = _number_of.find(text);
  if (known != _number_of.end()) return known->second;
  Query select = query("SELECT id FROM name WHERE text = ?");
  if (!select.with(text).next()) return std::nullopt;
  return _number_of.emplace(text, select.integer(0)).first->second;
}

std::int64_t Archive::Impl::intern(const std::string& text) {
  if (const auto number = find(text)) return *number;
  query("INSERT INTO name (text) VALUES (?)").with(text).run();
  return _number_of.emplace(text, _database.getLastInsertRowid()).first->second;
}

const std::string& Archive::Impl::name(std::int64_t number) {
  const auto known = _name_of.find(number);
  if (known != _name_of.end()) return known->second;
  Query select = query("SELECT text FROM name WHERE id = ?");
  if (!select.with(number).next()) throw_damaged("name " + std::to_string(number) + " is missing");
  return _name_of.emplace(number, select.text(0)).first->second;
}

void Archive::Impl::forget_names() {
  _number_of.clear();
  _name_of.clear();
}

void Archive::Impl::throw_damaged(const std::string& what) const {
  throw_error(_file, Kind::damaged, what);
}

void Archive::Impl::throw_translated(const SQLite::Exception& error) const {
  const int system_error = sqlite3_system_errno(_database.getHandle());
  throw_error(_file, kind_of(error.getExtendedErrorCode(), system_error), error.getErrorStr());
}

Archive::Impl::Transaction::Transaction(Impl& archive, bool writes) : _archive(archive) {
  SQLite::Database& database = _archive._database;
  if (_archive._depth == 0) {
    database.exec(writes ? "BEGIN IMMEDIATE" : "BEGIN");
    const std::int64_t version = _archive.pragma("PRAGMA data_version");
    if (version != _archive._data_version) _archive.forget_names();
    _archive._data_version = version;
  } else {
    if (sqlite3_get_autocommit(database.getHandle()) != 0) {
      throw SQLite::Exception("the transaction was undone after an error", SQLITE_ABORT);
    }
    database.exec("SAVEPOINT part");
  }
  ++_archive._depth;
}

void Archive::Impl::Transaction::commit() {
  _archive._database.exec(_archive._depth == 1 ? "COMMIT" : "RELEASE part");
  --_archive._depth;
  _open = false;
}

Archive::Impl::Transaction::~Transaction() {
  if (!_open) return;
  --_archive._depth;
  _archive.forget_names();
  _archive._database.tryExec(_archive._depth == 0 ? "ROLLBACK" : "ROLLBACK TO part; RELEASE part");
}

}  // namespace qiv
