#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qiv {

/// True for bytes that begin like a gzip file.
bool is_gzip(std::string_view bytes);

/// Unpacks a gzip file, all of its members. Throws std::runtime_error, naming `name`, where it is
/// damaged or cut off, and as soon as it turns out to hold more than `max_bytes`.
std::string gunzip(std::string_view bytes, const std::string& name, std::uint64_t max_bytes);

}  // namespace qiv
