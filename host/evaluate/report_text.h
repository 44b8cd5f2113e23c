#pragma once

#include <string>

#include "evaluate/scorecard.h"

namespace qiv {

/// The figures as tables for a terminal of 100 columns, in plain ASCII but for names.
std::string report_text(const Scorecard& card);

}  // namespace qiv
