#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>

namespace qiv {

/// The open connections, each with the time by which it must have got on. A connection whose time
/// is over is shut down, so that neither a slow writer nor a slow reader holds anything for long.
/// Safe to use from several threads.
class Connections {
 public:
  using Clock = std::chrono::steady_clock;
  using Id = std::uint64_t;

  /// A connection that has to get on by `deadline`.
  Id open(int socket, Clock::time_point deadline);
  /// Must come before the socket is closed.
  void close(Id id);

  void set_deadline(Id id, Clock::time_point deadline);
  /// It may take as long as it likes.
  void clear_deadline(Id id);

  /// Shuts the connection down at once.
  void shut_down(Id id);
  /// Shuts down those whose time is over, and tells how many.
  std::size_t shut_down_late(Clock::time_point now);

  std::size_t count() const;
  /// How many were shut down so far because their time was over. Who sees that one is closed sees
  /// it counted.
  std::uint64_t late() const;

 private:
  struct Entry {
    int socket;
    Clock::time_point deadline;
  };

  mutable std::mutex _mutex;
  Id _next = 1;
  std::map<Id, Entry> _entries;
  std::uint64_t _late = 0;
};

}  // namespace qiv
