#pragma once

namespace qiv {

/// The style sheet of the HTML report: light and dark, screen and print, nothing from elsewhere.
extern const char* const report_style;

}  // namespace qiv
