#include "serve/api/feed_guard.h"

#include <algorithm>
#include <utility>

#include "publish/kept_trip_updates.h"
#include "publish/trip_updates.h"

namespace qiv {
namespace {

constexpr const char* protobuf_type = "application/x-protobuf";

std::size_t followed(const Snapshot& snapshot) {
  return static_cast<std::size_t>(
      std::count_if(snapshot.vehicles.begin(), snapshot.vehicles.end(),
                    [](const VehicleView& vehicle) { return vehicle.trip.has_value(); }));
}

}  // namespace

struct FeedGuard::Candidate {
  KeptTripUpdates::Feed feed;
  Instant time{};
  std::size_t vehicles = 0;  ///< followed
};

FeedGuard::FeedGuard(FeedGuardOptions options)
    : _options(options), _updates(std::make_unique<KeptTripUpdates>()) {}

FeedGuard::FeedGuard(FeedGuard&&) noexcept = default;
FeedGuard& FeedGuard::operator=(FeedGuard&&) noexcept = default;
FeedGuard::~FeedGuard() = default;

GuardedFeed FeedGuard::next(const Snapshot& snapshot) {
  const Instant time = std::max(snapshot.now, _last_header);
  Candidate candidate = build(snapshot, time);
  _trips_withheld += candidate.feed.withheld.total();
  if (_last_now < snapshot.now && _last_now > Instant()) _stood += snapshot.now - _last_now;
  _last_now = snapshot.now;
  std::string fault = fault_of(candidate);
  GuardedFeed feed =
      fault.empty() ? accept(candidate) : stand(candidate, snapshot, std::move(fault));
  _last_header = std::max(_last_header, feed.header_time);
  feed.withheld = std::move(candidate.feed.withheld);
  feed.trips_withheld = _trips_withheld;
  feed.feeds_withheld = _feeds_withheld;
  return feed;
}

FeedGuard::Candidate FeedGuard::build(const Snapshot& snapshot, Instant time) {
  FeedCheckOptions check;
  if (_good) check.previous_header = _last_header;
  return {_updates->next(snapshot.trips, snapshot.network, time, check), time, followed(snapshot)};
}

std::string FeedGuard::fault_of(const Candidate& candidate) const {
  const KeptTripUpdates::Feed& feed = candidate.feed;
  if (!feed.header_violations.empty()) {
    const FeedViolation& first = feed.header_violations.front();
    return std::string(to_string(first.rule)) + ": " + first.detail;
  }
  if (feed.made > 0 && feed.trips == 0) return "every trip fails the check";
  if (!_good || _good->trips < _options.least_trips) return {};
  // What the vehicles explain: with half of them gone, half of the trips may be, too.
  const double vehicles_left = _good_vehicles == 0
                                   ? 1.0
                                   : std::min(1.0, static_cast<double>(candidate.vehicles) /
                                                       static_cast<double>(_good_vehicles));
  const double expected = static_cast<double>(_good->trips) * vehicles_left;
  if (static_cast<double>(feed.trips) >= _options.collapse_share * expected) return {};
  return "the trips fall from " + std::to_string(_good->trips) + " to " +
         std::to_string(feed.trips) + ", the vehicles from " + std::to_string(_good_vehicles) +
         " to " + std::to_string(candidate.vehicles);
}

GuardedFeed FeedGuard::accept(Candidate& candidate) {
  GuardedFeed feed;
  feed.header_time = candidate.time;
  feed.trips = candidate.feed.trips;
  feed.bytes = make_blob(std::move(candidate.feed.bytes), protobuf_type, candidate.time);
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
