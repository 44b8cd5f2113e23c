#pragma once

#include <functional>
#include <map>
#include <string>

#include "serve/api/event_hub.h"
#include "serve/api/outputs.h"
#include "serve/api/service_json.h"
#include "serve/http/answer.h"
#include "serve/http/router.h"
#include "serve/http/server.h"

namespace qiv {

/// A file of the page.
struct StaticFile {
  std::string bytes;
  std::string content_type;
  std::string cache_control = "no-cache";
  HttpHeaders headers = {};  ///< beside these
};

/// Does something that is asked for, and says what was done. May take its time; throws HttpError.
using Action = std::function<std::string()>;

/// What the routes are made from.
struct ApiContext {
  /// What is shown now. Throws `HttpError` (not_ready) before there is anything.
  std::function<OutputsPtr()> current;
  std::function<ServerCounts()> server_counts;
  AskWhy why;                             ///< empty: /why is not there
  std::map<std::string, Action> actions;  ///< by name
  EventHub* events = nullptr;
  std::size_t max_queued_event_bytes = 1U << 20U;
};

// Each adds the routes of its kind. openapi.json describes them.
void add_feed_routes(Router& router, const ApiContext& context);       ///< GTFS-realtime, SIRI
void add_timetable_routes(Router& router, const ApiContext& context);  ///< stops, routes, patterns
void add_live_routes(Router& router, const ApiContext& context);       ///< trips, vehicles, events
void add_service_routes(Router& router, const ApiContext& context);    ///< status, metrics, actions
/// Every file under its path; "/index.html" under "/" too.
void add_static_routes(Router& router, const std::map<std::string, StaticFile>& files);

}  // namespace qiv
