#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qiv {

/// `text` with the characters that mean something in HTML and SVG replaced.
std::string escape_markup(std::string_view text);

/// Turns values into positions of a picture.
struct PlotScale {
  double from = 0.0;
  double to = 1.0;
  double start = 0.0;  ///< position of `from`
  double end = 1.0;    ///< position of `to`

  /// Values outside of `from` to `to` are put at its ends.
  double operator()(double value) const;
};

/// Round values, each a multiple of 1, 2 or 5 times a power of ten, about `wanted` steps in all,
/// from the last at or below `from` to the first at or above `to`. Precondition: `from` < `to`.
std::vector<double> round_ticks(double from, double to, int wanted);

/// A point of a picture: x to the right and y downwards.
using PlotPosition = std::pair<double, double>;

/// "M1 2L3 4": straight from point to point.
std::string svg_path(const std::vector<PlotPosition>& points);

/// Writes one picture as an SVG element that takes its colours and fonts from the classes of the
/// page around it.
class Svg {
 public:
  /// `description` is read out in place of the picture.
  Svg(double width, double height, std::string_view description);

  void line(PlotPosition from, PlotPosition to, std::string_view css_class);
  void path(const std::string& path, std::string_view css_class, std::string_view tooltip = {});
  void rectangle(PlotPosition corner, double width, double height, std::string_view css_class,
                 std::string_view tooltip = {});
  void circle(PlotPosition center, double radius, std::string_view css_class,
              std::string_view tooltip = {});
  void text(PlotPosition at, std::string_view css_class, std::string_view text);

  std::string finish() &&;

 private:
  void add(const std::string& element, std::string_view css_class, std::string_view tooltip);

  std::string _markup;
};

}  // namespace qiv
