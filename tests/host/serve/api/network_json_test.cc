#include "serve/api/network_json.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "host/serve/api/sample_snapshot.h"

namespace qiv {
namespace {

using nlohmann::json;

const NetworkIndex& index() {
  static const NetworkIndex index(testing::line_network(), from_unix_seconds(1000));
  return index;
}

TEST(NetworkJson, WritesAStop) {
  JsonWriter writer;
  write_stop(writer, index(), 2);
  const json stop = json::parse(writer.take());
  EXPECT_EQ(stop["stop_id"], "C");
  EXPECT_EQ(stop["name"], "Church Street");
  EXPECT_NEAR(stop["lon"], testing::place_at(2000.0).lon_deg, 1e-6);
  EXPECT_EQ(stop["routes"], json({"r"}));
}

TEST(NetworkJson, WritesAPatternWithItsPath) {
  const PatternIndex out = index().network().find_trip(TripId("out"))->pattern;
  JsonWriter writer;
  write_pattern(writer, index(), out, PathForm::geojson);
  const json pattern = json::parse(writer.take());
  EXPECT_EQ(pattern["headsign"], "Seaside");
  EXPECT_EQ(pattern["line"], "R");
  EXPECT_NEAR(pattern["length_m"], 4000.0, 1.0);
  EXPECT_EQ(pattern["stop_count"], 5);
  EXPECT_EQ(pattern["trips"], 2);
  EXPECT_EQ(pattern["stops"].size(), 5u);
  EXPECT_NEAR(pattern["stops"][1]["offset_m"], 1000.0, 1.0);
  EXPECT_EQ(pattern["geometry"]["type"], "LineString");
  EXPECT_EQ(pattern["geometry"]["coordinates"].size(), 5u);
  EXPECT_FALSE(pattern.contains("polyline"));
  write_pattern(writer, index(), out);
  EXPECT_FALSE(json::parse(writer.take()).contains("stops"));
}

TEST(NetworkJson, DrawsEachPathOnceAndEveryStopInUse) {
  const json network = json::parse(network_geojson(index()));
  std::size_t paths = 0;
  std::vector<std::string> stops;
  for (const json& feature : network["features"]) {
    if (feature["properties"]["kind"] == "path") {
      ++paths;
    } else {
      stops.push_back(feature["properties"]["stop_id"]);
    }
  }
  EXPECT_EQ(paths, 2u) << "the line and the loop";
  EXPECT_THAT(stops, ::testing::ElementsAre("A", "B", "C", "D", "E"));
  EXPECT_NEAR(network["bbox"][0], testing::place_at(0.0).lon_deg, 1e-5);
  EXPECT_NEAR(network["bbox"][2], testing::place_at(4000.0).lon_deg, 1e-5);
}

TEST(EncodePolyline, IsWhatMapsRead) {
  // The example of the format's own description.
  const std::vector<PathPoint> path = {
      {{38.5, -120.2}, 0.0}, {{40.7, -120.95}, 1.0}, {{43.252, -126.453}, 2.0}};
  EXPECT_EQ(encode_polyline(path), "_p~iF~ps|U_ulLnnqC_mqNvxq`@");
}

}  // namespace
}  // namespace qiv
