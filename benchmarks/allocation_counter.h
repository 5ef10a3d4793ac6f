#ifndef MOVRA_BENCHMARKS_ALLOCATION_COUNTER_H_
#define MOVRA_BENCHMARKS_ALLOCATION_COUNTER_H_

#include <cstdint>

namespace movra::benchmarks {

// What the process has taken from and given back to operator new since it started. Linking
// allocation_counter.cpp replaces the global operators.
struct Allocations {
  std::int64_t count = 0;       // Allocations made.
  std::int64_t bytes_held = 0;  // Bytes allocated and not freed.

  friend Allocations operator-(const Allocations& a, const Allocations& b) {
    return {a.count - b.count, a.bytes_held - b.bytes_held};
  }
};

[[nodiscard]] Allocations CurrentAllocations();

}  // namespace movra::benchmarks

#endif  // MOVRA_BENCHMARKS_ALLOCATION_COUNTER_H_
