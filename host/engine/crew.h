#pragma once

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace qiv {

/// Threads that do one piece of work together, again and again, and wait for each other after each.
class Crew {
 public:
  /// The caller of `together` is one of the crew: `size` - 1 threads are made.
  /// Precondition: `size` is at least 1.
  explicit Crew(std::size_t size);
  ~Crew();
  Crew(const Crew&) = delete;
  Crew& operator=(const Crew&) = delete;

  std::size_t size() const { return _threads.size() + 1; }

  /// Calls `work` with every number below `size`, each in a thread of its own, and returns when all
  /// have returned. The first exception is thrown again. Not for use by several threads at once.
  void together(const std::function<void(std::size_t)>& work);

 private:
  void serve(std::size_t number, const std::stop_token& stop);
  void do_part(std::size_t number);

  std::mutex _mutex;
  std::condition_variable_any _called;
  std::condition_variable _done;
  const std::function<void(std::size_t)>* _work = nullptr;
  std::size_t _call = 0;     ///< number of the present call
  std::size_t _missing = 0;  ///< threads that have not returned from it
  std::exception_ptr _failure;
  std::vector<std::jthread> _threads;
};

}  // namespace qiv
