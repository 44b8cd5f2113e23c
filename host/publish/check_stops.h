#pragma once

#include <functional>
#include <string>

#include "gtfs-realtime.pb.h"
#include "network/network.h"
#include "publish/check.h"

namespace qiv {

/// Called for each violation, with what is wrong in words.
using FeedReport = std::function<void(FeedRule rule, std::string detail)>;

/// Holds the stops of an update to the rules from `stop_known` on. Where an event states only a
/// delay it is read as a time.
void check_stops(const transit_realtime::TripUpdate& update, const ScheduledTrip& schedule,
                 const Network& network, const FeedReport& report);

}  // namespace qiv
