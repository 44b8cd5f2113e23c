#pragma once

#include <string>
#include <vector>

#include "model/time.h"
#include "model/trip_forecast.h"

namespace qiv {

struct TripPlotStop {
  std::string name;
  double offset_m = 0.0;
};

/// When a vehicle was, or was to be, at a place.
struct TripPlotPoint {
  Instant time{};
  double offset_m = 0.0;
};

/// The forecast for a place.
struct TripPlotBand {
  double offset_m = 0.0;
  BoundedTime arrival;
};

/// What was forecast at one moment for the stops ahead, in order.
struct TripPlotMoment {
  Instant made{};
  double offset_m = 0.0;  ///< where the vehicle was
  std::vector<TripPlotBand> ahead;
};

/// A trip as distance over time.
struct TripPlot {
  std::string title;  ///< names route, direction and trip
  std::string note;   ///< such as its mean error; may be empty
  Instant zero{};     ///< of its service day: the axis shows the timetable's times
  std::vector<TripPlotStop> stops;
  std::vector<TripPlotPoint> scheduled;
  std::vector<TripPlotPoint> observed;
  std::vector<TripPlotMoment> moments;  ///< a few, in order
};

/// The picture as an SVG element: the timetable, what happened, and for each moment the forecast
/// with its bands of 68 % and 90 %. A trip without any time gives an empty picture.
std::string trip_plot(const TripPlot& plot);

}  // namespace qiv
