#pragma once

#include <optional>
#include <string>

#include "engine/engine_options.h"
#include "engine/explain.h"
#include "model/settings.h"
#include "network/network.h"

namespace qiv {

/// What a forecast rests on, or why that cannot be told.
struct ForecastBasisFound {
  std::optional<Explanation> explanation;
  std::string reason;  ///< for people; empty when there is an explanation
};

/// Finds the earlier trips behind a forecast that another program made of `trip`: repeats it over
/// the trips of `history` from `first_earlier` on, as many as that program had, and tells their
/// weights. Each of them must have come here; where the repetition gives other times than the
/// forecast, some have not, and no explanation is given. Precondition: `trip` has all its places
/// and what the library answered. Costs the reading of the pattern's history.
ForecastBasisFound find_basis(const LiveTrip& trip, const std::optional<TripKey>& first_earlier,
                              const Network& network, const LearnedSettings& settings,
                              const HistorySource& history, ForecastMode mode);

}  // namespace qiv
