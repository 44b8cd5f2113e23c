#pragma once

#include <malloc.h>

#include <cstddef>
#include <ctime>

namespace qiv {

/// Processor time of all threads so far, in seconds.
inline double cpu_s() {
  return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

/// Bytes that are allocated now, as the C library's allocator counts them.
inline std::size_t bytes_in_use() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

}  // namespace qiv
