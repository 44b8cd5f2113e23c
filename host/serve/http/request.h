#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qiv {

/// Where a request goes: "/api/v1/stops/A%2FB?limit=3" has the segments "api", "v1", "stops",
/// "A/B" and one parameter.
struct RequestTarget {
  std::vector<std::string> segments;                       ///< decoded; "/" has one, empty
  std::vector<std::pair<std::string, std::string>> query;  ///< decoded, in order
};

/// Reads the target of a request line: a path, or an address with one. Throws `HttpError`
/// (bad_request) where an escape is cut off or hides a control character, and for a path that does
/// not begin with "/" or has a "." or ".." segment, escaped or not.
RequestTarget parse_target(std::string_view text);

/// A request, read in full.
struct Request {
  std::string method;
  RequestTarget target;
  std::map<std::string, std::string, std::less<>> headers;     ///< names in lower case
  std::map<std::string, std::string, std::less<>> parameters;  ///< of the path, by the route
  std::string body;

  /// Value of a parameter of the path. Precondition: the route has it.
  const std::string& parameter(std::string_view name) const;
  /// The header's value; empty if there is none.
  std::string_view header(std::string_view name) const;
  /// First value of this name in the query.
  std::optional<std::string> query(std::string_view name) const;
  /// All of its values, in order.
  std::vector<std::string> query_all(std::string_view name) const;
};

}  // namespace qiv
