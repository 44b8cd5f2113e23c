#pragma once

#include <compare>
#include <functional>
#include <ostream>
#include <string>
#include <utility>

namespace qiv {

/// A name out of the feeds, kept apart from the names of other things by its type.
template <class Tag>
class Identifier {
 public:
  Identifier() = default;
  explicit Identifier(std::string text) : _text(std::move(text)) {}

  const std::string& text() const { return _text; }
  bool empty() const { return _text.empty(); }

  friend bool operator==(const Identifier&, const Identifier&) = default;
  friend auto operator<=>(const Identifier&, const Identifier&) = default;
  friend std::ostream& operator<<(std::ostream& out, const Identifier& id) {
    return out << id._text;
  }

 private:
  std::string _text;
};

using AgencyId = Identifier<struct AgencyTag>;
using BlockId = Identifier<struct BlockTag>;
using RouteId = Identifier<struct RouteTag>;
using ServiceId = Identifier<struct ServiceTag>;
using ShapeId = Identifier<struct ShapeTag>;
using StopId = Identifier<struct StopTag>;
using TripId = Identifier<struct TripTag>;
using VehicleId = Identifier<struct VehicleTag>;

/// Names a journey pattern. The same from one version of a timetable to the next as long as route,
/// direction, stops and path are the same, so that history carries over.
using PatternRef = Identifier<struct PatternTag>;

}  // namespace qiv

template <class Tag>
struct std::hash<qiv::Identifier<Tag>> {
  std::size_t operator()(const qiv::Identifier<Tag>& id) const {
    return std::hash<std::string>()(id.text());
  }
};
