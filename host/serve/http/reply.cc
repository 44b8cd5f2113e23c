#include "serve/http/reply.h"

#include <cstdlib>
#include <utility>

#include "serve/http/http_date.h"

namespace qiv {
namespace {

constexpr std::string_view gzip_suffix = "-gzip";

std::string_view trim(std::string_view text) {
  const std::size_t start = text.find_first_not_of(" \t");
  if (start == std::string_view::npos) return {};
  return text.substr(start, text.find_last_not_of(" \t") - start + 1);
}

template <class Visit>
bool any_of_list(std::string_view list, Visit&& visit) {
  while (!list.empty()) {
    const std::size_t comma = list.find(',');
    if (visit(trim(list.substr(0, comma)))) return true;
    if (comma == std::string_view::npos) return false;
    list.remove_prefix(comma + 1);
  }
  return false;
}

/// True where a list of entity tags names the content, in whichever encoding.
bool names(std::string_view list, std::string_view tag) {
  return any_of_list(list, [&](std::string_view stated) {
    if (stated == "*") return true;
    if (stated.starts_with("W/")) stated.remove_prefix(2);
    if (stated.size() < 2 || stated.front() != '"' || stated.back() != '"') return false;
    stated = stated.substr(1, stated.size() - 2);
    if (stated.ends_with(gzip_suffix)) stated.remove_suffix(gzip_suffix.size());
    return stated == tag;
  });
}

bool is_known(const Request& request, const Blob& blob) {
  const std::string_view tags = request.header("if-none-match");
  if (!tags.empty()) return names(tags, blob.tag());
  const auto since = parse_http_date(request.header("if-modified-since"));
  return since && blob.modified() && *blob.modified() <= *since;
}

}  // namespace

bool accepts_gzip(std::string_view accept_encoding) {
  return any_of_list(accept_encoding, [](std::string_view stated) {
    const std::size_t semicolon = stated.find(';');
    const std::string_view name = trim(stated.substr(0, semicolon));
    if (name != "gzip" && name != "*") return false;
    if (semicolon == std::string_view::npos) return true;
    const std::string quality(trim(stated.substr(semicolon + 1)));
    return !quality.starts_with("q=") || std::strtod(quality.c_str() + 2, nullptr) > 0.0;
  });
}

Reply reply_to(const Request& request, Answer answer) {
  Reply reply;
  reply.status = answer.status;
  reply.headers = std::move(answer.headers);
  reply.blob = std::move(answer.body);
  const Blob& blob = *reply.blob;
  const std::string* const gzip =
      accepts_gzip(request.header("accept-encoding")) ? blob.gzip() : nullptr;
  reply.bytes = gzip != nullptr ? gzip : &blob.bytes();
  reply.headers.emplace_back("Vary", "Accept-Encoding");
  if (reply.status == 200 && (request.method == "GET" || request.method == "HEAD")) {
    const std::string suffix(gzip != nullptr ? gzip_suffix : std::string_view());
    reply.headers.emplace_back("ETag", '"' + blob.tag() + suffix + '"');
    if (blob.modified()) {
      reply.headers.emplace_back("Last-Modified", format_http_date(*blob.modified()));
    }
    if (is_known(request, blob)) {
      reply.status = 304;
      reply.bytes = nullptr;
      return reply;
    }
  }
  reply.headers.emplace_back("Content-Type", blob.content_type());
  if (gzip != nullptr) reply.headers.emplace_back("Content-Encoding", "gzip");
  return reply;
}

}  // namespace qiv
