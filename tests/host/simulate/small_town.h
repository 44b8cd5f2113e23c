#pragma once

#include "model/timetable.h"
#include "network/network.h"
#include "simulate/town.h"

namespace qiv::testing {

/// A town with 60 vehicles on the road from 08:00 to 10:00 UTC, from 5 May 2025 on.
TownOptions small_town_options();
Timetable small_town();
Network small_town_network();

/// A time of 5 May 2025, such as "08:30:00".
Instant at(const std::string& time);

}  // namespace qiv::testing
