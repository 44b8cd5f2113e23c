#pragma once

#include <string_view>

namespace qiv {

/// True where the header Authorization holds "Bearer " and this token. Takes as long for a token
/// that is nearly right as for any other. False for an empty token.
bool is_authorized(std::string_view authorization, std::string_view token);

}  // namespace qiv
