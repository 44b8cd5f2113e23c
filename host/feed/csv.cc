#include "feed/csv.h"

#include <algorithm>
#include <utility>

#include "feed/quotation.h"

namespace qiv {
namespace {

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

bool is_blank(char c) {
  return c == ' ' || c == '\t';
}

bool is_line_end(char c) {
  return c == '\n' || c == '\r';
}

std::string_view trim_end(std::string_view text) {
  while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
  return text;
}

std::size_t count_line_ends(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n' || (text[i] == '\r' && (i + 1 == text.size() || text[i + 1] != '\n')))
      ++count;
  }
  return count;
}

void append_without_quotes(std::string_view text, std::string& out) {
  bool quoted = true;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!quoted || text[i] != '"') {
      out += text[i];
    } else if (i + 1 < text.size() && text[i + 1] == '"') {
      out += '"';
      ++i;
    } else {
      quoted = false;
    }
  }
}

}  // namespace

CsvReader::CsvReader(std::string_view text, std::string file, Rejections& rejections,
                     const CsvLimits& limits)
    : _text(text), _file(std::move(file)), _rejections(&rejections), _limits(limits) {
  if (_text.starts_with(byte_order_mark)) _at = byte_order_mark.size();
  if (!skip_blank_lines() || parse_row(_limits.columns) != Fault::none) return;
  for (const Field& name : _fields) _header.emplace_back(trim_end(name.text));
  _fields.clear();
}

CsvColumn CsvReader::column(std::string_view name) const {
  const auto found = std::find(_header.begin(), _header.end(), name);
  if (found == _header.end()) return {};
  return CsvColumn(static_cast<std::size_t>(found - _header.begin()));
}

bool CsvReader::next() {
  while (skip_blank_lines()) {
    ++_rows;
    const Fault fault = parse_row(_header.size());
    if (fault == Fault::none) return true;
    const char* const reason = fault == Fault::field_too_long ? ": field too long"
                               : fault == Fault::row_too_long ? ": row too long"
                                                              : ": quote never closed";
    _rejections->add(_file + reason, [&] { return quote(_row); });
  }
  _fields.clear();
  return false;
}

std::string CsvReader::quote(CsvRow row) const {
  const std::string_view rest = _text.substr(row.offset);
  const auto end = std::find_if(rest.begin(), rest.end(), is_line_end);
  return quotation(_file, row.line, rest.substr(0, static_cast<std::size_t>(end - rest.begin())));
}

bool CsvReader::skip_blank_lines() {
  while (true) {
    const std::size_t at = skip_blanks(_at);
    if (at == _text.size()) return false;
    if (!is_line_end(_text[at])) return true;
    end_field(at);
  }
}

CsvReader::Fault CsvReader::parse_row(std::size_t max_fields) {
  _fields.clear();
  _fault = Fault::none;
  _row = {_at, _line};
  while (parse_field(max_fields)) {
  }
  if (_fault == Fault::none && _at - _row.offset > _limits.row_bytes) _fault = Fault::row_too_long;
  if (_fault == Fault::none) {
    undo_quotes();
  } else {
    _fields.clear();
  }
  return _fault;
}

// True if another field of the row follows.
bool CsvReader::parse_field(std::size_t max_fields) {
  const std::size_t begin = skip_blanks(_at);
  if (begin < _text.size() && _text[begin] == '"') return parse_quoted_field(begin + 1, max_fields);
  const std::size_t end = find_field_end(begin);
  store(trim_end(_text.substr(begin, end - begin)), false, max_fields);
  return end_field(end);
}

bool CsvReader::parse_quoted_field(std::size_t begin, std::size_t max_fields) {
  bool has_quotes = false;
  std::size_t quote = _text.find('"', begin);
  while (quote != std::string_view::npos && quote + 1 < _text.size() && _text[quote + 1] == '"') {
    has_quotes = true;
    quote = _text.find('"', quote + 2);
  }
  if (quote == std::string_view::npos) {
    _fault = Fault::quote_not_closed;
    return end_field(_text.size());
  }
  _line += count_line_ends(_text.substr(begin, quote - begin));
  const std::size_t end = find_field_end(quote + 1);
  const bool has_tail = skip_blanks(quote + 1) < end;
  if (has_quotes || has_tail) {
    const std::string_view content = _text.substr(begin, (has_tail ? end : quote) - begin);
    store(has_tail ? trim_end(content) : content, true, max_fields);
  } else {
    store(_text.substr(begin, quote - begin), false, max_fields);
  }
  return end_field(end);
}

// Steps over the separator or line end at `end`; true after a separator.
bool CsvReader::end_field(std::size_t end) {
  _at = end;
  if (end == _text.size()) return false;
  ++_at;
  if (_text[end] == ',') return true;
  if (_text[end] == '\r' && _at < _text.size() && _text[_at] == '\n') ++_at;
  ++_line;
  return false;
}

void CsvReader::store(std::string_view text, bool has_quotes, std::size_t max_fields) {
  if (text.size() > _limits.field_bytes && _fault == Fault::none) _fault = Fault::field_too_long;
  if (_fields.size() < max_fields) _fields.push_back({text, has_quotes});
}

void CsvReader::undo_quotes() {
  std::size_t needed = 0;
  for (const Field& field : _fields) needed += field.has_quotes ? field.text.size() : 0;
  if (needed == 0) return;
  _undone.clear();
  _undone.reserve(needed);
  for (Field& field : _fields) {
    if (!field.has_quotes) continue;
    const std::size_t begin = _undone.size();
    append_without_quotes(field.text, _undone);
    field = {std::string_view(_undone).substr(begin), false};
  }
}

std::size_t CsvReader::skip_blanks(std::size_t at) const {
  while (at < _text.size() && is_blank(_text[at])) ++at;
  return at;
}

std::size_t CsvReader::find_field_end(std::size_t at) const {
  while (at < _text.size() && _text[at] != ',' && !is_line_end(_text[at])) ++at;
  return at;
}

}  // namespace qiv
