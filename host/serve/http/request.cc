#include "serve/http/request.h"

#include <algorithm>

#include "serve/http/error.h"

namespace qiv {
namespace {

[[noreturn]] void refuse(const std::string& message) {
  throw HttpError(HttpErrorCode::bad_request, message,
                  "Ask for a path such as /api/v1/status; write special characters as %XX.");
}

int hex_digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string decode(std::string_view text, bool plus_is_blank) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c == '+' && plus_is_blank) {
      c = ' ';
    } else if (c == '%') {
      const int high = i + 2 < text.size() ? hex_digit(text[i + 1]) : -1;
      const int low = i + 2 < text.size() ? hex_digit(text[i + 2]) : -1;
      if (high < 0 || low < 0) refuse("The address has a '%' that is not followed by two digits.");
      c = static_cast<char>(high * 16 + low);
      i += 2;
    }
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
      refuse("The address has a control character.");
    }
    out += c;
  }
  return out;
}

/// Without scheme and host, which a request to a proxy states.
std::string_view path_of(std::string_view text) {
  for (const std::string_view scheme : {"http://", "https://"}) {
    if (!text.starts_with(scheme)) continue;
    const std::size_t slash = text.find_first_of("/?", scheme.size());
    return slash == std::string_view::npos ? std::string_view("/") : text.substr(slash);
  }
  return text;
}

template <class Visit>
void split(std::string_view text, char separator, Visit&& visit) {
  while (true) {
    const std::size_t end = text.find(separator);
    visit(text.substr(0, end));
    if (end == std::string_view::npos) return;
    text.remove_prefix(end + 1);
  }
}

}  // namespace

RequestTarget parse_target(std::string_view text) {
  text = path_of(text);
  text = text.substr(0, text.find('#'));
  const std::size_t mark = text.find('?');
  const std::string_view path = text.substr(0, mark);
  if (!path.starts_with('/')) refuse("The path does not begin with '/'.");
  RequestTarget target;
  split(path.substr(1), '/', [&](std::string_view segment) {
    target.segments.push_back(decode(segment, false));
    if (target.segments.back() == "." || target.segments.back() == "..") {
      refuse("The path has a segment '" + target.segments.back() + "'.");
    }
  });
  if (mark == std::string_view::npos) return target;
  split(text.substr(mark + 1), '&', [&](std::string_view pair) {
    if (pair.empty()) return;
    const std::size_t equals = pair.find('=');
    target.query.emplace_back(
        decode(pair.substr(0, equals), true),
        equals == std::string_view::npos ? "" : decode(pair.substr(equals + 1), true));
  });
  return target;
}

const std::string& Request::parameter(std::string_view name) const {
  const auto found = parameters.find(name);
  if (found == parameters.end()) throw std::logic_error("no parameter " + std::string(name));
  return found->second;
}

std::string_view Request::header(std::string_view name) const {
  const auto found = headers.find(name);
  return found == headers.end() ? std::string_view() : std::string_view(found->second);
}

std::optional<std::string> Request::query(std::string_view name) const {
  for (const auto& [key, value] : target.query) {
    if (key == name) return value;
  }
  return std::nullopt;
}

std::vector<std::string> Request::query_all(std::string_view name) const {
  std::vector<std::string> values;
  for (const auto& [key, value] : target.query) {
    if (key == name) values.push_back(value);
  }
  return values;
}

}  // namespace qiv
