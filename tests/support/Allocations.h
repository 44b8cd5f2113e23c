#ifndef QIV_TESTS_SUPPORT_ALLOCATIONS_H
#define QIV_TESTS_SUPPORT_ALLOCATIONS_H

#include <cstddef>
#include <vector>

/// Allocations of an executable that is built with Allocations.cc, which replaces its operators new
/// and delete: counted, made to fail, or watched. One of these objects at a time, one thread.

/// While it lives, the allocation of number `index`, counted from 0 since it was made, throws
/// `std::bad_alloc`; the others succeed.
class FailingAllocation {
 public:
  explicit FailingAllocation(unsigned long index);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  /// Whether the allocation that the last of these objects was to fail was asked for.
  static bool happened();
};

/// While it lives, notes the blocks of `size` bytes that are given back, in their order.
class ReleasedBlocks {
 public:
  explicit ReleasedBlocks(std::size_t size);
  ~ReleasedBlocks();
  ReleasedBlocks(const ReleasedBlocks&) = delete;
  ReleasedBlocks& operator=(const ReleasedBlocks&) = delete;

  /// The first 64 of them.
  std::vector<const char*> blocks() const;
};

/// The number of allocations made since the process began.
unsigned long allocations_made();

/// The number of allocations that `call` makes.
template <class Call>
unsigned long count_allocations(Call call) {
  const unsigned long before = allocations_made();
  call();
  return allocations_made() - before;
}

#endif  // QIV_TESTS_SUPPORT_ALLOCATIONS_H
