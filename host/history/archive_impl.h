#pragma once

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Exception.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <utility>

#include "history/archive.h"
#include "history/archive_query.h"

namespace qiv {

/// What the parts of the archive share: the connection, its prepared statements, the dictionary of
/// names, transactions and errors.
struct Archive::Impl {
  Impl(const std::filesystem::path& file, const ArchiveOptions& options);

  /// Runs `work` in a transaction that writes; a part of the one under way if there is one.
  template <class Work>
  auto write(Work&& work) {
    return translated([&] {
      Transaction transaction(*this, true);
      return finished(transaction, work);
    });
  }

  /// Runs `work` in a transaction that sees one state of the archive.
  template <class Work>
  auto read(Work&& work) {
    return translated([&] {
      Transaction transaction(*this, false);
      return finished(transaction, work);
    });
  }

  /// Runs `work` and makes ArchiveErrors of what the database throws.
  template <class Work>
  auto translated(Work&& work) {
    try {
      return work();
    } catch (const SQLite::Exception& error) {
      throw_translated(error);
    }
  }

  /// A use of the statement `sql`, which must be a literal.
  Query query(const char* sql);

  /// The number of a name, which is made if it is not there.
  std::int64_t intern(const std::string& text);
  template <class Tag>
  std::int64_t intern(const Identifier<Tag>& id) {
    return intern(id.text());
  }
  /// The number of a name, if it is there.
  std::optional<std::int64_t> find(const std::string& text);
  /// The name of a number.
  const std::string& name(std::int64_t number);

  /// Adds a run; one of the same vehicle, trip and recorded day replaces the earlier one.
  void insert_run(const ArchivedRun& run, std::int64_t followed);
  /// The run of the row (trip, day, start, vehicle, pattern, progress, times of the calls,
  /// followed) that `select` is at.
  ArchivedRun read_run(const Query& select);
  std::int64_t intern_calls(const std::vector<Call>& calls);
  /// The trip whose name, day and start are in three columns from `column` on.
  TripKey read_key(const Query& query, int column);

  std::optional<std::int64_t> find_under_way(const VehicleId& vehicle, const TripKey& trip);
  /// The number of a trip under way, which is made if it is not there.
  std::int64_t open_under_way(const VehicleId& vehicle, const TripKey& trip,
                              const PatternRef& pattern);
  void remove_under_way(const VehicleId& vehicle, const TripKey& trip);
  void insert_progress(std::int64_t under_way, const Progress& progress);
  std::vector<Progress> read_progress(std::int64_t under_way, const TripRun& run);

  /// The outline of the row (ref, route, direction, length_m) that `select` is at.
  PatternOutline read_pattern(const Query& select);

  [[noreturn]] void throw_damaged(const std::string& what) const;

  void forget_names();
  SQLite::Database& database() { return _database; }

 private:
  /// A transaction, or a savepoint within one. Undone unless `commit` is called.
  class Transaction {
   public:
    Transaction(Impl& archive, bool writes);
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction();
    void commit();

   private:
    Impl& _archive;
    bool _open = true;
  };

  template <class Work>
  static auto finished(Transaction& transaction, Work& work) {
    if constexpr (std::is_void_v<decltype(work())>) {
      work();
      transaction.commit();
    } else {
      auto result = work();
      transaction.commit();
      return result;
    }
  }

  [[noreturn]] void throw_translated(const SQLite::Exception& error) const;
  void check_content();
  void bring_up_to_date(const ArchiveOptions& options);
  void use_write_ahead_log(std::chrono::milliseconds patience);
  std::int64_t pragma(const char* sql);

  std::filesystem::path _file;
  SQLite::Database _database;
  std::unordered_map<std::string_view, SQLite::Statement> _statements;
  std::unordered_map<std::string, std::int64_t> _number_of;
  std::unordered_map<std::int64_t, std::string> _name_of;
  std::int64_t _data_version = -1;
  int _depth = 0;
};

/// Writes a day of service as the archive does, in days since 1970.
inline std::int64_t day_number(ServiceDate day) {
  return day.days().time_since_epoch().count();
}
inline ServiceDate day_of(std::int64_t number) {
  return ServiceDate(std::chrono::sys_days(std::chrono::days(number)));
}

}  // namespace qiv
