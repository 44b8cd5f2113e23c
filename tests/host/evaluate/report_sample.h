#pragma once

#include "evaluate/report_html.h"
#include "evaluate/scorecard.h"

namespace qiv::testing {

/// The scorecard of a week in which the forecast did best and its bounds held.
Scorecard sample_scorecard();

/// The same with another producer, "present", whose recording has half of the events.
Scorecard sample_against();

/// Names of the stops in `sample_scorecard`, and two trips that went badly.
ReportDetails sample_details();

}  // namespace qiv::testing
