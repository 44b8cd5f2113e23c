#pragma once

#include <string>
#include <vector>

#include "host/history/temporary_folder.h"
#include "host/support/straight_line.h"
#include "serve/archive_history.h"
#include "serve/live_city.h"

namespace qiv::testing {

/// A city on the straight line, with an archive of its own.
class LineService {
 public:
  LiveCity city(LiveCityOptions options = {}) {
    return LiveCity(network, settings, archive, histories(), options);
  }

  HistoryFactory histories() {
    return [this](const Network& of, std::shared_ptr<const HistoryBounds> bounds) {
      return archive_history(archive, of, std::move(bounds));
    };
  }

  samples::TemporaryFolder folder;
  Archive archive{folder / "archive.sqlite"};
  std::shared_ptr<const Network> network = std::make_shared<Network>(straight_network());
  LearnedSettings settings;
};

/// The reports of a vehicle that runs the whole line in `leg_s` from stop to stop, one report each
/// 250 m, from `start` on.
inline std::vector<VehiclePosition> run_over_line(const std::string& vehicle,
                                                  const std::string& trip, Instant start,
                                                  int leg_s = 120) {
  std::vector<VehiclePosition> positions;
  for (int report = 0; report <= 16; ++report) {
    VehiclePosition position = fix(vehicle, trip, "00:00:00", 250.0 * report);
    position.time = position.received = start + Seconds(leg_s * report / 4);
    positions.push_back(position);
  }
  return positions;
}

inline TripKey key_of(const std::string& trip) {
  return {TripId(trip), monday, Seconds(0)};
}

}  // namespace qiv::testing
