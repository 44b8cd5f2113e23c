#pragma once

namespace qiv {

inline constexpr const char* version = QIV_VERSION;

}  // namespace qiv
