#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace qiv {

/// One thread that does jobs in order, so that those who serve connections need not wait for them.
class Background {
 public:
  explicit Background(std::size_t most_waiting);
  Background(const Background&) = delete;
  Background& operator=(const Background&) = delete;
  ~Background();

  /// False, without the job, when too many wait already or the end has come. A job must not throw.
  bool submit(std::function<void()> job);

  /// Finishes what was submitted; takes nothing more.
  void stop();

 private:
  void run();

  const std::size_t _most_waiting;
  std::mutex _mutex;
  std::condition_variable _changed;
  std::deque<std::function<void()>> _jobs;
  bool _stopping = false;
  std::thread _thread;
};

}  // namespace qiv
