#include "serve/http/connections.h"

#include <sys/socket.h>

namespace qiv {

Connections::Id Connections::open(int socket, Clock::time_point deadline) {
  const std::lock_guard lock(_mutex);
  _entries.emplace(_next, Entry{socket, deadline});
  return _next++;
}

void Connections::close(Id id) {
  const std::lock_guard lock(_mutex);
  _entries.erase(id);
}

void Connections::set_deadline(Id id, Clock::time_point deadline) {
  const std::lock_guard lock(_mutex);
  const auto found = _entries.find(id);
  if (found != _entries.end()) found->second.deadline = deadline;
}

void Connections::clear_deadline(Id id) {
  set_deadline(id, Clock::time_point::max());
}

void Connections::shut_down(Id id) {
  const std::lock_guard lock(_mutex);
  const auto found = _entries.find(id);
  if (found != _entries.end()) ::shutdown(found->second.socket, SHUT_RDWR);
}

std::size_t Connections::shut_down_late(Clock::time_point now) {
  const std::lock_guard lock(_mutex);
  std::size_t late = 0;
  for (auto& [id, entry] : _entries) {
    if (entry.deadline > now) continue;
    ::shutdown(entry.socket, SHUT_RDWR);
    entry.deadline = Clock::time_point::max();
    ++late;
  }
  _late += late;
  return late;
}

std::size_t Connections::count() const {
  const std::lock_guard lock(_mutex);
  return _entries.size();
}

std::uint64_t Connections::late() const {
  const std::lock_guard lock(_mutex);
  return _late;
}

}  // namespace qiv
