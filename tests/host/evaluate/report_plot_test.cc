#include <gmock/gmock.h>

#include <limits>

#include "evaluate/plot_chart.h"
#include "evaluate/plot_svg.h"
#include "evaluate/plot_trip.h"
#include "host/evaluate/report_sample.h"

namespace qiv {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(PlotSvgTest, RoundTicksEncloseTheRange) {
  EXPECT_THAT(round_ticks(0.0, 158.0, 5), ElementsAre(0.0, 50.0, 100.0, 150.0, 200.0));
  EXPECT_THAT(round_ticks(50.0, 100.0, 5), ElementsAre(50.0, 60.0, 70.0, 80.0, 90.0, 100.0));
  EXPECT_THAT(round_ticks(0.0, 7.0, 5), ElementsAre(0.0, 2.0, 4.0, 6.0, 8.0));
  EXPECT_THAT(round_ticks(-3.0, 3.0, 3), ElementsAre(-4.0, -2.0, 0.0, 2.0, 4.0));
}

TEST(PlotSvgTest, ScaleStopsAtItsEnds) {
  const PlotScale y{0.0, 200.0, 300.0, 20.0};
  EXPECT_EQ(y(0.0), 300.0);
  EXPECT_EQ(y(50.0), 230.0);
  EXPECT_EQ(y(1e9), 20.0);
  EXPECT_EQ(y(-5.0), 300.0);
}

TEST(PlotSvgTest, MarkupIsEscaped) {
  Svg svg(10, 20, "a \"b\" & <c>");
  svg.text({1.0, 2.0}, "tick", "1 < 2");
  svg.circle({1.0, 2.0}, 3.0, "dot", "x & y");
  EXPECT_EQ(
      std::move(svg).finish(),
      "<svg viewBox=\"0 0 10 20\" role=\"img\" aria-label=\"a &quot;b&quot; &amp; &lt;c&gt;\">\n"
      "<text x=\"1.0\" y=\"2.0\" class=\"tick\">1 &lt; 2</text>\n"
      "<circle cx=\"1.0\" cy=\"2.0\" r=\"3.0\" class=\"dot\"><title>x &amp; y</title></circle>\n"
      "</svg>\n");
}

LineChart two_lines() {
  LineChart chart;
  chart.columns = {"0-3", "3-6"};
  chart.unit = " s";
  chart.lines = {{"ours", "c0", true, {10.0, 20.0}}, {"theirs", "c1", false, {10.0, 20.0}}};
  return chart;
}

TEST(PlotChartTest, ManyColumnsHaveEveryOtherLabel) {
  LineChart chart;
  ChartLine line{"ours", "c0", true, {}};
  for (int hour = 0; hour < 24; ++hour) {
    chart.columns.push_back("h" + std::to_string(hour));
    line.values.emplace_back(hour);
  }
  chart.lines = {line};
  const std::string svg = line_chart(chart);
  EXPECT_THAT(svg, HasSubstr(">h22</text>"));
  EXPECT_THAT(svg, Not(HasSubstr(">h23</text>")));
  EXPECT_THAT(svg, HasSubstr("<title>ours, h23: 23.0</title>"));
}

TEST(PlotChartTest, PointsTellTheirValues) {
  const std::string svg = line_chart(two_lines());
  EXPECT_THAT(svg, HasSubstr("<title>ours, 3-6: 20.0 s</title>"));
  EXPECT_THAT(svg, HasSubstr("class=\"line c0 strong\""));
}

TEST(PlotChartTest, LabelsOfEqualLinesDoNotLieOnEachOther) {
  const std::string svg = line_chart(two_lines());
  const auto y_of = [&](const std::string& label) {
    const std::size_t end = svg.rfind("\" class", svg.find(">" + label + "</text>"));
    return std::stod(svg.substr(svg.rfind('"', end - 1) + 1));
  };
  EXPECT_GE(std::abs(y_of("ours") - y_of("theirs")), 14.0);
}

TEST(PlotChartTest, WhatIsNoNumberIsLeftOut) {
  LineChart chart = two_lines();
  chart.lines[0].values = {std::nullopt, std::numeric_limits<double>::quiet_NaN()};
  chart.lines[1].values = {std::numeric_limits<double>::infinity(), 5.0};
  const std::string svg = line_chart(chart);
  EXPECT_THAT(svg, Not(HasSubstr("ours")));
  EXPECT_THAT(svg, HasSubstr("theirs, 3-6: 5.0 s"));
}

TEST(PlotChartTest, BarsOfNothingAreLeftOut) {
  BarChart chart;
  chart.bars = {{"7", 0.0, "seven"}, {"8", 12.0, "eight"}};
  const std::string svg = bar_chart(chart);
  EXPECT_THAT(svg, HasSubstr("<title>eight</title>"));
  EXPECT_THAT(svg, Not(HasSubstr("<title>seven</title>")));
}

TEST(PlotTripTest, ShowsMomentsOnTheTimetablesClock) {
  const TripPlot plot = testing::sample_details().worst_trips[0];
  const std::string svg = trip_plot(plot);
  EXPECT_THAT(svg, HasSubstr("<title>forecast made at 08:01:45</title>"));
  EXPECT_THAT(svg, HasSubstr("class=\"band wide c0\""));
  EXPECT_THAT(svg, HasSubstr(">Dun Laoghaire</text>"));
  EXPECT_THAT(svg, HasSubstr(">08:30</text>"));
}

TEST(PlotTripTest, NamesOfCloseStopsDoNotLieOnEachOther) {
  TripPlot plot = testing::sample_details().worst_trips[0];
  plot.stops.insert(plot.stops.begin() + 1, {"Next Door", 20.0});
  const std::string svg = trip_plot(plot);
  EXPECT_THAT(svg, Not(HasSubstr("Next Door")));
  EXPECT_THAT(svg, HasSubstr(">Malahide</text>"));
}

TEST(PlotTripTest, LongNamesAreCutBetweenCharacters) {
  TripPlot plot = testing::sample_details().worst_trips[0];
  plot.stops[0].name = "Ceannt Áth Luain Áthanna";
  EXPECT_THAT(trip_plot(plot), HasSubstr(">Ceannt Áth Luain…</text>"));
}

TEST(PlotTripTest, NothingToDraw) {
  EXPECT_THAT(trip_plot(TripPlot()), Not(HasSubstr("<path")));
}

}  // namespace
}  // namespace qiv
