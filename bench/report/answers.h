#pragma once

#include <span>
#include <string>
#include <vector>

#include "model/trip_forecast.h"
#include "report/scene.h"

namespace report_bench {

/// The trip updates of a list of forecasts, the plain way: the whole message is made, checked,
/// cleared of what fails and written.
std::string plain_bytes(std::span<const qiv::TripForecast> forecasts, const qiv::Network& network,
                        qiv::Instant time);

/// Throws std::runtime_error when `bytes` is not `expected`.
void expect_equal(const std::string& bytes, const std::string& expected, const std::string& what);

}  // namespace report_bench
