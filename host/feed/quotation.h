#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qiv {

/// "file:line: content" for a log or a report: one line of valid UTF-8, `content` cut to about 120
/// bytes. Control characters become blanks; where bytes are not UTF-8 each of them becomes '?'.
std::string quotation(std::string_view file, std::size_t line, std::string_view content);

/// "file: content", or "file" without content, for what has no lines; treated alike.
std::string quotation(std::string_view file, std::string_view content);

}  // namespace qiv
