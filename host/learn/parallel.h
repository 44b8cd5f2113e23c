#pragma once

#include <cstddef>
#include <functional>

namespace qiv {

/// Runs `work(i)` for all i below `count` on several threads. An exception ends the work: calls
/// that have not begun are left out, and the first exception is thrown again.
void in_parallel(std::size_t count, unsigned threads, const std::function<void(std::size_t)>& work);

}  // namespace qiv
