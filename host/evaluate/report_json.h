#pragma once

#include <string>

#include "evaluate/scorecard.h"

namespace qiv {

/// The figures for programs: one JSON object, indented. Members, units and their meaning:
/// docs/outputs.md. Numbers are rounded (seconds and scores to three digits, shares to four) and
/// the order of members is fixed, so that equal scorecards give equal bytes.
std::string report_json(const Scorecard& card);

}  // namespace qiv
