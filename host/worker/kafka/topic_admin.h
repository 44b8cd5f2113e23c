#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "worker/kafka/handle.h"

namespace qiv::kafka {

/// A topic as it is made where it is missing.
struct TopicPlan {
  std::string name;
  std::int32_t partitions = 1;
  Properties config;  ///< such as "cleanup.policy"
};

/// Makes the topics that are not there yet, with as many replicas as the brokers' default says.
/// Those that are there stay as they are. Throws `Error`.
void make_topics(const Properties& properties, const std::vector<TopicPlan>& plans);

}  // namespace qiv::kafka
