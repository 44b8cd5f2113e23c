#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "serve/http/answer.h"
#include "serve/http/request.h"

namespace qiv {

/// Answers a request, or throws `HttpError`. Called from several threads at once.
using Handler = std::function<Answer(const Request&)>;

/// What a route asks for beside its handler.
enum class RouteKind {
  quick,  ///< answered by the thread that serves the connection
  slow,   ///< may wait for something: one such handler runs at a time, on a thread of its own
  write,  ///< slow, and changes something: needs the token; not there where none is configured
};

struct HttpRoute {
  std::string method;   ///< GET, which answers HEAD too, or POST
  std::string pattern;  ///< such as "/api/v1/stops/{stop_id}/arrivals"
  RouteKind kind = RouteKind::quick;
  Handler handler;
};

/// Finds the handler of a request.
class Router {
 public:
  /// Throws `std::logic_error` for a route that is there already.
  void add(HttpRoute route);
  void get(const std::string& pattern, Handler handler, RouteKind kind = RouteKind::quick);
  void post(const std::string& pattern, Handler handler);

  /// The route for this method and path, a segment of text before a parameter; `parameters` gets
  /// what stood in the place of the braces. Throws `HttpError`: not_found, or method_not_allowed.
  const HttpRoute& find(std::string_view method, const std::vector<std::string>& segments,
                        std::map<std::string, std::string, std::less<>>& parameters) const;

  /// The methods of a path, as the header Allow lists them; empty for an unknown path.
  std::string allowed(const std::vector<std::string>& segments) const;

  const std::vector<HttpRoute>& routes() const { return _routes; }

 private:
  std::vector<HttpRoute> _routes;
  std::vector<std::vector<std::string>> _segments;  ///< of each route
};

}  // namespace qiv
