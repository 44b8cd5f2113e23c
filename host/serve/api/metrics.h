#pragma once

#include <string>

#include "serve/api/outputs.h"
#include "serve/http/server.h"

namespace qiv {

/// The metrics of a service that shows these outputs, in Prometheus' text format.
std::string metrics_text(const Outputs& outputs, const ServerCounts& server);

}  // namespace qiv
