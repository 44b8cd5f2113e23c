#pragma once

#include <string>
#include <vector>

#include "evaluate/plot_trip.h"
#include "evaluate/scorecard.h"

namespace qiv {

/// What the HTML report shows beside the figures.
struct ReportDetails {
  std::vector<std::string> stop_names;  ///< by index into the timetable's stops
  std::vector<TripPlot> worst_trips;    ///< in order, the worst first
};

/// The whole evaluation as one HTML file for people: style and plots are part of it, it holds no
/// script and asks no other host for anything. Every plot has its figures in a table beside it.
std::string report_html(const Scorecard& card, const ReportDetails& details = {});

}  // namespace qiv
