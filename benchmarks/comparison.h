// Measures pieces of ours in turn with yardsticks and prints both as one table.
//
// Each figure is the best of several rounds, because everything that disturbs a round makes it
// slower, and the rounds of all of them are mixed, so that they meet the same machine.

#ifndef MOVRA_BENCHMARKS_COMPARISON_H_
#define MOVRA_BENCHMARKS_COMPARISON_H_

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace movra::benchmarks {

// The operations of one iteration of a burst.
inline constexpr int kBurstOperations = 1000;

struct Yardstick {
  std::string name;
  double recorded_ns = 0;  // 0: it is measured.
  void (*function)(benchmark::State&) = nullptr;
};

struct Row {
  std::string name;
  void (*function)(benchmark::State&);
  std::vector<Yardstick> yardsticks;
  // What two threads do together is measured by the clock, a burst in an iteration, and everything
  // else by the CPU time of its thread.
  bool is_burst = false;
};

// Takes Google Benchmark's options, such as --benchmark_filter. Returns the exit code, which does
// not depend on the figures.
int CompareAll(const std::vector<Row>& rows, int argc, char** argv);

}  // namespace movra::benchmarks

#endif  // MOVRA_BENCHMARKS_COMPARISON_H_
