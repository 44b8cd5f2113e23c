#pragma once

#include "host/worker/stream_data.h"
#include "model/settings.h"
#include "worker/stream_message.h"

namespace qiv::testing {

/// What one process says of a stream's positions, without any log between: the plain twin of the
/// workers. The messages of the forecasts' topic, in order.
std::vector<StreamMessage> plain_process(const StreamData& data, const LearnedSettings& settings,
                                         bool histories_grow = false);

}  // namespace qiv::testing
