#include "serve/api/event_json.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "host/serve/api/sample_snapshot.h"

namespace qiv {
namespace {

using nlohmann::json;
using testing::outputs_of;
using testing::sample_snapshot;
using Kind = EventTopic::Kind;

TEST(EventContent, IsNamedByItsKind) {
  const OutputsPtr outputs = outputs_of(sample_snapshot());
  EXPECT_STREQ(event_content({Kind::stop, "C"}, *outputs).name, "stop");
  EXPECT_STREQ(event_content({Kind::trip, "out@20250303"}, *outputs).name, "trip");
  EXPECT_STREQ(event_content({Kind::vehicle, "v1"}, *outputs).name, "vehicle");
  EXPECT_STREQ(event_content({Kind::all_vehicles, ""}, *outputs).name, "vehicles");
  EXPECT_EQ(event_content({Kind::trip, "loop1@20250303"}, *outputs).members,
            R"("topic":"trip","id":"loop1@20250303")");
  EXPECT_STREQ(event_content({Kind::vehicle, "v9"}, *outputs).name, "gone");
  EXPECT_EQ(event_content({Kind::stop, "X"}, *outputs).members, "") << "of an earlier timetable";
}

TEST(EventContent, DoesNotChangeWithTimeAlone) {
  Snapshot next = sample_snapshot();
  next.now += Seconds(1);
  ++next.serial;
  const OutputsPtr before = outputs_of(sample_snapshot());
  const OutputsPtr now = outputs_of(next);
  for (const EventTopic& topic :
       {EventTopic{Kind::stop, "C"}, EventTopic{Kind::trip, "out@20250303"},
        EventTopic{Kind::vehicle, "v1"}}) {
    EXPECT_EQ(event_content(topic, *before), event_content(topic, *now));
  }
}

TEST(VehicleMoves, AreThoseThatChangedCameOrWent) {
  const Snapshot before = sample_snapshot();
  EXPECT_EQ(vehicle_moves(before, before).members, "");
  Snapshot now = before;
  now.vehicles[0].place->lat_deg += 0.01;
  now.vehicles[1].vehicle = VehicleId("v3");
  const json data = json::parse("{" + vehicle_moves(before, now).members + "}");
  EXPECT_EQ(data["full"], false);
  ASSERT_EQ(data["vehicles"].size(), 2u);
  EXPECT_EQ(data["vehicles"][0]["id"], "v1");
  EXPECT_EQ(data["vehicles"][1]["id"], "v3");
  EXPECT_EQ(data["gone"], json({"v2"}));
  now.vehicles.clear();
  EXPECT_EQ(json::parse("{" + vehicle_moves(before, now).members + "}")["gone"],
            json({"v1", "v2"}));
}

TEST(EventText, IsOneEventWithTheSerialAsId) {
  EXPECT_EQ(event_text({"gone", R"("topic":"trip")"}, sample_snapshot()),
            "id: 1\nevent: gone\ndata: {\"now\":1740988980,\"topic\":\"trip\"}\n\n");
}

}  // namespace
}  // namespace qiv
