#include "worker/reference_codec.h"

#include <gtest/gtest.h>

#include "history/settings_json.h"

namespace qiv {
namespace {

const Instant noon = from_unix_seconds(1'741'003'200);

void take_all(Reference& reference, const std::vector<StreamMessage>& messages) {
  for (const StreamMessage& message : messages) EXPECT_FALSE(reference.take(message));
}

TEST(ReferenceCodecTest, ATimetableTravelsInChunks) {
  const std::string gtfs = "0123456789";
  const auto messages = encode_network(gtfs, noon, 4);
  EXPECT_EQ(messages.size(), 4U);
  Reference reference;
  EXPECT_EQ(reference.gtfs(), nullptr);
  take_all(reference, messages);
  ASSERT_NE(reference.gtfs(), nullptr);
  EXPECT_EQ(*reference.gtfs(), gtfs);
  EXPECT_EQ(reference.gtfs_version(), network_version(gtfs));
  EXPECT_EQ(reference.gtfs_chunks(), 3U);
}

TEST(ReferenceCodecTest, MoreThanTenChunksKeepTheirOrder) {
  const std::string gtfs = "abcdefghijklmnopqrstuvwxyz";
  Reference reference;
  take_all(reference, encode_network(gtfs, noon, 1));
  EXPECT_EQ(*reference.gtfs(), gtfs);
}

TEST(ReferenceCodecTest, ANewTimetableTakesThePlaceOfTheOldOne) {
  Reference reference;
  take_all(reference, encode_network("old one", noon, 4));
  take_all(reference, encode_network("new", noon, 4));
  take_all(reference, forget_network(network_version("old one"), 2, noon));
  EXPECT_EQ(*reference.gtfs(), "new");
}

TEST(ReferenceCodecTest, AManifestWithoutItsChunksIsNotUsed) {
  auto messages = encode_network("0123456789", noon, 4);
  messages.erase(messages.begin());
  Reference reference;
  for (std::size_t i = 0; i + 1 < messages.size(); ++i) reference.take(messages[i]);
  const auto unused = reference.take(messages.back());
  ASSERT_TRUE(unused);
  EXPECT_EQ(unused->reason,
            "parts of timetable " + network_version("0123456789") + " are missing: run the bridge");
  EXPECT_EQ(reference.gtfs(), nullptr);
}

TEST(ReferenceCodecTest, ADamagedChunkIsNoticed) {
  auto messages = encode_network("0123456789", noon, 4);
  messages[1].value = "4x67";
  Reference reference;
  reference.take(messages[0]);
  reference.take(messages[1]);
  reference.take(messages[2]);
  EXPECT_TRUE(reference.take(messages[3]));
  EXPECT_EQ(reference.gtfs(), nullptr);
}

TEST(ReferenceCodecTest, TheLatestSettingsAreInForce) {
  LearnedSettings settings;
  settings.turnaround = Seconds(77);
  Reference reference;
  EXPECT_FALSE(reference.settings());
  EXPECT_FALSE(reference.take(encode_settings(LearnedSettings(), noon)));
  EXPECT_FALSE(reference.take(encode_settings(settings, noon)));
  ASSERT_TRUE(reference.settings());
  EXPECT_EQ(to_json(*reference.settings()), to_json(settings));
}

TEST(ReferenceCodecTest, OtherMessagesAreNotUsed) {
  Reference reference;
  EXPECT_TRUE(reference.take(make_message("settings", "{", noon)));
  EXPECT_TRUE(reference.take(make_message("network", "\xff", noon)));
  EXPECT_TRUE(reference.take(make_message("network/v/x", "bytes", noon)));
  EXPECT_TRUE(reference.take(make_message("weather", "fine", noon)));
}

}  // namespace
}  // namespace qiv
