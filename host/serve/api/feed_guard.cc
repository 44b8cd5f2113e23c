#include "serve/api/feed_guard.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "gtfs-realtime.pb.h"
#include "publish/check.h"
#include "publish/trip_updates.h"

namespace qiv {
namespace {

constexpr const char* protobuf_type = "application/x-protobuf";

using transit_realtime::FeedMessage;

std::size_t followed(const Snapshot& snapshot) {
  return static_cast<std::size_t>(
      std::count_if(snapshot.vehicles.begin(), snapshot.vehicles.end(),
                    [](const VehicleView& vehicle) { return vehicle.trip.has_value(); }));
}

void remove_entities(FeedMessage& message, const std::map<std::string, FeedViolation>& faulty) {
  auto* const entities = message.mutable_entity();
  int kept = 0;
  for (int i = 0; i < entities->size(); ++i) {
    if (faulty.contains(entities->Get(i).id())) continue;
    if (kept != i) entities->SwapElements(kept, i);
    ++kept;
  }
  entities->DeleteSubrange(kept, entities->size() - kept);
}

}  // namespace

struct FeedGuard::Candidate {
  FeedMessage message;
  Instant time{};
  Rejections withheld;
  std::size_t built = 0;     ///< trips before the check
  std::size_t vehicles = 0;  ///< followed
  std::string header_fault;

  std::size_t kept() const { return static_cast<std::size_t>(message.entity_size()); }
};

GuardedFeed FeedGuard::next(const Snapshot& snapshot) {
  const Instant time = std::max(snapshot.now, _last_header);
  const Candidate candidate = build(snapshot, time);
  _trips_withheld += candidate.withheld.total();
  if (_last_now < snapshot.now && _last_now > Instant()) _stood += snapshot.now - _last_now;
  _last_now = snapshot.now;
  std::string fault = fault_of(candidate);
  GuardedFeed feed =
      fault.empty() ? accept(candidate) : stand(candidate, snapshot, std::move(fault));
  _last_header = std::max(_last_header, feed.header_time);
  feed.withheld = candidate.withheld;
  feed.trips_withheld = _trips_withheld;
  feed.feeds_withheld = _feeds_withheld;
  return feed;
}

FeedGuard::Candidate FeedGuard::build(const Snapshot& snapshot, Instant time) const {
  Candidate candidate;
  TripUpdateFeed feed = trip_updates(snapshot.trips, *snapshot.network, time);
  candidate.message = std::move(feed.message);
  candidate.withheld = std::move(feed.withheld);
  candidate.time = time;
  candidate.vehicles = followed(snapshot);
  candidate.built = candidate.kept();
  FeedCheckOptions options;
  if (_good) options.previous_header = _last_header;
  std::map<std::string, FeedViolation> faulty;
  for (FeedViolation& violation : check_feed(candidate.message, *snapshot.network, options)) {
    if (!violation.entity.empty()) {
      std::string entity = violation.entity;
      faulty.emplace(std::move(entity), std::move(violation));
    } else if (candidate.header_fault.empty()) {
      candidate.header_fault = std::string(to_string(violation.rule)) + ": " + violation.detail;
    }
  }
  for (const auto& [entity, violation] : faulty) {
    candidate.withheld.add(std::string("fails the check: ") + to_string(violation.rule),
                           [&] { return entity + ": " + violation.detail; });
  }
  remove_entities(candidate.message, faulty);
  return candidate;
}

std::string FeedGuard::fault_of(const Candidate& candidate) const {
  if (!candidate.header_fault.empty()) return candidate.header_fault;
  if (candidate.built > 0 && candidate.kept() == 0) return "every trip fails the check";
  if (!_good || _good->trips < _options.least_trips) return {};
  // What the vehicles explain: with half of them gone, half of the trips may be, too.
  const double vehicles_left = _good_vehicles == 0
                                   ? 1.0
                                   : std::min(1.0, static_cast<double>(candidate.vehicles) /
                                                       static_cast<double>(_good_vehicles));
  const double expected = static_cast<double>(_good->trips) * vehicles_left;
  if (static_cast<double>(candidate.kept()) >= _options.collapse_share * expected) return {};
  return "the trips fall from " + std::to_string(_good->trips) + " to " +
         std::to_string(candidate.kept()) + ", the vehicles from " +
         std::to_string(_good_vehicles) + " to " + std::to_string(candidate.vehicles);
}

GuardedFeed FeedGuard::accept(const Candidate& candidate) {
  GuardedFeed feed;
  feed.header_time = candidate.time;
  feed.trips = candidate.kept();
  feed.bytes = make_blob(to_bytes(candidate.message), protobuf_type, candidate.time);
  _good = feed;
  _good_vehicles = candidate.vehicles;
  _stood = Seconds(0);
  return feed;
}

GuardedFeed FeedGuard::stand(const Candidate& candidate, const Snapshot& snapshot,
                             std::string detail) {
  ++_feeds_withheld;
  if (_good && _good->trips > 0 && _stood <= _options.longest_stand) {
    GuardedFeed feed = *_good;
    feed.standing = true;
    feed.detail = std::move(detail);
    return feed;
  }
  GuardedFeed empty;
  empty.header_time = candidate.time;
  empty.bytes = make_blob(to_bytes(trip_updates({}, *snapshot.network, candidate.time).message),
                          protobuf_type, candidate.time);
  // What comes next is measured against nothing, so that few trips are better than none.
  _good = empty;
  _good_vehicles = 0;
  empty.detail = std::move(detail);
  return empty;
}

}  // namespace qiv
