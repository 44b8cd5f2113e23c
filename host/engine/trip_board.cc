#include "engine/trip_board.h"

#include <utility>

namespace qiv {

void TripBoard::put(std::shared_ptr<LiveTrip> live, std::size_t shard) {
  Row& row = row_of(live->schedule);
  row.shard = shard;
  row.live = std::move(live);
  row.announced.reset();
}

void TripBoard::announce(const ScheduledTrip& trip, std::size_t shard) {
  Row& row = row_of(trip);
  if (row.announced) return;
  row.shard = shard;
  row.live = nullptr;
  row.announced = AnnouncedTrip{trip, std::nullopt, 0, {}};
}

void TripBoard::remove(const TripKey& trip) {
  const auto entry = _rows.find(trip);
  if (entry == _rows.end()) return;
  const Row& row = entry->second;
  const ScheduledTrip& schedule = row.announced ? row.announced->schedule : row.live->schedule;
  if (Row* const next = find(schedule.next)) next->previous = nullptr;
  _rows.erase(entry);
}

TripBoard::Row& TripBoard::row_of(const ScheduledTrip& trip) {
  const auto [entry, is_new] = _rows.try_emplace(trip.key);
  Row& row = entry->second;
  if (is_new) {
    row.previous = find(trip.previous);
    if (Row* const next = find(trip.next)) next->previous = &row;
  }
  return row;
}

TripBoard::Row* TripBoard::find(const std::optional<TripKey>& trip) {
  const auto entry = trip ? _rows.find(*trip) : _rows.end();
  return entry == _rows.end() ? nullptr : &entry->second;
}

}  // namespace qiv
