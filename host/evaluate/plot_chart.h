#pragma once

#include <optional>
#include <string>
#include <vector>

namespace qiv {

/// A line of a chart: one value for each column, or none.
struct ChartLine {
  std::string label;
  std::string css_class;  ///< gives the colour: "c0" to "c7"
  bool is_strong = false;
  std::vector<std::optional<double>> values;
};

/// A level that is drawn across a chart.
struct ChartLevel {
  std::string label;
  double value = 0.0;
};

/// Widths of a chart that has a row of the page to itself, and of one that shares it.
inline constexpr double full_width = 1070.0;
inline constexpr double half_width = 520.0;

/// Values over a few columns, such as error over horizon.
struct LineChart {
  double width = full_width;
  std::string description;  ///< for those who do not see it
  std::string x_title;
  std::string y_title;
  std::string unit;  ///< behind the values in tooltips
  std::vector<std::string> columns;
  std::vector<ChartLine> lines;
  std::vector<ChartLevel> levels;
  double y_from = 0.0;
  std::optional<double> y_to;  ///< empty: as far as the values reach
  int decimals = 1;            ///< of the values in tooltips
};

/// The chart as an SVG element; each line is labelled at its right end.
std::string line_chart(const LineChart& chart);

struct ChartBar {
  std::string label;
  double value = 0.0;
  std::string tooltip;
};

/// One value for each of a row of things, as upright bars; a bar of nothing is left out.
struct BarChart {
  double width = half_width;
  std::string description;
  std::string x_title;
  std::string y_title;
  std::vector<ChartBar> bars;
};

std::string bar_chart(const BarChart& chart);

/// The same as lying bars with their labels before and their values behind them.
std::string ranking_chart(const BarChart& chart);

}  // namespace qiv
