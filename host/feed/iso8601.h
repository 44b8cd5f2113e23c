#pragma once

#include <optional>
#include <string_view>

#include "model/time.h"

namespace qiv {

/// Reads a point in time such as "2016-08-03T08:54:36.2551919-06:00" or "2016-08-03T14:54:36Z",
/// blanks around it allowed; fractions of a second are dropped. Nothing for any other text, for a
/// time that does not exist, and for a time without a zone, which could be anywhere.
std::optional<Instant> parse_iso8601(std::string_view text);

}  // namespace qiv
