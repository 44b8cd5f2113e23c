#pragma once

#include <string>
#include <string_view>

#include "evaluate/scorecard.h"

namespace qiv {

/// The figures for programs: one JSON object, indented. Members, units and their meaning:
/// docs/outputs.md. Numbers are rounded (seconds and scores to three digits, shares to four) and
/// the order of members is fixed, so that equal scorecards give equal bytes.
std::string report_json(const Scorecard& card);

/// True for the names of the object's own members, which no other producer can bear: it would take
/// their place.
bool is_report_member(std::string_view name);

}  // namespace qiv
