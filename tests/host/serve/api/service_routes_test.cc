#include <gmock/gmock.h>

#include "host/serve/api/api_fixture.h"
#include "serve/api/openapi.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;

class ServiceRoutes : public testing::ApiTest {
 protected:
  ServiceRoutes() { start(); }
};

TEST_F(ServiceRoutes, TheStatusTellsTheWhole) {
  const auto status = json("/api/v1/status");
  EXPECT_EQ(status["city"], "Line");
  EXPECT_EQ(status["ready"], true);
  EXPECT_EQ(status["vehicles"]["by"]["under_way"], 1);
  EXPECT_EQ(status["vehicles"]["total"], 2);
  EXPECT_EQ(status["trip_updates"]["trips"], 2);
  EXPECT_EQ(status["trip_updates"]["age_s"], 0);
  EXPECT_EQ(status["network"]["feed_version"], "spring");
  EXPECT_EQ(status["network"]["first_day"], "20250101");
}

TEST_F(ServiceRoutes, HealthAndReadiness) {
  EXPECT_EQ(get("/healthz").body, "ok\n");
  EXPECT_EQ(get("/readyz").status, 200);
  Snapshot snapshot = testing::sample_snapshot();
  snapshot.serial = 2;
  snapshot.ready = false;
  snapshot.not_ready = "the vehicles on the road are being rebuilt";
  show(snapshot);
  EXPECT_EQ(get("/healthz").status, 200);
  const auto ready = get("/readyz");
  EXPECT_EQ(ready.status, 503);
  EXPECT_THAT(ready.body, HasSubstr("the vehicles on the road are being rebuilt"));
}

TEST_F(ServiceRoutes, ActionsNeedTheToken) {
  const auto act = [this](const std::string& name, const std::string& token) {
    return testing::request(_server->port(), "POST", "/api/v1/actions/" + name,
                            {{"Authorization", "Bearer " + token}});
  };
  EXPECT_EQ(act("reload", "guess").status, 401);
  const auto done = act("reload", "secret");
  EXPECT_EQ(done.status, 200);
  EXPECT_EQ(nlohmann::json::parse(done.body)["message"], "the timetable is fetched again");
  EXPECT_EQ(act("explode", "secret").status, 404);
}

TEST_F(ServiceRoutes, TheDescriptionIsServed) {
  EXPECT_EQ(get("/api/v1/openapi.json").body, openapi_json);
}

TEST_F(ServiceRoutes, ThePage) {
  EXPECT_EQ(get("/").body, "<!doctype html>");
  EXPECT_EQ(get("/index.html").headers.at("cache-control"), "no-cache");
  EXPECT_EQ(get("/").headers.at("content-security-policy"), "script-src 'self'");
  EXPECT_EQ(get("/assets/page.js").headers.at("cache-control"), "public, max-age=31536000");
  EXPECT_EQ(get("/assets/other.js").status, 404);
}

TEST_F(ServiceRoutes, MetricsCountTheAnswers) {
  EXPECT_EQ(get("/nothing").status, 404);
  const auto metrics = get("/metrics");
  EXPECT_EQ(metrics.headers.at("content-type"), "text/plain; version=0.0.4; charset=utf-8");
  EXPECT_THAT(metrics.body, HasSubstr("qiv_http_answers_total{class=\"4xx\"} 1\n"));
}

}  // namespace
}  // namespace qiv
