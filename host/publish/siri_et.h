#pragma once

#include <span>
#include <string>

#include "model/trip_forecast.h"
#include "network/network.h"
#include "publish/siri_xml.h"

namespace qiv {

/// A SIRI 2.0 Estimated Timetable delivery: one journey for each trip, with all of its calls; those
/// that are passed are recorded calls. The expected arrival has its
/// ExpectedArrivalPredictionQuality with the interval that holds 90 % of the arrivals. Times are
/// the same as in `trip_updates`.
///
/// A journey that is canceled, and a call that is skipped, say Cancellation and have no expected
/// times.
///
/// A journey whose vehicle does not name it, as `confidence` says, has a ConfidenceLevel:
/// "probablyReliable" from 0.8 on, else "unconfirmed".
///
/// A repetition of a frequency-based trip is named TRIP-HH:MM:SS; an absent line or direction is
/// "unknown", since the standard wants both. Trips that cannot be published are left out, as are
/// those whose stops have all been passed. `network` must be the one behind the forecasts.
std::string siri_et(std::span<const TripForecast> forecasts, const Network& network, Instant time,
                    const TripConfidence& confidence = {});

}  // namespace qiv
