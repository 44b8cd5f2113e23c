#include "evaluate/plot_svg.h"

#include <algorithm>
#include <cmath>

#include "evaluate/report_words.h"

namespace qiv {
namespace {

std::string number(double value) {
  return fixed(value, 1);
}

std::string attribute(std::string_view name, double value) {
  return " " + std::string(name) + "=\"" + number(value) + "\"";
}

}  // namespace

std::string escape_markup(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

double PlotScale::operator()(double value) const {
  const double share = to == from ? 0.0 : (value - from) / (to - from);
  return start + std::clamp(share, 0.0, 1.0) * (end - start);
}

std::vector<double> round_ticks(double from, double to, int wanted) {
  const double raw = (to - from) / wanted;
  const double power = std::pow(10.0, std::floor(std::log10(raw)));
  double step = 10.0 * power;
  for (const double factor : {5.0, 2.0, 1.0}) {
    if (factor * power >= raw * 0.999) step = factor * power;
  }
  std::vector<double> ticks;
  const double first = std::floor(from / step + 1e-9);
  const double last = std::ceil(to / step - 1e-9);
  for (double i = first; i <= last; i += 1.0) ticks.push_back(i * step);
  return ticks;
}

std::string svg_path(const std::vector<PlotPosition>& points) {
  std::string path;
  for (const auto& [x, y] : points) {
    path += path.empty() ? 'M' : 'L';
    path += number(x) + " " + number(y);
  }
  return path;
}

Svg::Svg(double width, double height, std::string_view description)
    : _markup("<svg viewBox=\"0 0 " + fixed(width, 0) + " " + fixed(height, 0) +
              "\" role=\"img\" aria-label=\"" + escape_markup(description) + "\">\n") {}

void Svg::line(PlotPosition from, PlotPosition to, std::string_view css_class) {
  add("line" + attribute("x1", from.first) + attribute("y1", from.second) +
          attribute("x2", to.first) + attribute("y2", to.second),
      css_class, {});
}

void Svg::path(const std::string& path, std::string_view css_class, std::string_view tooltip) {
  add("path d=\"" + path + "\"", css_class, tooltip);
}

void Svg::rectangle(PlotPosition corner, double width, double height, std::string_view css_class,
                    std::string_view tooltip) {
  add("rect" + attribute("x", corner.first) + attribute("y", corner.second) +
          attribute("width", width) + attribute("height", height),
      css_class, tooltip);
}

void Svg::circle(PlotPosition center, double radius, std::string_view css_class,
                 std::string_view tooltip) {
  add("circle" + attribute("cx", center.first) + attribute("cy", center.second) +
          attribute("r", radius),
      css_class, tooltip);
}

void Svg::text(PlotPosition at, std::string_view css_class, std::string_view text) {
  _markup += "<text" + attribute("x", at.first) + attribute("y", at.second) + " class=\"" +
             std::string(css_class) + "\">" + escape_markup(text) + "</text>\n";
}

std::string Svg::finish() && {
  return std::move(_markup) + "</svg>\n";
}

void Svg::add(const std::string& element, std::string_view css_class, std::string_view tooltip) {
  _markup += "<" + element + " class=\"" + std::string(css_class) + "\"";
  if (tooltip.empty()) {
    _markup += "/>\n";
  } else {
    const std::string name = element.substr(0, element.find(' '));
    _markup += "><title>" + escape_markup(tooltip) + "</title></" + name + ">\n";
  }
}

}  // namespace qiv
