#pragma once

#include <string>

#include "worker/partition_engine.h"
#include "worker/stream_message.h"

namespace qiv {

/// How one output of a partition's engine is written.
struct OutputMessage {
  bool is_finished_trip = false;  ///< goes to that topic; all else to the forecasts
  std::string group;              ///< by which its partition is found
  StreamMessage message;
};

/// The message of an output, which becomes that of `agency`. `network` is what it was made with.
OutputMessage encode_output(PartitionOutput& output, const AgencyId& agency,
                            const Network& network);

}  // namespace qiv
