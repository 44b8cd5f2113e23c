#include <utility>

#include "serve/api/metrics.h"
#include "serve/api/openapi.h"
#include "serve/api/route_tools.h"
#include "serve/http/error.h"

namespace qiv {
namespace {

constexpr const char* plain_text = "text/plain; charset=utf-8";
constexpr const char* metrics_type = "text/plain; version=0.0.4; charset=utf-8";

void add_health(Router& router, const ApiContext& context) {
  const BlobPtr ok = make_blob("ok\n", plain_text);
  router.get("/healthz", [ok](const Request&) { return Answer{200, ok, {}, {}}; });
  router.get("/readyz", [ok, current = context.current](const Request&) {
    const OutputsPtr outputs = current();
    if (outputs->snapshot().ready) return Answer{200, ok, {}, {}};
    throw HttpError(HttpErrorCode::not_ready, outputs->snapshot().not_ready,
                    "Ask again later; /api/v1/sources tells how the sources fare.");
  });
}

void add_actions(Router& router, const ApiContext& context) {
  router.post("/api/v1/actions/{action}", [actions = context.actions](const Request& request) {
    const std::string& name = request.parameter("action");
    const auto action = actions.find(name);
    if (action == actions.end()) {
      std::string names;
      for (const auto& [known, what] : actions) names += " " + known;
      refuse_unknown("action", name, "These are there:" + names + ".");
    }
    JsonWriter json;
    json.begin_object();
    json.member("action", name);
    json.member("message", action->second());
    json.end_object();
    return Answer{200, make_blob(json.take(), "application/json"), {}, {}};
  });
}

}  // namespace

void add_service_routes(Router& router, const ApiContext& context) {
  add_live_json(router, context, "/api/v1/sources",
                [](const Outputs& outputs, const Request&) { return sources_json(outputs); });
  add_live_json(router, context, "/api/v1/scores",
                [](const Outputs& outputs, const Request&) { return scores_json(outputs); });
  add_live_json(router, context, "/api/v1/changes", [](const Outputs& outputs, const Request&) {
    outputs.index();  // or not ready
    return changes_json(outputs);
  });
  router.get("/api/v1/status",
             [current = context.current, counts = context.server_counts](const Request&) {
               const OutputsPtr outputs = current();
               return Answer{200,
                             make_blob(status_json(*outputs, counts()), "application/json",
                                       outputs->snapshot().now),
                             {},
                             {}};
             });
  router.get(
      "/metrics", [current = context.current, counts = context.server_counts](const Request&) {
        return Answer{200, make_blob(metrics_text(*current(), counts()), metrics_type), {}, {}};
      });
  const BlobPtr description = make_blob(std::string(openapi_json), "application/json");
  router.get("/api/v1/openapi.json", [description](const Request&) {
    return Answer{200, description, {}, {}};
  });
  add_health(router, context);
  add_actions(router, context);
}

void add_static_routes(Router& router, const std::map<std::string, StaticFile>& files) {
  for (const auto& [path, file] : files) {
    const BlobPtr blob = make_blob(file.bytes, file.content_type);
    HttpHeaders headers = file.headers;
    headers.emplace_back("Cache-Control", file.cache_control);
    const Handler handler = [blob, headers](const Request&) {
      return Answer{200, blob, headers, {}};
    };
    router.get(path, handler);
    if (path == "/index.html") router.get("/", handler);
  }
}

}  // namespace qiv
