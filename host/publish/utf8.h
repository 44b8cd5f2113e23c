#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qiv {

/// Length in bytes of the character at the start of `text`: 1 to 4, or 0 where the bytes are no
/// character of UTF-8 (cut off, overlong, a surrogate, beyond U+10FFFF). Precondition: not empty.
std::size_t utf8_length(std::string_view text);

/// The text with U+FFFD for each byte that is no part of a character, and for each control
/// character that XML cannot hold.
std::string xml_text(std::string_view text);

}  // namespace qiv
