#include "feed/gtfs_table.h"

#include <stdexcept>
#include <utility>

namespace qiv {

GtfsTable::GtfsTable(std::string file, std::optional<std::string> content, const CsvLimits& limits,
                     GtfsResult& result)
    : _file(std::move(file)),
      _exists(content.has_value()),
      _content(std::move(content).value_or(std::string())),
      _result(result),
      _csv(_content, _file, result.rejections, limits),
      _count(_exists ? &result.tables[_file] : nullptr) {}

bool GtfsTable::next() {
  if (_count == nullptr) return false;
  const bool found = _csv.next();
  _count->rows = _csv.rows();
  if (found) ++_count->used;
  return found;
}

void GtfsTable::require(std::initializer_list<std::string_view> columns) const {
  for (const std::string_view name : columns) {
    if (column(name).present()) continue;
    throw std::runtime_error(_file + ":1: no column '" + std::string(name) +
                             "': check that the first row names the columns of a GTFS table");
  }
}

void GtfsTable::reject(std::string_view reason, CsvRow row) {
  --_count->used;
  _result.rejections.add(_file + ": " + std::string(reason), [&] { return _csv.quote(row); });
}

void GtfsTable::remark(std::string_view what, CsvRow row) {
  _result.remarks.add(_file + ": " + std::string(what), [&] { return _csv.quote(row); });
}

}  // namespace qiv
