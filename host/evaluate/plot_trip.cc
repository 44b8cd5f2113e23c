#include "evaluate/plot_trip.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include "evaluate/plot_svg.h"

namespace qiv {
namespace {

constexpr double width = 520.0;
constexpr double height = 420.0;
constexpr double top = 14.0;
constexpr double bottom = height - 62.0;
constexpr double left = 126.0;
constexpr double right = width - 14.0;
constexpr double least_label_gap = 14.0;

/// Colours of the moments, in order.
constexpr std::array<const char*, 4> moment_classes = {"c0", "c4", "c3", "c2"};

std::string moment_class(std::size_t i) {
  return moment_classes[i % moment_classes.size()];
}

/// "08:05" of the service day.
std::string clock_time(Seconds time) {
  return format_time_of_day(time).substr(0, format_time_of_day(time).size() - 3);
}

class TripPicture {
 public:
  explicit TripPicture(const TripPlot& plot) : _plot(plot), _svg(width, height, describe(plot)) {}

  std::string draw() {
    if (find_scales()) {
      draw_stops();
      draw_times();
      for (std::size_t i = 0; i < _plot.moments.size(); ++i) draw_bands(_plot.moments[i], i);
      draw_line(_plot.scheduled, "line timetable");
      for (std::size_t i = 0; i < _plot.moments.size(); ++i) draw_forecast(_plot.moments[i], i);
      draw_line(_plot.observed, "line observed");
      for (const TripPlotPoint& point : _plot.observed) {
        _svg.circle(position(point.time, point.offset_m), 2.2, "observed-dot");
      }
      for (std::size_t i = 0; i < _plot.moments.size(); ++i) draw_moment(_plot.moments[i], i);
      draw_legend();
    }
    return std::move(_svg).finish();
  }

 private:
  static std::string describe(const TripPlot& plot) {
    return plot.title + ": distance over time, with the timetable, what was observed, and what " +
           "was forecast at " + std::to_string(plot.moments.size()) + " moments.";
  }

  double seconds(Instant time) const { return static_cast<double>((time - _plot.zero).count()); }
  PlotPosition position(Instant time, double offset_m) const {
    return {_x(seconds(time)), _y(offset_m)};
  }

  void include(Instant time, double offset_m) {
    _x.from = std::min(_x.from, seconds(time));
    _x.to = std::max(_x.to, seconds(time));
    _y.to = std::max(_y.to, offset_m);
  }

  /// Returns false when there is nothing to draw.
  bool find_scales() {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    _x = {infinity, -infinity, left, right};
    _y = {0.0, 1.0, bottom, top};
    for (const TripPlotStop& stop : _plot.stops) _y.to = std::max(_y.to, stop.offset_m);
    for (const TripPlotPoint& point : _plot.scheduled) include(point.time, point.offset_m);
    for (const TripPlotPoint& point : _plot.observed) include(point.time, point.offset_m);
    for (const TripPlotMoment& moment : _plot.moments) {
      include(moment.made, moment.offset_m);
      for (const TripPlotBand& band : moment.ahead) {
        include(band.arrival.lower_90, band.offset_m);
        include(band.arrival.upper_90, band.offset_m);
      }
    }
    if (_x.from > _x.to) return false;
    const double margin_s = std::max(60.0, 0.02 * (_x.to - _x.from));
    _x.from -= margin_s;
    _x.to += margin_s;
    return true;
  }

  void draw_stops() {
    double last_label = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < _plot.stops.size(); ++i) {
      const double y = _y(_plot.stops[i].offset_m);
      const bool is_end = i + 1 == _plot.stops.size();
      _svg.line({left, y}, {right, y}, "grid");
      const bool fits = last_label - y >= least_label_gap;
      const bool leaves_room = is_end || y - _y(_plot.stops.back().offset_m) >= least_label_gap;
      if (!fits || !leaves_room) continue;
      _svg.text({left - 8.0, y + 4.0}, "tick end", shortened(_plot.stops[i].name));
      last_label = y;
    }
  }

