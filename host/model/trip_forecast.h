#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "model/identifier.h"
#include "model/shared_list.h"
#include "model/time.h"
#include "model/trip_run.h"

namespace qiv {

/// What the vehicle of a forecast is doing.
enum class TripState : std::uint8_t {
  not_begun,  ///< no vehicle yet, or its vehicle still runs another trip
  waiting,    ///< the vehicle stands at the first stop
  under_way,
  overdue,  ///< under way, and behind what was forecast for the next stop
  finished,
  canceled,  ///< will not run, as the agency says; its times are those of the timetable
};

const char* to_string(TripState state);

/// Where a forecast comes from.
enum class ForecastBasis : std::uint8_t {
  history,    ///< earlier trips, through the forecasting library
  timetable,  ///< no earlier trips: the timetable itself served as history
};

const char* to_string(ForecastBasis basis);

/// A time with the intervals that were promised for it. Each interval's ends are calibrated on
/// their own: one arrival in six comes before `lower_68`, one in six after `upper_68`; one in
/// twenty before `lower_90`, which is also the time to leave for the stop, and one in twenty after
/// `upper_90`.
struct BoundedTime {
  Instant time{};
  Instant lower_68{};
  Instant upper_68{};
  Instant lower_90{};
  Instant upper_90{};

  friend bool operator==(const BoundedTime&, const BoundedTime&) = default;
};

/// The forecast, or the observation, at one stop of a trip.
struct StopForecast {
  std::uint32_t stop = 0;           ///< index into the timetable's stops
  std::uint32_t stop_sequence = 0;  ///< as in the timetable
  bool observed = false;            ///< passed: `arrival.time` is what was observed
  bool skipped = false;             ///< the agency says that the trip does not call here
  BoundedTime arrival;
  double spread_s = 0.0;    ///< weighted standard deviation of what earlier trips did
  Instant departure{};      ///< not before the arrival, nor before the timetable at the start
  Instant library_lower{};  ///< one weighted standard deviation before ...
  Instant library_upper{};  ///< ... and after, as the library gave it

  friend bool operator==(const StopForecast&, const StopForecast&) = default;
};

/// The travel time of one leg: from the arrival at a stop (at the first stop: the departure) to the
/// arrival at the next, the time at the stop where it begins included.
struct LegForecast {
  std::uint32_t from = 0;           ///< index into the timetable's stops
  std::uint32_t to = 0;             ///< the same
  std::uint32_t from_sequence = 0;  ///< as in the timetable
  std::uint32_t to_sequence = 0;
  bool observed = false;           ///< completed: `travel_time` is what was observed
  std::optional<Seconds> elapsed;  ///< what the vehicle was seen to spend on it; the leg under way
  Seconds travel_time{0};          ///< of the whole leg; not less than `elapsed`
  double spread_s = 0.0;           ///< weighted standard deviation of what earlier trips did
  Seconds library_lower{0};        ///< one weighted standard deviation less ...
  Seconds library_upper{0};        ///< ... and more, as the library gave it
};

/// The forecast for all stops, or for all legs, of one trip, as of `made`.
struct TripForecast {
  TripKey trip;
  VehicleId vehicle;  ///< empty when none is known
  PatternRef pattern;
  TripState state = TripState::not_begun;
  ForecastBasis basis = ForecastBasis::history;
  Instant made{};                  ///< the clock at which it was computed
  Instant position_time{};         ///< time of the last progress behind it
  double offset_m = 0.0;           ///< the last progress
  int category = -1;               ///< of the history that it was made from
  unsigned int trips = 0;          ///< number of earlier trips behind it
  double confidence = 0.0;         ///< as the library gave it
  SharedList<StopForecast> stops;  ///< when arrivals are forecast
  std::vector<LegForecast> legs;   ///< when travel times are forecast; then there are no stops
};

}  // namespace qiv
