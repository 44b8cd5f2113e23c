#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include "evaluate/predicted_arrivals.h"
#include "evaluate/scorecard.h"
#include "evaluate/snapshot_record.h"

namespace qiv {

/// A snapshot that is older than this is not on display any more.
inline constexpr Seconds longest_snapshot_age{300};

/// Another producer whose recorded trip updates are scored beside our forecasts.
class OtherProducer {
 public:
  /// Throws std::runtime_error, with file and remedy, when there is no recording.
  OtherProducer(std::string name, const std::filesystem::path& recording,
                Seconds longest_age = longest_snapshot_age);

  const std::string& name() const { return _name; }

  /// The arrivals at the stops of a trip that were on display at `now`; null when there was nothing
  /// about the trip. `network` must be the same in every call. Valid until the next call.
  const PredictedArrivals* predict(const Network& network, const TripKey& trip, Instant now);

  /// What has been read so far.
  RecordedSource source() const;

 private:
  void take(const TripUpdateBatch& snapshot, const Network& network);

  std::string _name;
  std::string _recording;
  SnapshotRecord _record;
  std::optional<Instant> _taken;  ///< time of the snapshot that `_arrivals` are of
  std::map<TripKey, PredictedArrivals> _arrivals;
  std::uint64_t _updates = 0;
  Rejections _not_used;
};

}  // namespace qiv
