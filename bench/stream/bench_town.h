#pragma once

#include <cstddef>
#include <memory>

#include "network/network.h"
#include "simulate/fleet.h"
#include "worker/stream_key.h"

namespace qiv::bench_town {

constexpr Seconds report_interval{20};
extern const AgencyId agency;
extern const ServiceDate day;

/// A town with at least so many vehicles on the road from 8 to 11 o'clock of the day.
std::shared_ptr<const Network> make_network(std::size_t vehicles);

/// Of its fleet, which reports every `report_interval`.
FleetOptions fleet_options();

}  // namespace qiv::bench_town
