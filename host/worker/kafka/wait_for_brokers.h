#pragma once

#include <chrono>
#include <functional>
#include <stop_token>
#include <string>

#include "worker/kafka/handle.h"

namespace qiv::kafka {

/// Waits until a broker answers. Asks again after `pause`, then after twice as long each time, half
/// a minute at most, and tells each failure with its remedy. False when it was asked to stop
/// before. Throws `Error` for properties that cannot be used.
bool wait_for_brokers(const Properties& properties, const std::stop_token& stop,
                      const std::function<void(const std::string&)>& report,
                      std::chrono::milliseconds pause = std::chrono::seconds(1));

}  // namespace qiv::kafka
