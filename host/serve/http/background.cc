#include "serve/http/background.h"

#include <utility>

namespace qiv {

Background::Background(std::size_t most_waiting)
    : _most_waiting(most_waiting), _thread([this] { run(); }) {}

Background::~Background() {
  stop();
}

bool Background::submit(std::function<void()> job) {
  {
    const std::lock_guard lock(_mutex);
    if (_stopping || _jobs.size() >= _most_waiting) return false;
    _jobs.push_back(std::move(job));
  }
  _changed.notify_one();
  return true;
}

void Background::stop() {
  {
    const std::lock_guard lock(_mutex);
    _stopping = true;
  }
  _changed.notify_one();
  if (_thread.joinable()) _thread.join();
}

void Background::run() {
  std::unique_lock lock(_mutex);
  while (true) {
    _changed.wait(lock, [this] { return _stopping || !_jobs.empty(); });
    if (_jobs.empty()) return;
    const std::function<void()> job = std::move(_jobs.front());
    _jobs.pop_front();
    lock.unlock();
    job();
    lock.lock();
  }
}

}  // namespace qiv
