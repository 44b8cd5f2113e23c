#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "model/rejections.h"

namespace qiv {

/// What one row of a table may take. A row beyond it is a rejection, not memory.
struct CsvLimits {
  std::size_t field_bytes = std::size_t{1} << 20U;
  std::size_t row_bytes = std::size_t{4} << 20U;
  std::size_t columns = 1000;  ///< further columns of the header are not seen
};

/// A column of a table, or none of it.
class CsvColumn {
 public:
  CsvColumn() = default;
  explicit CsvColumn(std::size_t index) : _index(index) {}

  bool present() const { return _index != none; }
  std::size_t index() const { return _index; }

 private:
  static constexpr std::size_t none = std::numeric_limits<std::size_t>::max();
  std::size_t _index = none;
};

/// Where a row begins, to quote it later.
struct CsvRow {
  std::size_t offset = 0;  ///< in bytes
  std::size_t line = 1;
};

/// Reads the rows of a table (RFC 4180, first row the header) out of text that outlives the reader.
///
/// Tolerated: a byte order mark; lines ended by LF, CR LF or CR; blank lines, which are no rows;
/// rows with too few fields (the rest is empty) or too many (the rest is not seen); blanks around
/// unquoted fields and outside of quotes; a quote within an unquoted field; text after a closing
/// quote, which is appended. Quoted fields may hold separators, line ends and doubled quotes.
class CsvReader {
 public:
  /// Reads the header. `file` is the name to quote; what is not readable goes to `rejections`, one
  /// for each row. Both `text` and `rejections` must outlive the reader.
  CsvReader(std::string_view text, std::string file, Rejections& rejections,
            const CsvLimits& limits = {});
  CsvReader(const CsvReader&) = delete;
  CsvReader& operator=(const CsvReader&) = delete;

  /// The first column whose header is `name`.
  CsvColumn column(std::string_view name) const;

  /// Goes to the next readable row; false at the end.
  bool next();

  /// A field of the present row, valid until the next call of `next`. Empty if the table lacks the
  /// column or the row is too short.
  std::string_view field(CsvColumn column) const {
    return column.index() < _fields.size() ? _fields[column.index()].text : std::string_view();
  }

  const std::string& file() const { return _file; }
  /// The present row.
  CsvRow row() const { return _row; }
  /// Rows so far, the header not counted, the rejected ones counted.
  std::size_t rows() const { return _rows; }
  /// "file:line: content" of a row.
  std::string quote(CsvRow row) const;

 private:
  struct Field {
    std::string_view text;
    bool has_quotes = false;  // `text` still holds quotes to be undone
  };
  enum class Fault { none, field_too_long, row_too_long, quote_not_closed };

  bool skip_blank_lines();
  Fault parse_row(std::size_t max_fields);
  bool parse_field(std::size_t max_fields);
  bool parse_quoted_field(std::size_t begin, std::size_t max_fields);
  bool end_field(std::size_t end);
  void store(std::string_view text, bool has_quotes, std::size_t max_fields);
  void undo_quotes();
  std::size_t skip_blanks(std::size_t at) const;
  std::size_t find_field_end(std::size_t at) const;

  std::string_view _text;
  std::string _file;
  Rejections* _rejections;
  CsvLimits _limits;
  std::vector<std::string> _header;
  std::vector<Field> _fields;
  std::string _undone;
  std::size_t _at = 0;
  std::size_t _line = 1;
  std::size_t _rows = 0;
  CsvRow _row;
  Fault _fault = Fault::none;
};

}  // namespace qiv
