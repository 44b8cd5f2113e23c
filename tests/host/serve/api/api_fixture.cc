#include "host/serve/api/api_fixture.h"

#include <utility>

namespace qiv::testing {

ApiOptions ApiTest::sample_options() {
  ApiOptions options;
  options.server.token = "secret";
  options.files["/index.html"] = {"<!doctype html>", "text/html; charset=utf-8"};
  options.files["/index.html"].headers = {{"Content-Security-Policy", "script-src 'self'"}};
  options.files["/assets/page.js"] = {"go()", "text/javascript", "public, max-age=31536000"};
  options.actions["reload"] = [] { return "the timetable is fetched again"; };
  options.why = [](const TripKey& trip) {
    Why why;
    if (trip.trip != TripId("out")) {
      why.reason = "The trip has not begun.";
      return why;
    }
    why.explanation.emplace();
    why.explanation->trips = {{{TripId("out"), monday - std::chrono::days(1), {}}, 0.75},
                              {{TripId("later"), monday - std::chrono::days(1), {}}, 0.25}};
    return why;
  };
  return options;
}

void ApiTest::start(ApiOptions options) {
  _server = std::make_unique<ApiServer>(std::move(options));
  show(sample_snapshot());
}

void ApiTest::show(Snapshot snapshot) {
  const std::uint64_t serial = snapshot.serial;
  _server->publish(std::make_shared<const Snapshot>(std::move(snapshot)));
  _server->wait_until_shown(serial);
}

std::string ApiTest::error(const std::string& target) const {
  const Response response = get(target);
  return std::to_string(response.status) + " " +
         nlohmann::json::parse(response.body)["code"].get<std::string>();
}

}  // namespace qiv::testing
