#pragma once

#include <functional>
#include <string>

#include "host/history/temporary_folder.h"
#include "host/worker/broker_case.h"

namespace qiv::testing {

/// The body of an answer with status 200; empty when there is none.
std::string answer_of(const std::string& url);

/// The sum of what a worker's metrics tell under this name, over its partitions.
double sum_of(const std::string& metrics_text, const std::string& name);

/// A case on a broker, and the folder that workers and gateways of its stream are started with.
class StreamProgramsTest : public BrokerTest {
 protected:
  /// Makes the topics, writes what comes before the positions, and the folder's city.toml.
  void begin(StreamData data);

  const samples::TemporaryFolder folder;
};

}  // namespace qiv::testing
