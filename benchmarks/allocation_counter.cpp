#include "benchmarks/allocation_counter.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

// Of all threads, because memory may be freed by another one than allocated it.
std::atomic<std::int64_t> allocation_count = 0;
std::atomic<std::int64_t> bytes_held = 0;

}  // namespace

namespace movra::benchmarks {

Allocations CurrentAllocations() { return {allocation_count.load(), bytes_held.load()}; }

}  // namespace movra::benchmarks

void* operator new(std::size_t size) {
  void* const memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  allocation_count.fetch_add(1, std::memory_order_relaxed);
  bytes_held.fetch_add(static_cast<std::int64_t>(malloc_usable_size(memory)),
                       std::memory_order_relaxed);
  return memory;
}

void operator delete(void* memory) noexcept {
  if (memory == nullptr) return;
  bytes_held.fetch_sub(static_cast<std::int64_t>(malloc_usable_size(memory)),
                       std::memory_order_relaxed);
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept { operator delete(memory); }
