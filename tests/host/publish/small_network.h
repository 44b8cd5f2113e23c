#pragma once

#include <string>
#include <vector>

#include "model/trip_forecast.h"
#include "network/network.h"

namespace qiv::testing {

/// A line of four stops, in Dublin, from 1 to 31 October 2025, Mondays to Fridays:
///
///              TOWN   MARKET      PARK   HARBOUR
///     T1      08:00  08:05/06    08:15     08:25
///     T2      25:00  25:05/06    25:15     25:25
///     R     every 20 minutes from 10:00 to before 11:00
///
/// `first_trip` is another name for T1.
Network small_network(const std::string& first_trip = "T1");

/// Wednesday.
inline const ServiceDate first_of_october(std::chrono::year_month_day(std::chrono::year(2025),
                                                                      std::chrono::October,
                                                                      std::chrono::day(1)));

/// The instant of a time of the timetable on 1 October 2025, such as "08:05:00".
Instant at(const std::string& time);

/// A forecast for `trip` on 1 October, made at `made`: the vehicle "V7" has passed the stops for
/// which `observed` has a time and reaches the others when `forecast` says, a minute later or
/// earlier in two of three cases and two minutes in nine of ten. It departs 20 seconds after it
/// arrives.
TripForecast forecast_of(const Network& network, const std::string& trip, const std::string& made,
                         const std::vector<std::string>& observed,
                         const std::vector<std::string>& forecast);

/// The same in travel times: `travel_s` of its three legs, the first `observed` of them completed,
/// 40 seconds spent on the next. Half of the earlier trips took 15 seconds more or less.
TripForecast legs_of(const Network& network, const std::string& trip, const std::string& made,
                     std::size_t observed, const std::vector<long>& travel_s);

}  // namespace qiv::testing
