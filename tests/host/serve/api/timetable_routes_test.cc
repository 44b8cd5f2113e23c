#include <gmock/gmock.h>

#include "host/serve/api/api_fixture.h"

namespace qiv {
namespace {

class TimetableRoutes : public testing::ApiTest {
 protected:
  TimetableRoutes() { start(); }
};

TEST_F(TimetableRoutes, StopsAreSearched) {
  EXPECT_EQ(json("/api/v1/stops")["total"], 5);
  EXPECT_EQ(json("/api/v1/stops?q=church+street")["stops"][0]["stop_id"], "C");
  const auto some = json("/api/v1/stops?limit=2");
  EXPECT_EQ(some["stops"].size(), 2u);
  EXPECT_EQ(some["total"], 5);
  EXPECT_EQ(json("/api/v1/stops?bbox=10,10,20,20")["total"], 0);
  EXPECT_EQ(error("/api/v1/stops?bbox=a,b,c,d"), "400 bad_parameter");
  EXPECT_EQ(error("/api/v1/stops?limit=many"), "400 bad_parameter");
}

TEST_F(TimetableRoutes, OneOfEachKind) {
  EXPECT_EQ(json("/api/v1/stops/C")["name"], "Church Street");
  EXPECT_EQ(error("/api/v1/stops/X"), "404 not_found");
  EXPECT_EQ(json("/api/v1/routes")["routes"][0]["route_id"], "r");
  EXPECT_EQ(json("/api/v1/routes/r")["color"], "00AA55");
  EXPECT_EQ(error("/api/v1/routes/x"), "404 not_found");
  EXPECT_EQ(error("/api/v1/patterns/x"), "404 not_found");
}

TEST_F(TimetableRoutes, APatternCanBeFollowedFromItsList) {
  const auto patterns = json("/api/v1/patterns?route_id=r")["patterns"];
  ASSERT_EQ(patterns.size(), 2u);
  EXPECT_EQ(json("/api/v1/patterns?route_id=x")["patterns"].size(), 0u);
  std::string path = "/api/v1/patterns/";
  for (const char c : patterns[0]["pattern"].get<std::string>()) {
    path += c == '/' || c == ' ' || c == '#' || c == '%' ? "%" + std::string(c == '/'   ? "2F"
                                                                             : c == ' ' ? "20"
                                                                             : c == '#' ? "23"
                                                                                        : "25")
                                                         : std::string(1, c);
  }
  EXPECT_TRUE(json(path)["pattern"].contains("geometry"));
  EXPECT_TRUE(json(path + "?geometry=polyline")["pattern"].contains("polyline"));
  EXPECT_EQ(error(path + "?geometry=oil"), "400 bad_parameter");
}

TEST_F(TimetableRoutes, TheNetworkMayBeKeptByItsVersion) {
  const std::string version = json("/api/v1/status")["network"]["network_version"];
  const auto kept = get("/api/v1/network?version=" + version);
  EXPECT_THAT(kept.headers.at("cache-control"), ::testing::HasSubstr("immutable"));
  EXPECT_EQ(kept.headers.at("content-type"), "application/geo+json");
  EXPECT_EQ(get("/api/v1/network?version=old").headers.at("cache-control"), "no-cache");
  EXPECT_EQ(get("/api/v1/network").headers.at("cache-control"), "no-cache");
}

TEST_F(TimetableRoutes, TheTimetableWasModifiedWhenItCame) {
  const std::string before = get("/api/v1/routes").headers.at("last-modified");
  Snapshot next = testing::sample_snapshot();
  next.network = nullptr;
  next.serial = 2;
  show(next);
  EXPECT_EQ(error("/api/v1/routes"), "503 not_ready");
  next = testing::sample_snapshot();
  next.serial = 3;
  next.now += Seconds(60);
  show(next);
  EXPECT_EQ(before, "Mon, 03 Mar 2025 08:03:00 GMT");
  EXPECT_EQ(get("/api/v1/routes").headers.at("last-modified"), "Mon, 03 Mar 2025 08:04:00 GMT");
}

}  // namespace
}  // namespace qiv
