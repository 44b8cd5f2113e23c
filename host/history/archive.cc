#include "history/archive.h"

#include <string>

#include "history/archive_impl.h"
#include "history/archive_schema.h"

namespace qiv {

Archive::Archive(const std::filesystem::path& file, ArchiveOptions options)
    : _impl(std::make_unique<Impl>(file, options)) {}
Archive::Archive(Archive&&) noexcept = default;
Archive& Archive::operator=(Archive&&) noexcept = default;
Archive::~Archive() = default;

void Archive::together(const std::function<void()>& writes) {
  _impl->write([&] { writes(); });
}

ArchiveSummary Archive::summary() const {
  return _impl->read([&] {
    ArchiveSummary summary;
    const auto instant = [](std::int64_t seconds) { return from_unix_seconds(seconds); };
    {
      Query version = _impl->query("SELECT user_version FROM pragma_user_version");
      if (version.next()) summary.version = static_cast<int>(version.integer(0));
      Query size =
          _impl->query("SELECT page_count * page_size FROM pragma_page_count, pragma_page_size");
      if (size.next()) summary.bytes = static_cast<std::uint64_t>(size.integer(0));
    }
    {
      Query positions = _impl->query("SELECT count(*), min(received), max(received) FROM position");
      positions.next();
      summary.positions = static_cast<std::uint64_t>(positions.integer(0));
      if (summary.positions > 0) {
        summary.first_received = instant(positions.integer(1));
        summary.last_received = instant(positions.integer(2));
      }
    }
    {
      Query runs = _impl->query("SELECT count(*), min(day), max(day) FROM run");
      runs.next();
      summary.runs = static_cast<std::uint64_t>(runs.integer(0));
      if (summary.runs > 0) {
        summary.first_day = day_of(runs.integer(1));
        summary.last_day = day_of(runs.integer(2));
      }
    }
    Query under_way = _impl->query("SELECT count(*) FROM under_way");
    under_way.next();
    summary.under_way = static_cast<std::uint64_t>(under_way.integer(0));
    return summary;
  });
}

void Archive::compact() {
  _impl->write([&] {
    _impl
        ->query(
            "DELETE FROM calls WHERE id NOT IN "
            "(SELECT calls FROM run WHERE calls IS NOT NULL)")
        .run();
    _impl
        ->query(R"sql(
      DELETE FROM name WHERE id <> 0 AND id NOT IN (
        SELECT vehicle FROM position UNION SELECT trip FROM position
        UNION SELECT route FROM position UNION SELECT stop FROM position
        UNION SELECT vehicle FROM run UNION SELECT trip FROM run UNION SELECT pattern FROM run
        UNION SELECT ref FROM pattern UNION SELECT route FROM pattern
        UNION SELECT stop FROM pattern_stop
        UNION SELECT vehicle FROM under_way UNION SELECT trip FROM under_way
        UNION SELECT pattern FROM under_way))sql")
        .run();
    _impl->forget_names();
  });
  _impl->translated([&] { _impl->database().exec("VACUUM"); });
}

}  // namespace qiv
