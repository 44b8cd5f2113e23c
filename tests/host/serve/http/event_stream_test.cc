#include "serve/http/event_stream.h"

#include <gtest/gtest.h>

#include <array>

namespace qiv {
namespace {

EventStream::Event event(const std::string& text) {
  return std::make_shared<const std::string>(text);
}

/// A connection as the stream sees it.
struct Reader {
  explicit Reader(EventStream& of) : stream(of) {
    stream.attach([this] { ++woken; }, [this] { ++dropped; });
  }
  std::string read(std::size_t room = 100) {
    std::array<char, 100> to{};
    std::size_t size = room;
    last = stream.read(to.data(), size, [this] { ++slept; });
    return {to.data(), size};
  }

  EventStream& stream;
  EventStream::Read last = EventStream::Read::data;
  int woken = 0;
  int slept = 0;
  int dropped = 0;
};

TEST(EventStream, GivesWhatWasPushedInOrder) {
  EventStream stream(100);
  Reader reader(stream);
  stream.push(event("one "));
  stream.push(event("two"));
  EXPECT_EQ(reader.read(6), "one tw");
  EXPECT_EQ(reader.read(6), "o");
}

TEST(EventStream, SleepsWithoutNewsAndIsWokenOnce) {
  EventStream stream(100);
  Reader reader(stream);
  EXPECT_EQ(reader.read(), "");
  EXPECT_EQ(reader.last, EventStream::Read::asleep);
  EXPECT_EQ(reader.slept, 1);
  stream.push(event("a"));
  stream.push(event("b"));
  EXPECT_EQ(reader.woken, 1);
  EXPECT_EQ(reader.read(), "ab");
}

TEST(EventStream, DropsAReaderThatDoesNotKeepUp) {
  EventStream stream(10);
  Reader reader(stream);
  EXPECT_TRUE(stream.push(event("123456")));
  EXPECT_FALSE(stream.push(event("78901")));
  EXPECT_EQ(reader.dropped, 1);
  EXPECT_TRUE(stream.dropped());
  EXPECT_EQ(reader.read(), "");
  EXPECT_EQ(reader.last, EventStream::Read::ended);
  EXPECT_FALSE(stream.push(event("x")));
  EXPECT_EQ(reader.dropped, 1);
}

TEST(EventStream, OneLargeEventIsNoReasonToDrop) {
  EventStream stream(3);
  Reader reader(stream);
  EXPECT_TRUE(stream.push(event("123456")));
  EXPECT_EQ(reader.read(), "123456");
  EXPECT_TRUE(stream.push(event("123456")));
}

TEST(EventStream, AHeartbeatOnlyWhereNothingWaits) {
  EventStream stream(100);
  Reader reader(stream);
  stream.push(event("news"));
  stream.push_heartbeat(event(":"));
  EXPECT_EQ(reader.read(), "news");
  stream.push_heartbeat(event(":"));
  EXPECT_EQ(reader.read(), ":");
}

TEST(EventStream, ClosingWakesTheSleeper) {
  EventStream stream(100);
  Reader reader(stream);
  reader.read();
  stream.close();
  EXPECT_EQ(reader.woken, 1);
  EXPECT_TRUE(stream.closed());
  EXPECT_FALSE(stream.dropped());
  reader.read();
  EXPECT_EQ(reader.last, EventStream::Read::ended);
}

TEST(EventStream, ADetachedReaderIsNotCalled) {
  EventStream stream(100);
  Reader reader(stream);
  reader.read();
  stream.detach();
  EXPECT_FALSE(stream.push(event("a")));
  EXPECT_EQ(reader.woken, 0);
}

}  // namespace
}  // namespace qiv
