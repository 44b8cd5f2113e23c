#include "serve/http/connections.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>

namespace qiv {
namespace {

using Clock = Connections::Clock;
using std::chrono::seconds;

/// Both ends of a connection.
class SocketPair {
 public:
  SocketPair() { ::socketpair(AF_UNIX, SOCK_STREAM, 0, _ends.data()); }
  SocketPair(const SocketPair&) = delete;
  SocketPair& operator=(const SocketPair&) = delete;
  ~SocketPair() {
    ::close(_ends[0]);
    ::close(_ends[1]);
  }
  int ours() const { return _ends[0]; }
  bool is_shut_down() const {
    char byte = 0;
    return ::recv(_ends[1], &byte, 1, MSG_DONTWAIT) == 0;
  }

 private:
  std::array<int, 2> _ends{};
};

TEST(Connections, ShutsDownThoseWhoseTimeIsOver) {
  const Clock::time_point now{};
  Connections connections;
  const SocketPair late;
  const SocketPair early;
  const SocketPair endless;
  connections.open(late.ours(), now + seconds(1));
  connections.open(early.ours(), now + seconds(3));
  connections.clear_deadline(connections.open(endless.ours(), now + seconds(1)));
  EXPECT_EQ(connections.count(), 3u);
  EXPECT_EQ(connections.shut_down_late(now + seconds(2)), 1u);
  EXPECT_TRUE(late.is_shut_down());
  EXPECT_FALSE(early.is_shut_down());
  EXPECT_FALSE(endless.is_shut_down());
  EXPECT_EQ(connections.shut_down_late(now + seconds(2)), 0u) << "each once";
  EXPECT_EQ(connections.late(), 1u);
}

TEST(Connections, MoreTimeIsMoreTime) {
  const Clock::time_point now{};
  Connections connections;
  const SocketPair socket;
  const auto id = connections.open(socket.ours(), now + seconds(1));
  connections.set_deadline(id, now + seconds(5));
  EXPECT_EQ(connections.shut_down_late(now + seconds(2)), 0u);
}

TEST(Connections, WhatIsClosedIsLeftAlone) {
  Connections connections;
  const SocketPair socket;
  const auto id = connections.open(socket.ours(), Clock::time_point{});
  connections.close(id);
  connections.shut_down(id);
  EXPECT_EQ(connections.shut_down_late(Clock::time_point{} + seconds(9)), 0u);
  EXPECT_FALSE(socket.is_shut_down());
  EXPECT_EQ(connections.count(), 0u);
}

}  // namespace
}  // namespace qiv
