#pragma once

#include <string_view>

namespace qiv {

/// The description of the API, openapi.json beside this file.
extern const std::string_view openapi_json;

}  // namespace qiv
