#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "network/network.h"
#include "serve/api/lazy.h"
#include "serve/http/blob.h"

namespace qiv {

/// A part of the earth; `west` > `east` crosses the antimeridian.
struct BoundingBox {
  double west = -180.0;
  double south = -90.0;
  double east = 180.0;
  double north = 90.0;

  bool contains(const LatLon& place) const;
};

/// What the outputs want to know of a timetable beside what it says itself. Immutable; kept as long
/// as the timetable is in use.
class NetworkIndex {
 public:
  /// `since`: when the timetable came into use.
  NetworkIndex(std::shared_ptr<const Network> network, Instant since);

  const Network& network() const { return *_network; }
  const std::shared_ptr<const Network>& shared_network() const { return _network; }
  Instant since() const { return _since; }

  /// The routes that call at a stop: indices into the network's.
  std::span<const std::uint32_t> routes_at(std::uint32_t stop) const { return _routes_at[stop]; }
  /// Of the pattern's first trip, or the name of its last stop.
  const std::string& headsign(PatternIndex pattern) const { return _headsigns[pattern]; }
  /// The route, null for a pattern without one.
  const Route* route(PatternIndex pattern) const;

  /// Stops that have all words of `text` in their name, or have it as their identifier, and lie in
  /// `box`, if any. The identifier comes first, then names that begin with the text, then the
  /// others, each in the order of the timetable. An empty text fits all.
  std::vector<std::uint32_t> find_stops(std::string_view text,
                                        const std::optional<BoundingBox>& box) const;

  /// Paths and stops as GeoJSON.
  BlobPtr geojson() const;
  /// Changes with what `geojson` shows.
  const std::string& version() const { return geojson()->tag(); }

 private:
  std::shared_ptr<const Network> _network;
  Instant _since;
  std::vector<std::vector<std::uint32_t>> _routes_at;
  std::vector<std::string> _headsigns;
  std::vector<std::string> _folded_names;  ///< of the stops, for searching
  Lazy<BlobPtr> _geojson;
};

/// The route's short name, or its long one; may be empty.
const std::string& line_name(const Route& route);

/// The text in lower case, as far as Latin letters go, for comparing.
std::string fold_case(std::string_view text);

}  // namespace qiv
