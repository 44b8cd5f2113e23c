#include "serve/http/exchange.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string_view>

namespace qiv {
namespace {

struct HeaderReader {
  Request& request;
  std::size_t bytes = 0;
};

MHD_Result read_header(void* closure, MHD_ValueKind /*kind*/, const char* key, const char* value) {
  HeaderReader& reader = *static_cast<HeaderReader*>(closure);
  std::string name(key);
  std::transform(name.begin(), name.end(), name.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  const std::string_view text = value == nullptr ? "" : value;
  reader.bytes += name.size() + text.size() + 4;  // ": " and the end of the line
  std::string& all = reader.request.headers[name];
  if (!all.empty()) all += ", ";
  all += text;
  return MHD_YES;
}

void check_body(const Request& request, std::size_t most) {
  if (!request.header("transfer-encoding").empty()) {
    throw HttpError(HttpErrorCode::length_required, "The body comes without a stated length.",
                    "State it in Content-Length.");
  }
  const std::string_view stated = request.header("content-length");
  if (stated.empty()) return;
  std::uint64_t length = 0;
  const auto [end, error] = std::from_chars(stated.data(), stated.data() + stated.size(), length);
  if (error == std::errc() && end == stated.data() + stated.size() && length <= most) return;
  throw HttpError(HttpErrorCode::body_too_large,
                  "The body has " + std::string(stated) + " bytes, more than the limit of " +
                      std::to_string(most) + ".",
                  "Send less.");
}

}  // namespace

void read_head(MHD_Connection* connection, const char* method, const ServerOptions& options,
               Exchange& exchange) {
  Request& request = exchange.request;
  request.method = method;
  if (exchange.uri.size() > options.max_uri_bytes) {
    throw HttpError(HttpErrorCode::uri_too_long,
                    "The address has " + std::to_string(exchange.uri.size()) +
                        " bytes, more than the limit of " + std::to_string(options.max_uri_bytes) +
                        ".",
                    "Ask for less at once.");
  }
  HeaderReader reader{request};
  MHD_get_connection_values(connection, MHD_HEADER_KIND, read_header, &reader);
  if (reader.bytes > options.max_header_bytes) {
    throw HttpError(HttpErrorCode::headers_too_large,
                    "The headers have " + std::to_string(reader.bytes) +
                        " bytes, more than the limit of " +
                        std::to_string(options.max_header_bytes) + ".",
                    "Send fewer or shorter headers.");
  }
  check_body(request, options.max_body_bytes);
  request.target = parse_target(exchange.uri);
}

Answer error_answer(const HttpError& error) {
  Answer answer;
  answer.status = kind_of(error.code()).status;
  answer.body = make_blob(error_json(error), "application/json");
  if (answer.status == 401) answer.headers.emplace_back("WWW-Authenticate", "Bearer");
  if (answer.status == 503) answer.headers.emplace_back("Retry-After", "5");
  return answer;
}

}  // namespace qiv
