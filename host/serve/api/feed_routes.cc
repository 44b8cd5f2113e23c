#include <array>

#include "publish/siri_et.h"
#include "publish/siri_sm.h"
#include "serve/api/feed_formats.h"
#include "serve/api/parameters.h"
#include "serve/api/route_tools.h"
#include "serve/http/error.h"

namespace qiv {
namespace {

constexpr const char* xml_type = "application/xml; charset=utf-8";
// More visits than a board or a journey planner asks for.
constexpr std::size_t most_visits = 200;

FeedFormat format_of(const Request& request) {
  constexpr std::array<std::string_view, 3> names = {"protobuf", "json", "text"};
  constexpr std::array formats = {FeedFormat::protobuf, FeedFormat::json, FeedFormat::text};
  return formats[choice(request, "format", names).value_or(0)];
}

using MakeFeed = BlobPtr (*)(const Outputs& outputs, FeedFormat format);

void add_feed(Router& router, const ApiContext& context, const std::string& path, MakeFeed make) {
  router.get(path, [current = context.current, path, make](const Request& request) {
    const FeedFormat format = format_of(request);
    const OutputsPtr outputs = current();
    outputs->index();  // or not ready
    const std::string name = path + "\n" + std::to_string(static_cast<int>(format));
    return Answer{200, outputs->cached(name, [&] { return make(*outputs, format); }), {}, {}};
  });
}

TripConfidence confidence_of(const Outputs& outputs) {
  return [&outputs](const TripForecast& trip) { return outputs.trip_confidence(trip); };
}

BlobPtr estimated_timetable(const Outputs& outputs) {
  const Snapshot& snapshot = outputs.snapshot();
  return make_blob(
      siri_et(snapshot.trips, outputs.index().network(), snapshot.now, confidence_of(outputs)),
      xml_type, snapshot.now);
}

BlobPtr stop_monitoring(const Outputs& outputs, std::uint32_t stop) {
  const Snapshot& snapshot = outputs.snapshot();
  std::vector<StopVisit> visits = outputs.board().visits(stop);
  if (visits.size() > most_visits) visits.resize(most_visits);
  return make_blob(
      siri_sm(visits, stop, outputs.index().network(), snapshot.now, confidence_of(outputs)),
      xml_type, snapshot.now);
}

Answer answer_stop_monitoring(const Outputs& outputs, const Request& request) {
  const auto id = request.query("stop");
  if (!id) {
    throw HttpError(HttpErrorCode::bad_parameter, "The parameter stop is missing.",
                    "Ask for /siri/sm?stop=STOP_ID.");
  }
  const std::uint32_t stop = stop_of(outputs.index(), *id);
  return {200,
          outputs.cached("siri/sm\n" + *id, [&] { return stop_monitoring(outputs, stop); }),
          {},
          {}};
}

}  // namespace

void add_feed_routes(Router& router, const ApiContext& context) {
  add_feed(router, context, "/gtfs-rt/trip-updates", &trip_updates_blob);
  add_feed(router, context, "/gtfs-rt/vehicle-positions", &vehicle_positions_blob);
  router.get("/siri/et", [current = context.current](const Request&) {
    const OutputsPtr outputs = current();
    outputs->index();
    return Answer{
        200, outputs->cached("siri/et", [&] { return estimated_timetable(*outputs); }), {}, {}};
  });
  router.get("/siri/sm", [current = context.current](const Request& request) {
    return answer_stop_monitoring(*current(), request);
  });
}

}  // namespace qiv
