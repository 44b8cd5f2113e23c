#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace qiv {

/// The events on their way to one reader. Whoever has news pushes; the reader's connection takes
/// what there is and sleeps when there is nothing. A reader that does not keep up is dropped: the
/// one who pushes never waits. Safe to use from several threads.
class EventStream {
 public:
  /// Bytes as they go out, shared by all readers of the same news.
  using Event = std::shared_ptr<const std::string>;

  /// More than `max_queued_bytes` waiting drop the reader, unless a single event is as large.
  explicit EventStream(std::size_t max_queued_bytes) : _max_queued_bytes(max_queued_bytes) {}

  /// False when the reader is gone, or has just been dropped.
  bool push(Event event);
  /// A sign of life; nothing where events are waiting anyway.
  void push_heartbeat(Event heartbeat);
  /// Ends the stream after what has been read.
  void close();

  bool closed() const;
  bool dropped() const;

  /// The connection's side. `wake` is called when a reader that sleeps has something to read, or is
  /// to end; `drop` when it is dropped. Both are called with the stream locked.
  void attach(std::function<void()> wake, std::function<void()> drop);
  /// No callback is called any more.
  void detach();

  enum class Read { data, asleep, ended };
  /// Copies up to `size` bytes and sets `size` to how many. With nothing to read calls `sleep`,
  /// with the stream locked: the next `wake` cannot come before it.
  Read read(char* to, std::size_t& size, const std::function<void()>& sleep);

 private:
  bool enqueue(Event event);
  void end();
  void wake();

  const std::size_t _max_queued_bytes;
  mutable std::mutex _mutex;
  std::deque<Event> _queue;
  std::size_t _queued_bytes = 0;
  std::size_t _read_of_first = 0;
  bool _closed = false;
  bool _dropped = false;
  bool _asleep = false;
  std::function<void()> _wake;
  std::function<void()> _drop;
};

}  // namespace qiv
