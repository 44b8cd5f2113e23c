#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "model/time.h"

namespace qiv {

/// "Sun, 06 Nov 1994 08:49:37 GMT".
std::string format_http_date(Instant instant);

/// Reads that form, which is the only one that is written today; nothing for any other text.
std::optional<Instant> parse_http_date(std::string_view text);

}  // namespace qiv
