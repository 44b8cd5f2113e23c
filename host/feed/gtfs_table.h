#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "feed/csv.h"
#include "feed/gtfs.h"

namespace qiv {

/// From the names of a feed to indices.
class NameIndex {
 public:
  std::optional<std::uint32_t> find(std::string_view name) const {
    const auto found = _indices.find(name);
    if (found == _indices.end()) return std::nullopt;
    return found->second;
  }
  /// False if `name` has an index already, which then stays.
  bool add(std::string_view name, std::uint32_t index) {
    return _indices.try_emplace(std::string(name), index).second;
  }

 private:
  struct Hash : std::hash<std::string_view> {
    using is_transparent = void;
  };
  std::unordered_map<std::string, std::uint32_t, Hash, std::equal_to<>> _indices;
};

/// One table of a GTFS feed while it is read; counts its rows, used and rejected, into the result.
class GtfsTable {
 public:
  /// A table without content has no rows. `result` must outlive the table.
  GtfsTable(std::string file, std::optional<std::string> content, const CsvLimits& limits,
            GtfsResult& result);

  bool next();
  bool exists() const { return _exists; }
  CsvRow row() const { return _csv.row(); }
  CsvColumn column(std::string_view name) const { return _csv.column(name); }
  std::string_view operator[](CsvColumn column) const { return _csv.field(column); }

  /// Throws std::runtime_error unless all of `columns` are there.
  void require(std::initializer_list<std::string_view> columns) const;

  /// The present row, or an earlier one that was taken as used so far, is not used.
  void reject(std::string_view reason) { reject(reason, row()); }
  void reject(std::string_view reason, CsvRow row);
  /// The row is used, but not as it stands.
  void remark(std::string_view what) { remark(what, row()); }
  void remark(std::string_view what, CsvRow row);

 private:
  std::string _file;
  bool _exists;
  std::string _content;
  GtfsResult& _result;
  CsvReader _csv;
  TableCount* _count;
};

}  // namespace qiv
