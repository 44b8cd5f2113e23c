#pragma once

#include <functional>
#include <string>

#include "serve/api/api_routes.h"

namespace qiv {

/// Makes the JSON that answers a request.
using WriteJson = std::function<std::string(const Outputs& outputs, const Request& request)>;

/// Adds a route whose answer is made once for each snapshot and query. It was modified with the
/// snapshot ...
void add_live_json(Router& router, const ApiContext& context, const std::string& pattern,
                   WriteJson write);
/// ... or when the timetable came into use.
void add_timetable_json(Router& router, const ApiContext& context, const std::string& pattern,
                        WriteJson write);

/// A name for what a request asks for: equal paths and queries have equal names.
std::string request_name(const Request& request);

/// Index of the stop; throws `HttpError` (not_found).
std::uint32_t stop_of(const NetworkIndex& index, const std::string& stop_id);

/// Reads the key of a trip of the timetable; throws `HttpError` (bad_parameter, not_found).
TripKey trip_of(const NetworkIndex& index, const std::string& text);

/// The error for what is not there.
[[noreturn]] void refuse_unknown(const std::string& kind, const std::string& id,
                                 const std::string& remedy);

}  // namespace qiv
