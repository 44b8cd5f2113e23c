#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "model/vehicle_position.h"
#include "network/network.h"
#include "worker/finished_codec.h"

namespace qiv::testing {

inline const AgencyId stream_agency("dart");

/// A network of the bytes of a GTFS zip file.
std::shared_ptr<const Network> network_of(const std::string& gtfs);

/// What goes through a stream in a test.
struct StreamData {
  std::string gtfs;
  std::shared_ptr<const Network> network;
  std::vector<VehiclePosition> positions;  ///< in order of receipt
  std::vector<FinishedTrip> histories;     ///< of the days before
};

/// A stretch of 7 October 2025 of the recorded city, local time "HH:MM:SS".
StreamData recorded(const std::string& from, const std::string& to);

/// An hour of a synthetic town: traffic, noise, gaps, detours, vehicles that name no trip, reports
/// that come late and twice. The hours before it, with other seeds, are its histories.
StreamData simulated(std::uint64_t seed);

}  // namespace qiv::testing
