#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "serve/api/network_index.h"
#include "serve/http/request.h"

namespace qiv {

// Parameters of a query. What has no such value throws `HttpError` (bad_parameter) with the values
// that there are.

/// A whole number from `least` to `most`; nothing if the query does not state it.
std::optional<long long> whole_number(const Request& request, std::string_view name,
                                      long long least, long long most);

/// Index of the value among `choices`; nothing if the query does not state it.
std::optional<std::size_t> choice(const Request& request, std::string_view name,
                                  std::span<const std::string_view> choices);

/// "west,south,east,north" in degrees; nothing if the query does not state it.
std::optional<BoundingBox> bounding_box(const Request& request, std::string_view name);

}  // namespace qiv
