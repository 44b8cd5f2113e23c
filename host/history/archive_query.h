#pragma once

#include <SQLiteCpp/Column.h>
#include <SQLiteCpp/Statement.h>

#include <cstdint>
#include <optional>
#include <string>

namespace qiv {

/// Bytes that are bound as they are, without a copy.
struct Blob {
  const std::string& bytes;
};

/// One use of a prepared statement, which is ready for the next when this ends.
class Query {
 public:
  explicit Query(SQLite::Statement& statement) : _statement(statement) {}
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;
  ~Query() { _statement.tryReset(); }

  /// Binds the values to the statement's parameters, in order. Texts and bytes must outlive the
  /// use.
  template <class... Values>
  Query& with(const Values&... values) {
    int index = 0;
    (bind(++index, values), ...);
    return *this;
  }

  void bind(int index, std::int64_t value) { _statement.bind(index, value); }
  void bind(int index, double value) { _statement.bind(index, value); }
  void bind(int index, const std::string& text) { _statement.bindNoCopy(index, text); }
  void bind(int index, Blob blob) {
    _statement.bindNoCopy(index, static_cast<const void*>(blob.bytes.data()),
                          static_cast<int>(blob.bytes.size()));
  }
  void bind_null(int index) { _statement.bind(index); }
  template <class Value>
  void bind(int index, const std::optional<Value>& value) {
    value ? bind(index, *value) : bind_null(index);
  }

  /// Goes to the next row; false behind the last.
  bool next() { return _statement.executeStep(); }
  /// Runs a statement without rows and returns how many rows it changed.
  std::size_t run() { return static_cast<std::size_t>(_statement.exec()); }

  SQLite::Column column(int index) const { return _statement.getColumn(index); }
  bool is_null(int index) const { return _statement.isColumnNull(index); }
  std::int64_t integer(int index) const { return column(index).getInt64(); }
  double real(int index) const { return column(index).getDouble(); }
  std::string text(int index) const { return column(index).getString(); }
  std::optional<std::int64_t> optional_integer(int index) const {
    return is_null(index) ? std::nullopt : std::optional(integer(index));
  }

 private:
  SQLite::Statement& _statement;
};

}  // namespace qiv
