#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "model/trip_forecast.h"
#include "network/network.h"
#include "publish/siri_xml.h"

namespace qiv {

/// A call that a trip has still to make.
struct StopVisit {
  const TripForecast* forecast = nullptr;  ///< never null
  std::size_t call = 0;                    ///< index into its stops
};

/// A SIRI 2.0 Stop Monitoring delivery for one stop: a visit for each of `visits`, in their order.
/// Times are the same as in `trip_updates`, names and levels of confidence as in `siri_et`. The
/// standard has no place for the quality of an expected arrival in a monitored call:
/// ExpectedArrivalPredictionQuality stands in its Extensions.
///
/// A call that is not made, because the trip is canceled or skips the stop, has the status
/// "cancelled" and no expected times.
///
/// Trips that cannot be published are left out. Precondition: `stop` is one of the network's.
std::string siri_sm(std::span<const StopVisit> visits, std::uint32_t stop, const Network& network,
                    Instant time, const TripConfidence& confidence = {});

}  // namespace qiv
