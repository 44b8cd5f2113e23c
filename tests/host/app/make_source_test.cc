#include "app/make_source.h"

#include <gtest/gtest.h>

namespace qiv {
namespace {

TEST(MakeSourceTest, MakesEachKindUnderItsName) {
  PolledSourceOptions polled;
  polled.name = "polled";
  polled.request.url = "http://127.0.0.1:1/";
  FolderSourceOptions folder;
  folder.name = "folder";
  folder.folder = "/nowhere";
  MqttSourceOptions mqtt;
  mqtt.name = "mqtt";
  mqtt.host = "127.0.0.1";
  const Instant now = wall_clock();
  for (const SourceOptions& options :
       {SourceOptions(polled), SourceOptions(folder), SourceOptions(mqtt)}) {
    const auto source = make_source(options, [](AgencyReport) {});
    EXPECT_EQ(source->view(now).name, std::visit([](const auto& o) { return o.name; }, options));
  }
}

TEST(MakeSourceTest, TellsSourcesOfPositionsFromThoseOfTheAgency) {
  PolledSourceOptions polled;
  EXPECT_TRUE(gives_positions(polled));
  polled.content = FeedContent::alerts;
  EXPECT_FALSE(gives_positions(polled));
  FolderSourceOptions folder;
  folder.content = FeedContent::trip_updates;
  EXPECT_FALSE(gives_positions(folder));
  EXPECT_TRUE(gives_positions(MqttSourceOptions()));
}

}  // namespace
}  // namespace qiv
