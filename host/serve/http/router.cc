#include "serve/http/router.h"

#include <cstddef>
#include <stdexcept>
#include <utility>

#include "serve/http/error.h"

namespace qiv {
namespace {

bool is_parameter(const std::string& segment) {
  return segment.starts_with('{');
}

std::vector<std::string> split(const std::string& pattern) {
  std::vector<std::string> segments;
  std::size_t start = 1;
  while (true) {
    const std::size_t end = pattern.find('/', start);
    segments.push_back(pattern.substr(start, end - start));
    if (end == std::string::npos) return segments;
    start = end + 1;
  }
}

bool matches(const std::vector<std::string>& pattern, const std::vector<std::string>& path) {
  if (pattern.size() != path.size()) return false;
  for (std::size_t i = 0; i < path.size(); ++i) {
    if (is_parameter(pattern[i]) ? path[i].empty() : pattern[i] != path[i]) return false;
  }
  return true;
}

/// True where `a` has text and `b` a parameter, at the first segment in which they differ so.
bool is_closer(const std::vector<std::string>& a, const std::vector<std::string>& b) {
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (is_parameter(a[i]) != is_parameter(b[i])) return is_parameter(b[i]);
  }
  return false;
}

}  // namespace

void Router::add(HttpRoute route) {
  for (const HttpRoute& other : _routes) {
    if (other.method == route.method && other.pattern == route.pattern) {
      throw std::logic_error("route " + route.pattern + " is there already");
    }
  }
  _segments.push_back(split(route.pattern));
  _routes.push_back(std::move(route));
}

void Router::get(const std::string& pattern, Handler handler, RouteKind kind) {
  add({"GET", pattern, kind, std::move(handler)});
}

void Router::post(const std::string& pattern, Handler handler) {
  add({"POST", pattern, RouteKind::write, std::move(handler)});
}

const HttpRoute& Router::find(std::string_view method, const std::vector<std::string>& segments,
                              std::map<std::string, std::string, std::less<>>& parameters) const {
  const std::string_view wanted = method == "HEAD" ? "GET" : method;
  const std::size_t none = _routes.size();
  std::size_t best = none;
  for (std::size_t i = 0; i < _routes.size(); ++i) {
    if (_routes[i].method != wanted || !matches(_segments[i], segments)) continue;
    if (best == none || is_closer(_segments[i], _segments[best])) best = i;
  }
  if (best == none) {
    const std::string methods = allowed(segments);
    if (methods.empty()) {
      throw HttpError(HttpErrorCode::not_found, "There is nothing at this path.",
                      "See /api/v1/openapi.json for what there is.");
    }
    throw HttpError(HttpErrorCode::method_not_allowed,
                    "This path does not know the method " + std::string(method) + ".",
                    "Use one of: " + methods + ".");
  }
  for (std::size_t i = 0; i < segments.size(); ++i) {
    const std::string& name = _segments[best][i];
    if (is_parameter(name)) parameters[name.substr(1, name.size() - 2)] = segments[i];
  }
  return _routes[best];
}

std::string Router::allowed(const std::vector<std::string>& segments) const {
  std::string methods;
  for (std::size_t i = 0; i < _routes.size(); ++i) {
    if (!matches(_segments[i], segments)) continue;
    const std::string method = _routes[i].method == "GET" ? "GET, HEAD" : _routes[i].method;
    if (methods.find(method) != std::string::npos) continue;
    methods += (methods.empty() ? "" : ", ") + method;
  }
  return methods;
}

}  // namespace qiv