  static std::string shortened(const std::string& name) {
    constexpr std::size_t most = 16;
    std::size_t at = 0;
    for (std::size_t count = 0; at < name.size(); ++at) {
      const bool starts_character = (static_cast<unsigned char>(name[at]) & 0xC0U) != 0x80U;
      if (starts_character && ++count > most) return name.substr(0, at) + "…";
    }
    return name;
  }

  void draw_times() {
    const double span_s = _x.to - _x.from;
    double step_s = std::max(86400.0, span_s / 7.0);
    for (const double candidate_s : {7200.0, 3600.0, 1800.0, 900.0, 600.0, 300.0, 120.0, 60.0}) {
      if (span_s / candidate_s <= 7.0) step_s = candidate_s;
    }
    for (double t = std::ceil(_x.from / step_s) * step_s; t <= _x.to; t += step_s) {
      _svg.line({_x(t), top}, {_x(t), bottom}, "grid");
      _svg.text({_x(t), bottom + 17.0}, "tick middle",
                clock_time(Seconds(static_cast<long long>(t))));
    }
    _svg.line({left, bottom}, {right, bottom}, "axis");
  }

  void draw_line(const std::vector<TripPlotPoint>& points, const std::string& css_class) {
    std::vector<PlotPosition> path;
    path.reserve(points.size());
    for (const TripPlotPoint& point : points) {
      path.push_back(position(point.time, point.offset_m));
    }
    if (!path.empty()) _svg.path(svg_path(path), css_class);
  }

  void draw_band(const TripPlotMoment& moment, Instant BoundedTime::*lower,
                 Instant BoundedTime::*upper, const std::string& css_class) {
    std::vector<PlotPosition> outline = {position(moment.made, moment.offset_m)};
    for (const TripPlotBand& band : moment.ahead) {
      outline.push_back(position(band.arrival.*lower, band.offset_m));
    }
    for (auto band = moment.ahead.rbegin(); band != moment.ahead.rend(); ++band) {
      outline.push_back(position(band->arrival.*upper, band->offset_m));
    }
    _svg.path(svg_path(outline) + "Z", css_class);
  }

  void draw_bands(const TripPlotMoment& moment, std::size_t i) {
    draw_band(moment, &BoundedTime::lower_90, &BoundedTime::upper_90,
              "band wide " + moment_class(i));
    draw_band(moment, &BoundedTime::lower_68, &BoundedTime::upper_68, "band " + moment_class(i));
  }

  void draw_forecast(const TripPlotMoment& moment, std::size_t i) {
    std::vector<TripPlotPoint> points = {{moment.made, moment.offset_m}};
    for (const TripPlotBand& band : moment.ahead) {
      points.push_back({band.arrival.time, band.offset_m});
    }
    draw_line(points, "line " + moment_class(i));
  }

  void draw_moment(const TripPlotMoment& moment, std::size_t i) {
    _svg.circle(position(moment.made, moment.offset_m), 5.0, "moment " + moment_class(i),
                "forecast made at " + format_time_of_day(moment.made - _plot.zero));
  }

  void draw_legend() {
    double x = 8.0;
    const double y = height - 16.0;
    const auto entry = [&](const std::string& css_class, const std::string& label, double room) {
      _svg.line({x, y - 4.0}, {x + 18.0, y - 4.0}, css_class);
      _svg.text({x + 23.0, y}, "tick", label);
      x += room;
    };
    entry("line timetable", "timetable", 92.0);
    entry("line observed", "observed", 92.0);
    for (std::size_t i = 0; i < _plot.moments.size() && i < moment_classes.size(); ++i) {
      entry("line " + moment_class(i), clock_time(_plot.moments[i].made - _plot.zero), 68.0);
    }
  }

  const TripPlot& _plot;
  Svg _svg;
  PlotScale _x;
  PlotScale _y;
};

}  // namespace

std::string trip_plot(const TripPlot& plot) {
  return TripPicture(plot).draw();
}

}  // namespace qiv
