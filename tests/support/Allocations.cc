#include "support/Allocations.h"

#include <cstdlib>
#include <new>

namespace {

const unsigned long never = static_cast<unsigned long>(-1);
const std::size_t capacity = 64;

unsigned long made = 0;
unsigned long failing = never;
bool failed = false;
std::size_t watched_size = 0;
const char* released[capacity];
std::size_t nb_released = 0;

void* allocate(std::size_t size) {
  if (made++ == failing) {
    failed = true;
    throw std::bad_alloc();
  }
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void release(void* block, std::size_t size) {
  if (size != 0 && size == watched_size && nb_released < capacity) {
    released[nb_released++] = static_cast<const char*>(block);
  }
  std::free(block);
}

}  // namespace

FailingAllocation::FailingAllocation(unsigned long index) {
  failing = made + index;
  failed = false;
}

FailingAllocation::~FailingAllocation() {
  failing = never;
}

bool FailingAllocation::happened() {
  return failed;
}

ReleasedBlocks::ReleasedBlocks(std::size_t size) {
  nb_released = 0;
  watched_size = size;
}

ReleasedBlocks::~ReleasedBlocks() {
  watched_size = 0;
}

std::vector<const char*> ReleasedBlocks::blocks() const {
  return std::vector<const char*>(released, released + nb_released);
}

unsigned long allocations_made() {
  return made;
}

void* operator new(std::size_t size) {
  return allocate(size);
}

void* operator new[](std::size_t size) {
  return allocate(size);
}

void operator delete(void* block) noexcept {
  release(block, 0);
}

void operator delete[](void* block) noexcept {
  release(block, 0);
}

void operator delete(void* block, std::size_t size) noexcept {
  release(block, size);
}

void operator delete[](void* block, std::size_t size) noexcept {
  release(block, size);
}
