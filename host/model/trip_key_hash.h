#pragma once

#include <cstddef>
#include <functional>

#include "model/trip_run.h"

namespace qiv {

/// For tables that are looked up by trip and day.
struct TripKeyHash {
  std::size_t operator()(const TripKey& key) const {
    const auto day = static_cast<std::size_t>(key.day.days().time_since_epoch().count());
    const auto start = static_cast<std::size_t>(key.start.count());
    return std::hash<TripId>()(key.trip) ^ (day * 0x9E3779B97F4A7C15U) ^ (start << 32U);
  }
};

}  // namespace qiv
