#pragma once

#include <string>

namespace qiv {

/// The names of one city's topics; docs/stream.md describes them.
struct Topics {
  explicit Topics(const std::string& prefix)
      : positions(prefix + ".positions"),
        finished(prefix + ".finished"),
        reference(prefix + ".reference"),
        forecasts(prefix + ".forecasts"),
        set_aside(prefix + ".set-aside") {}

  std::string positions;
  std::string finished;
  std::string reference;
  std::string forecasts;
  std::string set_aside;
};

}  // namespace qiv
