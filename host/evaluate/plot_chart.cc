#include "evaluate/plot_chart.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "evaluate/plot_svg.h"
#include "evaluate/report_words.h"

namespace qiv {
namespace {

constexpr double height = 320.0;
constexpr double top = 30.0;
constexpr double bottom = height - 48.0;
constexpr double left = 48.0;
constexpr double label_gap = 16.0;

/// With more columns than these, every other one has a label.
constexpr std::size_t most_labels = 14;

bool is_drawn(const std::optional<double>& value) {
  return value && std::isfinite(*value);
}

double greatest(const LineChart& chart) {
  double result = chart.y_from + 1.0;
  for (const ChartLine& line : chart.lines) {
    for (const auto& value : line.values) {
      if (is_drawn(value)) result = std::max(result, *value);
    }
  }
  for (const ChartLevel& level : chart.levels) result = std::max(result, level.value);
  return result;
}

double greatest(const std::vector<ChartBar>& bars) {
  double result = 1.0;
  for (const ChartBar& bar : bars) {
    if (std::isfinite(bar.value)) result = std::max(result, bar.value);
  }
  return result;
}

/// Horizontal lines at round values, and the titles of the axes.
PlotScale draw_frame(Svg& svg, double from, double to, double right, const std::string& x_title,
                     const std::string& y_title) {
  const std::vector<double> ticks = round_ticks(from, to, 5);
  const PlotScale y{ticks.front(), ticks.back(), bottom, top};
  const int decimals = ticks[1] - ticks[0] < 1.0 ? 1 : 0;
  for (const double tick : ticks) {
    svg.line({left, y(tick)}, {right, y(tick)}, tick == ticks.front() ? "axis" : "grid");
    svg.text({left - 8.0, y(tick) + 4.0}, "tick end", fixed(tick, decimals));
  }
  svg.text({left - 44.0, top - 14.0}, "title", y_title);
  svg.text({(left + right) / 2.0, height - 8.0}, "title middle", x_title);
  return y;
}

double room_for_labels(const std::vector<ChartLine>& lines) {
  constexpr double character = 8.0;
  std::size_t longest = 0;
  for (const ChartLine& line : lines) longest = std::max(longest, line.label.size());
  return 16.0 + character * std::min(static_cast<double>(longest), 24.0);
}

struct EndLabel {
  double y = 0.0;
  const ChartLine* line = nullptr;
};

/// Moves labels apart so that they can be read, from the top, then back from the bottom.
void spread(std::vector<EndLabel>& labels) {
  std::stable_sort(labels.begin(), labels.end(),
                   [](const EndLabel& a, const EndLabel& b) { return a.y < b.y; });
  for (std::size_t i = 1; i < labels.size(); ++i) {
    labels[i].y = std::max(labels[i].y, labels[i - 1].y + label_gap);
  }
  double limit = bottom;
  for (std::size_t i = labels.size(); i-- > 0;) {
    labels[i].y = std::min(labels[i].y, limit);
    limit = labels[i].y - label_gap;
  }
}

/// Draws a line and returns the height of its last point.
std::optional<double> draw_line(Svg& svg, const LineChart& chart, const ChartLine& line,
                                const PlotScale& x, const PlotScale& y) {
  const std::string strength = line.is_strong ? " strong" : "";
  std::vector<PlotPosition> points;
  std::vector<std::pair<PlotPosition, std::string>> dots;
  for (std::size_t i = 0; i < line.values.size(); ++i) {
    if (!is_drawn(line.values[i])) continue;
    points.emplace_back(x(static_cast<double>(i)), y(*line.values[i]));
    dots.emplace_back(points.back(), line.label + ", " + chart.columns[i] + ": " +
                                         fixed(*line.values[i], chart.decimals) + chart.unit);
  }
  if (points.empty()) return std::nullopt;
  svg.path(svg_path(points), "line " + line.css_class + strength);
  for (const auto& [at, tooltip] : dots) {
    svg.circle(at, line.is_strong ? 4.5 : 3.5, "dot " + line.css_class, tooltip);
  }
  return points.back().second;
}

}  // namespace

std::string line_chart(const LineChart& chart) {
  const double right = chart.width - room_for_labels(chart.lines);
  Svg svg(chart.width, height, chart.description);
  const PlotScale y = draw_frame(svg, chart.y_from, chart.y_to.value_or(greatest(chart)), right,
                                 chart.x_title, chart.y_title);
  const double last = std::max<double>(1.0, static_cast<double>(chart.columns.size()) - 1.0);
  const PlotScale x{0.0, last, left + 24.0, right - 14.0};
  const std::size_t labelled = chart.columns.size() > most_labels ? 2 : 1;
  for (std::size_t i = 0; i < chart.columns.size(); i += labelled) {
    svg.text({x(static_cast<double>(i)), bottom + 18.0}, "tick middle", chart.columns[i]);
  }
  for (const ChartLevel& level : chart.levels) {
    svg.line({left, y(level.value)}, {right, y(level.value)}, "level");
    svg.text({left + 4.0, y(level.value) - 5.0}, "tick", level.label);
  }
  std::vector<EndLabel> labels;
  for (auto line = chart.lines.rbegin(); line != chart.lines.rend(); ++line) {
    if (const auto end = draw_line(svg, chart, *line, x, y)) labels.push_back({*end + 4.0, &*line});
  }
  spread(labels);
  for (const EndLabel& label : labels) {
    const std::string strength = label.line->is_strong ? " strong" : "";
    svg.text({right + 6.0, label.y}, "label " + label.line->css_class + strength,
             label.line->label);
  }
  return std::move(svg).finish();
}

std::string bar_chart(const BarChart& chart) {
  const double right = chart.width - 4.0;
  Svg svg(chart.width, height, chart.description);
  const double most = greatest(chart.bars);
  const PlotScale y = draw_frame(svg, 0.0, most, right, chart.x_title, chart.y_title);
  const double step =
      (right - left) / std::max<double>(1.0, static_cast<double>(chart.bars.size()));
  for (std::size_t i = 0; i < chart.bars.size(); ++i) {
    const ChartBar& bar = chart.bars[i];
    const double start = left + step * static_cast<double>(i);
    svg.text({start + step / 2.0, bottom + 18.0}, "tick middle", bar.label);
    if (!(bar.value > 0.0)) continue;
    svg.rectangle({start + step * 0.14, y(bar.value)}, step * 0.72, bottom - y(bar.value), "bar c0",
                  bar.tooltip);
  }
  return std::move(svg).finish();
}

std::string ranking_chart(const BarChart& chart) {
  constexpr double row = 32.0;
  const double start = 0.33 * chart.width;
  const double end = chart.width - 60.0;
  const double bottom_of_rows = row * static_cast<double>(chart.bars.size());
  Svg svg(chart.width, bottom_of_rows + 4.0, chart.description);
  const double most = greatest(chart.bars);
  const PlotScale x{0.0, most, start, end};
  for (std::size_t i = 0; i < chart.bars.size(); ++i) {
    const ChartBar& bar = chart.bars[i];
    const double y = row * static_cast<double>(i);
    svg.text({start - 10.0, y + 20.0}, "tick end", bar.label);
    svg.rectangle({start, y + 5.0}, x(bar.value) - start, row - 10.0, "bar c0", bar.tooltip);
    svg.text({x(bar.value) + 7.0, y + 20.0}, "tick", fixed(bar.value, 0) + chart.y_title);
  }
  return std::move(svg).finish();
}

}  // namespace qiv
