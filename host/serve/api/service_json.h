#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "engine/explain.h"
#include "serve/api/json_writer.h"
#include "serve/api/outputs.h"
#include "serve/http/server.h"

namespace qiv {

// The JSON of the service itself. openapi.json describes the members.

/// What the engine says of the forecast for a trip.
struct Why {
  std::optional<Explanation> explanation;
  std::string reason;  ///< why there is none, for people
};

/// Asks the engine; may wait for it, though not for long.
using AskWhy = std::function<Why(const TripKey& trip)>;

std::string status_json(const Outputs& outputs, const ServerCounts& server);
std::string sources_json(const Outputs& outputs);
std::string scores_json(const Outputs& outputs);
/// Precondition: there is a network.
std::string changes_json(const Outputs& outputs);

/// At most `limit` of the earlier trips.
std::string why_json(const TripKey& trip, const Why& why, std::size_t limit);

}  // namespace qiv
