#pragma once

#include <string>

#include "app/city.h"
#include "app/stream_config.h"
#include "worker/kafka/producer.h"
#include "worker/kafka/topic_admin.h"
#include "worker/topics.h"

namespace qiv {

/// The topics of a city as the bridge makes them where they are missing.
std::vector<kafka::TopicPlan> topic_plans(const StreamConfig& config);

/// Puts the city's timetable and settings into force in the stream, each where the stream has
/// another one or none. Returns what was done, for people; empty: nothing. Throws `kafka::Error`.
std::string write_reference(City& city, const StreamConfig& config, kafka::Producer& producer,
                            Instant now);

}  // namespace qiv
