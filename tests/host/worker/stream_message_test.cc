#include "worker/stream_message.h"

#include <gtest/gtest.h>

namespace qiv {
namespace {

StreamMessage of_format(const std::string& format) {
  StreamMessage message;
  if (!format.empty()) message.headers[header::format] = format;
  return message;
}

TEST(StreamMessageTest, StatesItsFormat) {
  const StreamMessage made = make_message("key", "value", from_unix_seconds(5));
  EXPECT_EQ(header_of(made, header::format), std::to_string(stream_format));
  EXPECT_EQ(header_of(made, header::reason), "");
  EXPECT_FALSE(foreign_format(made));
}

TEST(StreamMessageTest, OneWithoutFormatIsOfTheFirst) {
  EXPECT_FALSE(foreign_format(of_format("")));
}

TEST(StreamMessageTest, ALaterFormatIsNotUnderstood) {
  const auto why = foreign_format(of_format("2"));
  ASSERT_TRUE(why);
  EXPECT_EQ(why->reason, "format '2' is not known here, only up to 1: upgrade this reader first");
  for (const char* const text : {"0", "-1", "1x", "x"}) {
    EXPECT_TRUE(foreign_format(of_format(text))) << text;
  }
}

TEST(StreamMessageTest, TimesAreThoseOfOurDays) {
  EXPECT_TRUE(is_stream_time(from_unix_seconds(0)));
  EXPECT_TRUE(is_stream_time(from_unix_seconds(1'759'811'582)));
  EXPECT_FALSE(is_stream_time(from_unix_seconds(-1)));
  EXPECT_FALSE(is_stream_time(Instant::max()));
}

}  // namespace
}  // namespace qiv
