#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace qiv {

/// Writes metrics in Prometheus' text format, family by family.
class MetricsText {
 public:
  using Labels = std::initializer_list<std::pair<std::string_view, std::string_view>>;

  /// Begins a family of samples. `type` is "gauge", or "counter", whose name ends in "_total".
  void family(std::string_view name, std::string_view type, std::string_view help);
  /// One sample of the family that was begun last. Label values may be any bytes.
  void sample(double value, Labels labels = {});
  /// A family of one sample without labels.
  void single(std::string_view name, std::string_view type, std::string_view help, double value);

  const std::string& text() const { return _text; }

 private:
  std::string _text;
  std::string _name;
};

}  // namespace qiv
