#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qiv {

/// A zip file of these entries, in this order.
std::string zip_of(const std::vector<std::pair<std::string, std::string>>& entries);

/// A gzip file of one member.
std::string gzip_of(std::string_view content);

}  // namespace qiv
