#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/identifier.h"
#include "model/trip_run.h"

namespace qiv {

/// The parts of a message's key, parted by "/". A "/" or "%" within a part is written "%2F", "%25".
/// Precondition: at least one part.
std::string join_key(std::initializer_list<std::string_view> parts);

/// The parts that `join_key` joined; nothing for a key that it cannot have written.
std::optional<std::vector<std::string>> split_key(std::string_view key);

/// One vehicle's trip, as the topics of forecasts and of finished trips name it.
struct TripOfVehicle {
  AgencyId agency;
  TripKey trip;
  VehicleId vehicle;

  friend bool operator==(const TripOfVehicle&, const TripOfVehicle&) = default;
  friend auto operator<=>(const TripOfVehicle&, const TripOfVehicle&) = default;
};

/// Key of a position: "agency/vehicle".
std::string position_key(const AgencyId& agency, const VehicleId& vehicle);

/// Key of a forecast: "agency/trip/day/start/vehicle"; `forecast_group` is it without the vehicle,
/// and decides the partition, so that all vehicles of a trip are in one.
std::string forecast_key(const TripOfVehicle& trip);
std::string forecast_group(const TripOfVehicle& trip);
std::optional<TripOfVehicle> parse_forecast_key(std::string_view key);

/// Key of a finished trip: "agency/pattern/trip/day/start/vehicle/begun"; `finished_group` is
/// "agency/pattern" and decides the partition, so that a pattern's trips have one order.
struct FinishedKey {
  TripOfVehicle trip;
  PatternRef pattern;
  Instant begun{};  ///< when its first report was received: a trip may be followed in two parts

  friend bool operator==(const FinishedKey&, const FinishedKey&) = default;
  friend auto operator<=>(const FinishedKey&, const FinishedKey&) = default;
};
std::string finished_key(const FinishedKey& key);
std::string finished_group(const FinishedKey& key);
std::optional<FinishedKey> parse_finished_key(std::string_view key);

}  // namespace qiv
