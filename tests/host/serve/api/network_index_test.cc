#include "serve/api/network_index.h"

#include <gmock/gmock.h>

#include "host/serve/api/sample_snapshot.h"

namespace qiv {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class NetworkIndexTest : public ::testing::Test {
 protected:
  std::vector<std::string> find(const char* text, std::optional<BoundingBox> box = {}) const {
    std::vector<std::string> ids;
    for (const std::uint32_t stop : _index.find_stops(text, box)) {
      ids.push_back(_index.network().stops()[stop].id.text());
    }
    return ids;
  }

  NetworkIndex _index{testing::line_network(), from_unix_seconds(1000)};
};

TEST_F(NetworkIndexTest, FindsStopsByWordsInAnyOrderAndCase) {
  EXPECT_THAT(find("street CHURCH"), ElementsAre("C"));
  EXPECT_THAT(find("école"), ElementsAre("E"));
  EXPECT_THAT(find("ÉCOLE"), ElementsAre("E"));
  EXPECT_THAT(find("nowhere"), IsEmpty());
  EXPECT_THAT(find(""), ElementsAre("A", "B", "C", "D", "E"));
}

TEST_F(NetworkIndexTest, TheIdentifierComesFirstThenTheBeginning) {
  EXPECT_THAT(find("D"), ElementsAre("D", "B")) << "the stop D, then Bridge";
  EXPECT_THAT(find("b"), ElementsAre("B", "A")) << "Bridge begins with it, Abbey has it";
}

TEST_F(NetworkIndexTest, FindsStopsByPlace) {
  const BoundingBox box{0.0, -1.0, testing::place_at(1500.0).lon_deg, 1.0};
  EXPECT_THAT(find("", box), ElementsAre("A", "B"));
  EXPECT_THAT(find("bridge", box), ElementsAre("B"));
  EXPECT_THAT(find("dock", box), IsEmpty());
}

TEST_F(NetworkIndexTest, ABoxMayCrossTheAntimeridian) {
  const BoundingBox box{170.0, -10.0, -170.0, 10.0};
  EXPECT_TRUE(box.contains({0.0, 175.0}));
  EXPECT_TRUE(box.contains({0.0, -175.0}));
  EXPECT_FALSE(box.contains({0.0, 0.0}));
  EXPECT_FALSE(box.contains({20.0, 175.0}));
}

TEST_F(NetworkIndexTest, KnowsRoutesAndHeadsigns) {
  EXPECT_THAT(_index.routes_at(0), ElementsAre(0u));
  const PatternIndex out = _index.network().find_trip(TripId("out"))->pattern;
  const PatternIndex loop = _index.network().find_trip(TripId("loop1"))->pattern;
  EXPECT_EQ(_index.headsign(out), "Seaside");
  EXPECT_EQ(_index.headsign(loop), "Abbey") << "the last stop, where the feed has none";
  EXPECT_EQ(line_name(*_index.route(out)), "R");
}

TEST_F(NetworkIndexTest, TheVersionFollowsTheContent) {
  const NetworkIndex same(testing::line_network(), from_unix_seconds(2000));
  Timetable other = testing::straight_timetable();
  const NetworkIndex changed(std::make_shared<const Network>(build_network(other)),
                             from_unix_seconds(1000));
  EXPECT_EQ(_index.version(), same.version());
  EXPECT_NE(_index.version(), changed.version());
  EXPECT_EQ(_index.geojson(), _index.geojson()) << "made once";
}

}  // namespace
}  // namespace qiv
