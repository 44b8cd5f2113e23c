#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "engine/engine_options.h"
#include "model/settings.h"
#include "model/time.h"
#include "network/network.h"

namespace report_bench {

/// Earlier trips of each pattern.
constexpr std::size_t earlier_trips = 50;
/// Vehicles on the road, each with a report in every message.
constexpr std::size_t vehicles = 1000;
/// From one report of a vehicle to the next.
constexpr qiv::Seconds every{10};
/// Messages before anything is measured, one a second.
constexpr std::size_t messages_before = 120;
/// Messages that are measured.
constexpr std::size_t messages_measured = 20;

/// One message of the feed.
struct Message {
  qiv::Instant received{};
  std::string bytes;
};

/// A town, its vehicles' reports, and its past.
struct Scene {
  std::shared_ptr<const qiv::Network> network;
  std::vector<Message> before;
  std::vector<Message> measured;
  qiv::LearnedSettings settings;
};

/// The same at every call.
Scene make_scene();

/// The earlier trips of a pattern: the timetable's times, each trip slower or faster by up to a
/// sixth.
std::vector<qiv::Trajectory> earlier(const qiv::Network& network, qiv::PatternIndex pattern,
                                     const qiv::Grid& grid);

}  // namespace report_bench
