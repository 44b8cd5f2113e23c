#pragma once

#include <cstdint>
#include <functional>

#include "app/city.h"
#include "app/stream_config.h"
#include "worker/finished_codec.h"
#include "worker/kafka/producer.h"

namespace qiv {

/// Tells the trips of a city that had ended by `until`: those of the recorded days up to `last` as
/// a worker tells them that takes the same positions, in the order in which they ended; then those
/// of the archive whose positions are gone. A trip that a vehicle was still on is not told.
void finished_trips(City& city, const AgencyId& agency, ServiceDate last, Instant until,
                    const std::function<void(const FinishedTrip&)>& take);

/// Writes these trips, but for those of which the stream has the same trip of the same vehicle
/// already. Returns how many. Throws `kafka::Error`.
std::uint64_t write_histories(City& city, const StreamConfig& config, kafka::Producer& producer,
                              ServiceDate last, Instant until);

}  // namespace qiv
