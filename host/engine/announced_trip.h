#pragma once

#include <cstdint>
#include <optional>

#include "engine/kept_display.h"
#include "engine/pattern_desk.h"
#include "network/trip_plan.h"

namespace qiv {

/// A trip on display that no vehicle has begun.
struct AnnouncedTrip {
  ScheduledTrip schedule;
  std::optional<HistoryChoice> choice;  ///< nothing before it is shown for the first time
  std::uint64_t histories = 0;          ///< version of those that it was chosen from
  KeptDisplay shown;
};

}  // namespace qiv
