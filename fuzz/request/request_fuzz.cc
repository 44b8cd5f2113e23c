// Reads a request: a line with the target, then a line for each header, then what handlers and
// answers make of both.

#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

#include "check.h"
#include "serve/api/parameters.h"
#include "serve/http/error.h"
#include "serve/http/http_date.h"
#include "serve/http/reply.h"
#include "serve/http/request.h"
#include "serve/http/router.h"
#include "serve/http/token.h"

namespace {

std::string_view take_line(std::string_view& text) {
  const std::size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line;
}

bool is_control(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
}

std::string escaped(std::string_view text) {
  constexpr const char* digits = "0123456789ABCDEF";
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    out += {'%', digits[byte / 16], digits[byte % 16]};
  }
  return out;
}

std::string written(const qiv::RequestTarget& target) {
  std::string text;
  for (const std::string& segment : target.segments) text += "/" + escaped(segment);
  char mark = '?';
  for (const auto& [name, value] : target.query) {
    text += mark + escaped(name) + "=" + escaped(value);
    mark = '&';
  }
  return text;
}

void check_target(const qiv::RequestTarget& target, std::string_view text) {
  fuzz::check(!target.segments.empty(), "a path has a segment");
  std::size_t bytes = 0;
  for (const std::string& segment : target.segments) {
    fuzz::check(segment != "." && segment != "..", "no segment leads elsewhere");
    for (const char c : segment) fuzz::check(!is_control(c), "no control character in the path");
    bytes += segment.size();
  }
  for (const auto& [name, value] : target.query) {
    for (const char c : name + value) fuzz::check(!is_control(c), "none in the query");
    bytes += name.size() + value.size();
  }
  fuzz::check(bytes <= text.size(), "decoding adds nothing");
  const qiv::RequestTarget again = qiv::parse_target(written(target));
  fuzz::check(again.segments == target.segments, "a path that is written again is the same");
  fuzz::check(again.query == target.query, "a query that is written again is the same");
}

/// Runs what may refuse the request with one of these errors, and with no other exception.
template <class Ask>
bool answers(Ask&& ask, std::initializer_list<qiv::HttpErrorCode> errors) {
  try {
    ask();
    return true;
  } catch (const qiv::HttpError& error) {
    bool is_expected = false;
    for (const qiv::HttpErrorCode code : errors) is_expected |= error.code() == code;
    fuzz::check(is_expected, "the error is one that the parser states");
    fuzz::check(!error.remedy().empty(), "an error has a remedy");
    fuzz::check(error_json(error).front() == '{', "an error can be written");
    return false;
  }
}

void check_parameters(const qiv::Request& request) {
  const auto bad_parameter = qiv::HttpErrorCode::bad_parameter;
  answers(
      [&] {
        const auto limit = qiv::whole_number(request, "limit", 1, 200);
        fuzz::check(!limit || (*limit >= 1 && *limit <= 200), "a number is within its limits");
      },
      {bad_parameter});
  answers(
      [&] {
        const auto box = qiv::bounding_box(request, "bbox");
        if (!box) return;
        for (const double edge : {box->west, box->south, box->east, box->north}) {
          fuzz::check(std::isfinite(edge), "an edge of a box is a number");
        }
      },
      {bad_parameter});
  constexpr std::string_view formats[] = {"protobuf", "json", "text"};
  answers([&] { qiv::choice(request, "format", formats); }, {bad_parameter});
}

const qiv::Router& router() {
  static const qiv::Router routes = [] {
    qiv::Router made;
    const auto answer = [](const qiv::Request& request) {
      return qiv::Answer{200, qiv::make_blob(request.parameter("stop_id"), "text/plain"), {}, {}};
    };
    made.get("/api/v1/stops/{stop_id}/arrivals", answer);
    made.get("/api/v1/stops/{stop_id}", answer);
    made.post("/api/v1/actions/{stop_id}", answer);
    return made;
  }();
  return routes;
}

void check_route(qiv::Request request) {
  answers(
      [&] {
        const qiv::HttpRoute& route =
            router().find(request.method, request.target.segments, request.parameters);
        fuzz::check(route.handler(request).body->bytes() == request.target.segments[3],
                    "a parameter is the segment in its place");
      },
      {qiv::HttpErrorCode::not_found, qiv::HttpErrorCode::method_not_allowed});
}

void check_reply(const qiv::Request& request) {
  static const qiv::BlobPtr blob =
      qiv::make_blob(std::string(2000, 'a'), "text/plain", qiv::from_unix_seconds(1'740'988'980));
  const qiv::Reply reply = qiv::reply_to(request, qiv::Answer{200, blob, {}, {}});
  fuzz::check(reply.status == 200 || reply.status == 304, "the answer is there or known");
  fuzz::check((reply.bytes == nullptr) == (reply.status == 304), "what is known has no body");
  const bool is_known =
      !request.header("if-none-match").empty() || !request.header("if-modified-since").empty();
  fuzz::check(reply.status == 200 || is_known, "only what was asked about is known");
  fuzz::check(reply.bytes != blob->gzip() || reply.bytes == nullptr ||
                  qiv::accepts_gzip(request.header("accept-encoding")),
              "compressed only where that is accepted");
}

void check_headers(const qiv::Request& request) {
  if (const auto date = qiv::parse_http_date(request.header("if-modified-since"))) {
    fuzz::check(qiv::parse_http_date(qiv::format_http_date(*date)) == date,
                "a date that is written again is the same");
  }
  const std::string_view stated = request.header("authorization");
  fuzz::check(!qiv::is_authorized(stated, ""), "nobody is let in without a token");
  fuzz::check(!qiv::is_authorized(stated, "secret") || stated.substr(7) == "secret",
              "only the token lets in");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::string_view target = take_line(text);
  qiv::Request request;
  request.method = "GET";
  while (!text.empty()) {
    const std::string_view line = take_line(text);
    const std::size_t colon = line.find(": ");
    if (colon == std::string_view::npos) continue;
    request.headers[std::string(line.substr(0, colon))] = line.substr(colon + 2);
  }
  check_headers(request);
  check_reply(request);
  const bool is_read = answers([&] { request.target = qiv::parse_target(target); },
                               {qiv::HttpErrorCode::bad_request});
  if (!is_read) return 0;
  check_target(request.target, target);
  check_parameters(request);
  check_route(request);
  return 0;
}
