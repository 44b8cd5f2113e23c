#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "gtfs-realtime.pb.h"
#include "host/app/program.h"
#include "host/app/small_city.h"
#include "serve/sources/http_fetch.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;
using testing::Program;
using transit_realtime::FeedMessage;
using transit_realtime::TripDescriptor;

/// A recorded day of the small city, in which the trips from 5 to 20 o'clock ran two minutes late,
/// and a folder with what the agency said.
class RecordedDayProcessTest : public ::testing::Test {
 protected:
  RecordedDayProcessTest() {
    std::filesystem::create_directory(small.city / "said");
    std::ofstream(small.city / "city.toml") << "[serve]\nport = 0\n\n"
                                               "[[source]]\nname = \"the agency\"\n"
                                               "kind = \"folder\"\ncontent = \"trip-updates\"\n"
                                               "folder = \"said\"\nhold_s = 7200\n";
    for (int hour = 5; hour <= 20; ++hour) record(hour);
  }

  Instant time(int hour, int minute) const {
    return Instant(day.days()) + std::chrono::hours(hour) + std::chrono::minutes(minute);
  }

  void record(int hour) const {
    Archive archive(small.city / "archive.sqlite");
    archive.record(
        testing::line_reports("v", "h" + std::to_string(hour), time(hour, 2), /*leg_s=*/120));
  }

  void say(const std::string& name, const FeedMessage& message) const {
    std::ofstream(small.city / "said" / name, std::ios::binary) << message.SerializeAsString();
  }

  FeedMessage message_at(Instant header) const {
    FeedMessage message;
    message.mutable_header()->set_gtfs_realtime_version("2.0");
    message.mutable_header()->set_timestamp(static_cast<std::uint64_t>(unix_seconds(header)));
    return message;
  }

  TripDescriptor& add_trip(FeedMessage& message, const std::string& trip) const {
    auto& entity = *message.add_entity();
    entity.set_id(trip);
    TripDescriptor& descriptor = *entity.mutable_trip_update()->mutable_trip();
    descriptor.set_trip_id(trip);
    descriptor.set_start_date("20250603");
    return descriptor;
  }

  static std::string ask(const std::string& url) {
    FetchRequest request;
    request.url = url;
    return fetch(request).body;
  }

  testing::SmallCity small;
  ServiceDate day = *ServiceDate::parse("20250603");
};

TEST_F(RecordedDayProcessTest, WhatTheAgencySaidIsShownAndScored) {
  FeedMessage on_time = message_at(time(12, 0));
  add_trip(on_time, "h12");
  on_time.mutable_entity(0)->mutable_trip_update()->set_delay(0);
  say("said-20250603T120000Z.pb", on_time);
  FeedMessage canceled = message_at(time(19, 50));
  add_trip(canceled, "h21").set_schedule_relationship(TripDescriptor::CANCELED);
  say("last.pb", canceled);
  std::ofstream(small.city / "said" / "notes.txt") << "no message";

  Program service({"serve", small.city.string(), "--day", "2025-06-03", "--speed", "0"});
  const std::string url = service.wait_for_url();
  ASSERT_NE(url, "") << service.errors();
  const std::string said = service.wait_for("the agency");
  EXPECT_THAT(said, HasSubstr("2 snapshots of trip updates"));
  EXPECT_THAT(said, HasSubstr("snapshot without a time (1, first: notes.txt)"));

  nlohmann::json sources;
  const auto has_ended = [&] {
    sources = nlohmann::json::parse(ask(url + "/api/v1/sources"), nullptr, false);
    return sources.is_object() && sources.contains("sources") &&
           sources["sources"][0]["health"] == "finished";
  };
  for (int i = 0; i < 600 && !has_ended(); ++i) usleep(50'000);
  ASSERT_TRUE(has_ended()) << sources;
  const auto changes = nlohmann::json::parse(ask(url + "/api/v1/changes"));
  ASSERT_EQ(changes["trips"].size(), 1U) << changes;
  EXPECT_EQ(changes["trips"][0]["trip"], "h21@20250603");
  EXPECT_EQ(changes["trips"][0]["canceled"], true);
  EXPECT_EQ(changes["trips"][0]["said_by"], "the agency");
  const auto scores = nlohmann::json::parse(ask(url + "/api/v1/scores"));
  std::uint64_t own = 0;
  for (const auto& bucket : scores["scores"].back()["buckets"]) {
    if (!bucket["agency"].is_null()) own += bucket["agency"]["own_n"].get<std::uint64_t>();
  }
  EXPECT_GT(own, 0U) << "its predictions of h12 are held against what then happened";
  EXPECT_EQ(service.end(SIGTERM), 0);
}

TEST_F(RecordedDayProcessTest, AFolderThatIsNotThereIsRefused) {
  std::filesystem::remove(small.city / "said");
  Program service({"serve", small.city.string(), "--day", "2025-06-03", "--speed", "0"});
  EXPECT_GT(service.wait(), 0);
  EXPECT_THAT(service.errors(), HasSubstr("said"));
}

}  // namespace
}  // namespace qiv
