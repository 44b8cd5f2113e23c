#include "serve/api/event_hub.h"

#include <gmock/gmock.h>

#include <array>

#include "host/serve/api/sample_snapshot.h"
#include "host/serve/http/eventually.h"

namespace qiv {
namespace {

using testing::eventually;
using ::testing::HasSubstr;
using testing::outputs_of;
using testing::sample_snapshot;
using ::testing::StartsWith;
using Kind = EventTopic::Kind;

Snapshot snapshot_of(std::uint64_t serial) {
  Snapshot snapshot = sample_snapshot();
  snapshot.serial = serial;
  return snapshot;
}

/// What has come through a stream, once there is something.
std::string read(EventStream& stream) {
  std::array<char, 65'536> to{};
  std::size_t size = 0;
  EXPECT_TRUE(eventually([&] {
    size = to.size();
    stream.read(to.data(), size, [] {});
    return size > 0;
  }));
  return {to.data(), size};
}

TEST(EventHub, WelcomesWithTheWholeAsSoonAsThereIsSomething) {
  EventHub hub;
  const auto stream = std::make_shared<EventStream>(1 << 20);
  hub.follow({{Kind::vehicle, "v1"}}, stream);
  hub.publish(outputs_of(snapshot_of(1)));
  EXPECT_THAT(read(*stream), StartsWith("id: 1\nevent: vehicle\n"));
}

TEST(EventHub, TellsOnlyWhatHasChanged) {
  EventHub hub;
  const auto stop = std::make_shared<EventStream>(1 << 20);
  const auto vehicle = std::make_shared<EventStream>(1 << 20);
  hub.publish(outputs_of(snapshot_of(1)));
  hub.follow({{Kind::stop, "C"}}, stop);
  hub.follow({{Kind::vehicle, "v2"}}, vehicle);
  read(*stop);
  read(*vehicle);
  Snapshot second = snapshot_of(2);
  second.vehicles[1].status = VehicleStatus::stale;
  hub.publish(outputs_of(second));
  EXPECT_THAT(read(*vehicle), HasSubstr(R"("status":"stale")"));
  Snapshot third = snapshot_of(3);
  third.trips[1].stops.edit()[2].arrival.time += Seconds(30);
  hub.publish(outputs_of(third));
  EXPECT_THAT(read(*stop), StartsWith("id: 3\n")) << "the second said nothing of the stop";
}

TEST(EventHub, SaysWhatIsGoneAndBack) {
  EventHub hub;
  const auto stream = std::make_shared<EventStream>(1 << 20);
  hub.publish(outputs_of(snapshot_of(1)));
  hub.follow({{Kind::trip, "out@20250303"}}, stream);
  EXPECT_THAT(read(*stream), HasSubstr("event: trip\n"));
  Snapshot second = snapshot_of(2);
  second.trips.pop_back();
  hub.publish(outputs_of(second));
  EXPECT_THAT(read(*stream), HasSubstr("event: gone\n"));
  hub.publish(outputs_of(snapshot_of(3)));
  EXPECT_THAT(read(*stream), HasSubstr("event: trip\n"));
}

TEST(EventHub, AReaderThatDoesNotKeepUpIsDroppedAlone) {
  EventHub hub;
  const auto deaf = std::make_shared<EventStream>(100);
  const auto good = std::make_shared<EventStream>(1 << 20);
  hub.publish(outputs_of(snapshot_of(1)));
  hub.follow({{Kind::all_vehicles, ""}}, deaf);
  hub.follow({{Kind::all_vehicles, ""}}, good);
  read(*good);
  Snapshot second = snapshot_of(2);
  second.vehicles[0].status = VehicleStatus::off_route;
  hub.publish(outputs_of(second));
  EXPECT_THAT(read(*good), HasSubstr("off_route"));
  EXPECT_TRUE(deaf->dropped());
}

}  // namespace
}  // namespace qiv
