#pragma once

#include <map>
#include <set>
#include <vector>

#include "engine/engine_options.h"
#include "network/network.h"
#include "worker/finished_codec.h"

namespace qiv {

/// The finished trips that the stream holds, by pattern, each in the order in which its partition
/// has them. The same trip twice is one trip.
class HistoryBook {
 public:
  /// Trips that finished later stay out.
  explicit HistoryBook(Instant until = Instant::max()) : _until(until) {}

  /// Takes a trip. False when it is known already, or finished too late.
  bool take(const FinishedTrip& trip);

  /// The histories of a network's patterns, as they are at the moment at which each is asked for.
  /// Book and network must outlive the source.
  HistorySource source(const Network& network) const;

  std::size_t trips() const { return _known.size(); }

 private:
  Instant _until;
  std::set<FinishedKey> _known;
  std::map<PatternRef, std::vector<FinishedTrip>> _trips;
};

}  // namespace qiv
