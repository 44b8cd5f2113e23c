#pragma once

#include <map>
#include <span>
#include <string>
#include <vector>

#include "publish/check.h"
#include "publish/kept_trip_updates.h"
#include "publish/trip_updates.h"

namespace qiv::testing {

/// What `KeptTripUpdates` is to give, the plain way: the whole message is made, checked, cleared of
/// what fails and written.
inline KeptTripUpdates::Feed plain_trip_updates(std::span<const TripForecast> forecasts,
                                                const Network& network, Instant time,
                                                const FeedCheckOptions& check = {},
                                                const TripUpdateOptions& options = {}) {
  TripUpdateFeed whole = trip_updates(forecasts, network, time, options);
  KeptTripUpdates::Feed feed;
  feed.made = static_cast<std::size_t>(whole.message.entity_size());
  feed.withheld = whole.withheld;
  std::map<std::string, FeedViolation> faulty;
  for (const FeedViolation& violation : check_feed(whole.message, network, check)) {
    if (violation.entity.empty()) {
      feed.header_violations.push_back(violation);
    } else {
      faulty.emplace(violation.entity, violation);
    }
  }
  for (const auto& [entity, violation] : faulty) {
    feed.withheld.add(std::string("fails the check: ") + to_string(violation.rule),
                      [&] { return entity + ": " + violation.detail; });
  }
  transit_realtime::FeedMessage kept;
  *kept.mutable_header() = whole.message.header();
  for (const auto& entity : whole.message.entity()) {
    if (!faulty.contains(entity.id())) *kept.add_entity() = entity;
  }
  feed.trips = static_cast<std::size_t>(kept.entity_size());
  feed.bytes = to_bytes(kept);
  return feed;
}

}  // namespace qiv::testing
