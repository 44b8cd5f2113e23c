#include "serve/api/network_index.h"

#include <algorithm>
#include <array>
#include <utility>

#include "serve/api/network_json.h"

namespace qiv {
namespace {

std::vector<std::string_view> words(std::string_view text) {
  std::vector<std::string_view> result;
  while (!text.empty()) {
    const std::size_t end = text.find(' ');
    if (end != 0) result.push_back(text.substr(0, end));
    if (end == std::string_view::npos) break;
    text.remove_prefix(end + 1);
  }
  return result;
}

std::vector<std::vector<std::uint32_t>> collect_routes(const Network& network) {
  std::vector<std::vector<std::uint32_t>> routes_at(network.stops().size());
  for (const JourneyPattern& pattern : network.patterns()) {
    const Route* const route = network.find_route(pattern.route);
    if (route == nullptr) continue;
    const auto index = static_cast<std::uint32_t>(route - network.routes().data());
    for (const PatternStop& stop : pattern.stops) routes_at[stop.stop].push_back(index);
  }
  for (auto& routes : routes_at) {
    std::sort(routes.begin(), routes.end());
    routes.erase(std::unique(routes.begin(), routes.end()), routes.end());
  }
  return routes_at;
}

std::string headsign_of(const Network& network, PatternIndex index) {
  for (const TripIndex trip : network.trips_of(index)) {
    const std::string& headsign = network.trip(trip).headsign;
    if (!headsign.empty()) return headsign;
  }
  return network.stops()[network.pattern(index).stops.back().stop].name;
}

}  // namespace

bool BoundingBox::contains(const LatLon& place) const {
  if (place.lat_deg < south || place.lat_deg > north) return false;
  if (west <= east) return place.lon_deg >= west && place.lon_deg <= east;
  return place.lon_deg >= west || place.lon_deg <= east;
}

NetworkIndex::NetworkIndex(std::shared_ptr<const Network> network, Instant since)
    : _network(std::move(network)), _since(since), _routes_at(collect_routes(*_network)) {
  for (PatternIndex i = 0; i < _network->patterns().size(); ++i) {
    _headsigns.push_back(headsign_of(*_network, i));
  }
  for (const Stop& stop : _network->stops()) _folded_names.push_back(fold_case(stop.name));
}

const Route* NetworkIndex::route(PatternIndex pattern) const {
  return _network->find_route(_network->pattern(pattern).route);
}

std::vector<std::uint32_t> NetworkIndex::find_stops(std::string_view text,
                                                    const std::optional<BoundingBox>& box) const {
  const std::string folded = fold_case(text);
  const std::vector<std::string_view> wanted = words(folded);
  std::array<std::vector<std::uint32_t>, 3> found;
  for (std::uint32_t i = 0; i < _folded_names.size(); ++i) {
    const Stop& stop = _network->stops()[i];
    const std::string& name = _folded_names[i];
    if (box && !box->contains(stop.place)) continue;
    if (!wanted.empty() && stop.id.text() == text) {
      found[0].push_back(i);
    } else if (std::all_of(wanted.begin(), wanted.end(), [&](std::string_view word) {
                 return name.find(word) != std::string::npos;
               })) {
      found[name.starts_with(folded) ? 1 : 2].push_back(i);
    }
  }
  for (std::size_t rank = 1; rank < found.size(); ++rank) {
    found[0].insert(found[0].end(), found[rank].begin(), found[rank].end());
  }
  return std::move(found[0]);
}

BlobPtr NetworkIndex::geojson() const {
  return _geojson.get(
      [this] { return make_blob(network_geojson(*this), "application/geo+json", _since); });
}

const std::string& line_name(const Route& route) {
  return route.short_name.empty() ? route.long_name : route.short_name;
}

std::string fold_case(std::string_view text) {
  std::string folded(text);
  for (std::size_t i = 0; i < folded.size(); ++i) {
    const auto byte = static_cast<unsigned char>(folded[i]);
    if (byte >= 'A' && byte <= 'Z') {
      folded[i] = static_cast<char>(byte + 0x20);
    } else if (i > 0 && folded[i - 1] == '\xC3' && byte >= 0x80 && byte <= 0x9E && byte != 0x97) {
      folded[i] = static_cast<char>(byte + 0x20);  // À to Þ without ×
    }
  }
  return folded;
}

}  // namespace qiv
