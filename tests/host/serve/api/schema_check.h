#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace qiv::testing {

/// What is wrong with a value by a schema of an OpenAPI 3.0 document: wrong types, members that are
/// missing or that the document does not name, and values that are not listed. Each fault names its
/// place.
std::vector<std::string> schema_faults(const nlohmann::json& value, const nlohmann::json& schema,
                                       const nlohmann::json& document,
                                       const std::string& place = "");

}  // namespace qiv::testing
