#pragma once

#include <string>

#include "evaluate/scorecard.h"

namespace qiv {

/// The figures as a table for spreadsheets: a line of names, then one line for each contender, kind
/// and bucket. Columns:
///
/// - `contender`
/// - `scored`: `on_display` or `at_reports`
/// - `by`: `time_to_arrival` or `predicted_lead`
/// - `from_min`, `to_min`, `n`, `mae_s`, `bias_s`, `median_s`, `p90_s`: as in `BucketScore`
/// - `coverage`, `coverage_90`, `mean_half_width_s`, `mean_half_width_90_s`, `fixed_half_width_s`,
///   `pinball_s`: of the bounds; only for the forecast on display by predicted lead, else empty
/// - `own_n`, `own_mae_s`: on the events for which the contender had a prediction of its own
std::string report_csv(const Scorecard& card);

}  // namespace qiv
