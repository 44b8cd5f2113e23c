#pragma once

#include <string>
#include <string_view>

#include "model/settings.h"

namespace qiv {

/// The settings of one pattern as a JSON object; numbers come back exactly.
std::string to_json(const PatternSettings& settings);

/// Learned settings as one JSON object; numbers come back exactly.
std::string to_json(const LearnedSettings& settings);

/// Reads what `to_json` wrote. Members that are missing keep their defaults and unknown ones are
/// passed over, so that versions of the program understand each other. Throws `std::runtime_error`
/// that names the member for text that is no JSON, and for members of the wrong type or number of
/// elements.
LearnedSettings settings_from_json(std::string_view text);

}  // namespace qiv
