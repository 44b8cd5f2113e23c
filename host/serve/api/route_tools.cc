#include "serve/api/route_tools.h"

#include <utility>

#include "serve/api/trip_json.h"
#include "serve/http/error.h"

namespace qiv {
namespace {

Answer json_answer(const Outputs& outputs, const Request& request, const WriteJson& write,
                   Instant modified) {
  return {200,
          outputs.cached(
              request_name(request),
              [&] { return make_blob(write(outputs, request), "application/json", modified); }),
          {},
          {}};
}

}  // namespace

void add_live_json(Router& router, const ApiContext& context, const std::string& pattern,
                   WriteJson write) {
  router.get(pattern,
             [current = context.current, write = std::move(write)](const Request& request) {
               const OutputsPtr outputs = current();
               return json_answer(*outputs, request, write, outputs->snapshot().now);
             });
}

void add_timetable_json(Router& router, const ApiContext& context, const std::string& pattern,
                        WriteJson write) {
  router.get(pattern,
             [current = context.current, write = std::move(write)](const Request& request) {
               const OutputsPtr outputs = current();
               return json_answer(*outputs, request, write, outputs->index().since());
             });
}

std::string request_name(const Request& request) {
  std::string name;
  for (const std::string& segment : request.target.segments) name.append("\n").append(segment);
  for (const auto& [key, value] : request.target.query) {
    name.append("\t").append(key).append("\t").append(value);
  }
  return name;
}

std::uint32_t stop_of(const NetworkIndex& index, const std::string& stop_id) {
  const auto stop = index.network().find_stop(StopId(stop_id));
  if (!stop) refuse_unknown("stop", stop_id, "Search for stops with /api/v1/stops?q=WORDS.");
  return *stop;
}

TripKey trip_of(const NetworkIndex& index, const std::string& text) {
  constexpr const char* remedy =
      "Write TRIP@YYYYMMDD, with %23HH:MM:SS for a repetition; /api/v1/trips lists the trips.";
  const auto key = parse_trip_key(text);
  if (!key) {
    throw HttpError(HttpErrorCode::bad_parameter, "'" + text + "' does not name a trip.", remedy);
  }
  if (index.network().find_trip(key->trip, key->start) == nullptr) {
    refuse_unknown("trip", text, remedy);
  }
  return *key;
}

void refuse_unknown(const std::string& kind, const std::string& id, const std::string& remedy) {
  throw HttpError(HttpErrorCode::not_found, "There is no " + kind + " '" + id + "'.", remedy);
}

}  // namespace qiv
