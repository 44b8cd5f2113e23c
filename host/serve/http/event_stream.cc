#include "serve/http/event_stream.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace qiv {

bool EventStream::push(Event event) {
  const std::lock_guard lock(_mutex);
  return enqueue(std::move(event));
}

void EventStream::push_heartbeat(Event heartbeat) {
  const std::lock_guard lock(_mutex);
  if (_queue.empty()) enqueue(std::move(heartbeat));
}

void EventStream::close() {
  const std::lock_guard lock(_mutex);
  end();
}

bool EventStream::closed() const {
  const std::lock_guard lock(_mutex);
  return _closed;
}

bool EventStream::dropped() const {
  const std::lock_guard lock(_mutex);
  return _dropped;
}

void EventStream::attach(std::function<void()> wake, std::function<void()> drop) {
  const std::lock_guard lock(_mutex);
  _wake = std::move(wake);
  _drop = std::move(drop);
}

void EventStream::detach() {
  const std::lock_guard lock(_mutex);
  _wake = nullptr;
  _drop = nullptr;
  _asleep = false;
  end();
}

EventStream::Read EventStream::read(char* to, std::size_t& size,
                                    const std::function<void()>& sleep) {
  const std::lock_guard lock(_mutex);
  const std::size_t room = size;
  size = 0;
  while (!_queue.empty() && size < room) {
    const std::string& first = *_queue.front();
    const std::size_t n = std::min(room - size, first.size() - _read_of_first);
    std::memcpy(to + size, first.data() + _read_of_first, n);
    size += n;
    _read_of_first += n;
    _queued_bytes -= n;
    if (_read_of_first == first.size()) {
      _queue.pop_front();
      _read_of_first = 0;
    }
  }
  if (size > 0) return Read::data;
  if (_closed) return Read::ended;
  _asleep = true;
  sleep();
  return Read::asleep;
}

bool EventStream::enqueue(Event event) {
  if (_closed) return false;
  if (!_queue.empty() && _queued_bytes + event->size() > _max_queued_bytes) {
    _dropped = true;
    end();
    if (_drop) _drop();
    return false;
  }
  _queued_bytes += event->size();
  _queue.push_back(std::move(event));
  wake();
  return true;
}

void EventStream::end() {
  _closed = true;
  _queue.clear();
  _queued_bytes = 0;
  _read_of_first = 0;
  wake();
}

void EventStream::wake() {
  if (!_asleep) return;
  _asleep = false;
  if (_wake) _wake();
}

}  // namespace qiv
