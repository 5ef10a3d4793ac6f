// How long every operation of the producer takes on collaborators that do nothing, and what it
// allocates. Goal: one that only forwards allocates nothing and stays under 100 ns.
//
// What the pieces below it cost is in support_benchmark.cpp.

#include <benchmark/benchmark.h>

#include <memory>

#include "benchmarks/allocation_counter.h"
#include "benchmarks/parked_thread.h"
#include "benchmarks/producer_operations.h"
#include "core/run_loop.h"

namespace movra::benchmarks {
namespace {

void RunOperation(benchmark::State& state, const ProducerOperation& operation) {
  const auto producer = MakeProducer();
  operation.run(*producer);
  const Allocations before = CurrentAllocations();
  for (auto _ : state) operation.run(*producer);
  const Allocations used = CurrentAllocations() - before;
  const auto iterations = static_cast<double>(state.iterations());
  state.counters["allocs"] = static_cast<double>(used.count) / iterations;
  state.counters["bytes_left"] = static_cast<double>(used.bytes_held);
}

void RegisterAll() {
  for (const ProducerOperation& operation : AllProducerOperations()) {
    benchmark::RegisterBenchmark(operation.name.c_str(), [operation](benchmark::State& state) {
      RunOperation(state, operation);
    });
  }
}

}  // namespace
}  // namespace movra::benchmarks

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  const movra::benchmarks::ParkedThread parked;
  core::SetMainQueue(std::make_shared<core::RunLoop>());
  movra::benchmarks::RegisterAll();
  benchmark::RunSpecifiedBenchmarks();
  core::SetMainQueue(nullptr);
  return 0;
}
