#include "learn/parallel.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace qiv {

void in_parallel(std::size_t count, unsigned threads,
                 const std::function<void(std::size_t)>& work) {
  std::atomic<std::size_t> next{0};
  std::exception_ptr failure;
  std::mutex failing;
  {
    std::vector<std::jthread> workers;
    for (unsigned t = 0; t < std::max(1U, threads); ++t) {
      workers.emplace_back([&] {
        try {
          for (std::size_t i = next++; i < count; i = next++) work(i);
        } catch (...) {
          next = count;
          const std::lock_guard lock(failing);
          if (!failure) failure = std::current_exception();
        }
      });
    }
  }
  if (failure) std::rethrow_exception(failure);
}

}  // namespace qiv
