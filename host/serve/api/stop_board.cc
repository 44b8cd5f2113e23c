#include "serve/api/stop_board.h"

#include <algorithm>
#include <numeric>
#include <tuple>

namespace qiv {
namespace {

/// Boards tell of canceled trips as early as of others.
constexpr Seconds canceled_ahead = std::chrono::hours(1);

/// Calls `visit` with the trip, the call and its stop for every call to come.
template <class Visit>
void each_call(const Snapshot& snapshot, Visit&& visit) {
  const std::size_t stops = snapshot.network->stops().size();
  for (std::uint32_t trip = 0; trip < snapshot.trips.size(); ++trip) {
    const auto& calls = snapshot.trips[trip].stops.read();
    for (std::uint32_t call = 0; call < calls.size(); ++call) {
      if (calls[call].stop >= stops) continue;
      if (!is_on_board(snapshot.trips[trip], call, snapshot.now)) continue;
      visit(trip, call, calls[call].stop);
    }
  }
}

}  // namespace

StopBoard::StopBoard(const Snapshot& snapshot)
    : _snapshot(snapshot), _begin(snapshot.network->stops().size() + 1, 0) {
  each_call(snapshot, [this](std::uint32_t /*trip*/, std::uint32_t /*call*/, std::uint32_t stop) {
    ++_begin[stop + 1];
  });
  std::partial_sum(_begin.begin(), _begin.end(), _begin.begin());
  _places.resize(_begin.back());
  std::vector<std::uint32_t> next(_begin.begin(), _begin.end() - 1);
  each_call(snapshot, [&](std::uint32_t trip, std::uint32_t call, std::uint32_t stop) {
    _places[next[stop]++] = {trip, call};
  });
}

std::vector<StopVisit> StopBoard::visits(std::uint32_t stop) const {
  std::vector<StopVisit> visits;
  for (std::uint32_t i = _begin[stop]; i < _begin[stop + 1]; ++i) {
    visits.push_back({&_snapshot.trips[_places[i].trip], _places[i].call});
  }
  std::sort(visits.begin(), visits.end(), [](const StopVisit& a, const StopVisit& b) {
    return std::tuple(visit_time(a), std::cref(a.forecast->trip), a.call) <
           std::tuple(visit_time(b), std::cref(b.forecast->trip), b.call);
  });
  return visits;
}

bool is_on_board(const TripForecast& trip, std::size_t call, Instant now) {
  const StopForecast& stop = trip.stops[call];
  if (stop.observed) return false;
  if (trip.state != TripState::canceled) return true;
  return now <= stop.departure && stop.departure <= now + canceled_ahead;
}

Instant visit_time(const StopVisit& visit) {
  const StopForecast& stop = visit.forecast->stops[visit.call];
  return visit.call == 0 ? stop.departure : stop.arrival.time;
}

}  // namespace qiv
