// How long every operation of the producer takes on collaborators that do nothing, what it
// allocates, and what a log line costs.
//
// The table of yardsticks on top names what comparable pieces cost elsewhere (-O2, a second thread
// alive), measured on the same kind of machine.

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <thread>

#include "benchmarks/allocation_counter.h"
#include "benchmarks/producer_operations.h"
#include "core/run_loop.h"
#include "core/serial_queue.h"
#include "logging/log_filter.h"
#include "logging/log_message.h"
#include "logging/log_sink.h"
#include "logging/log_stream.h"

namespace movra::benchmarks {
namespace {

constexpr char kYardsticks[] =
    "Yardsticks, ns per operation:\n"
    "  std::function call 1.7; a bound once-callback made and run 12-16\n"
    "  weak_ptr lock and call 12.5, expired 0.6; shared_ptr copy 12.7\n"
    "  unordered_map look-up with a shared_ptr copy 13 (int key), 17 (string key)\n"
    "  spdlog: line below the level 5.6, formatted into a null sink 107, duplicate filter 119\n"
    "  glog: line below the level 2724\n"
    "  mutex and condition-variable queue: 118 per task in a burst of 1000\n"
    "Goal: an operation that only forwards allocates nothing and stays under 100 ns.\n\n";

class NullSink : public movra_logging::LogSink {
 public:
  void Send(const movra_logging::LogRecord& record) override {
    benchmark::DoNotOptimize(record.text.data());
  }
};

// Alive for the whole program: with one thread, the standard library counts references without
// atomics, and every figure would be two to three times too kind.
class ParkedThread {
 public:
  ~ParkedThread() {
    {
      const std::lock_guard lock(mutex_);
      ended_ = true;
    }
    end_.notify_one();
    thread_.join();
  }

 private:
  std::mutex mutex_;
  std::condition_variable end_;
  bool ended_ = false;
  std::thread thread_{[this] {
    std::unique_lock lock(mutex_);
    end_.wait(lock, [this] { return ended_; });
  }};
};

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

void WriteLine(int number) {
  if (!movra_logging::ShouldCreateLogMessage(movra_logging::kLogLevelInfo)) return;
  LogStream("benchmarks/producer_benchmark", __LINE__, __func__, movra_logging::kLogLevelInfo,
            nullptr)
      << LogTraceId(InstanceTrace(1)) << LogTag("[main]") << " "
      << "Update capture frame rate:" << number;
}

void SuppressedLine(benchmark::State& state) {
  for (auto _ : state) WriteLine(30);
}

void WrittenLine(benchmark::State& state) {
  NullSink sink;
  movra_logging::AddLogSink(&sink);
  for (auto _ : state) WriteLine(30);
  movra_logging::RemoveLogSink(&sink);
}

void FilteredLine(benchmark::State& state) {
  NullSink sink;
  movra_logging::AddLogSink(&sink);
  SetLogValueFiltering(true);
  for (auto _ : state) WriteLine(30);
  SetLogValueFiltering(false);
  movra_logging::RemoveLogSink(&sink);
}

void OnceCallbackMadeAndRun(benchmark::State& state) {
  int sum = 0;
  for (auto _ : state) {
    std::move(movra_base::BindOnce([&sum](int value) { sum += value; })).Run(1);
    benchmark::DoNotOptimize(sum);
  }
}

void SerialQueueBurst(benchmark::State& state) {
  constexpr int kTasks = 1000;
  core::SerialQueue queue("burst");
  std::mutex mutex;
  std::condition_variable done;
  for (auto _ : state) {
    int run = 0;
    bool finished = false;
    for (int i = 0; i < kTasks; ++i) queue.Post(movra_base::BindOnce([&run] { ++run; }));
    queue.Post(movra_base::BindOnce([&] {
      const std::lock_guard lock(mutex);
      finished = true;
      done.notify_one();
    }));
    std::unique_lock lock(mutex);
    done.wait(lock, [&] { return finished; });
  }
  state.SetItemsProcessed(state.iterations() * kTasks);
}

void RegisterAll() {
  for (const ProducerOperation& operation : AllProducerOperations()) {
    benchmark::RegisterBenchmark(operation.name.c_str(), [operation](benchmark::State& state) {
      RunOperation(state, operation);
    });
  }
  benchmark::RegisterBenchmark("log line, suppressed", SuppressedLine);
  benchmark::RegisterBenchmark("log line, filtered duplicate", FilteredLine);
  benchmark::RegisterBenchmark("log line, written to a null sink", WrittenLine);
  benchmark::RegisterBenchmark("once-callback made and run", OnceCallbackMadeAndRun);
  benchmark::RegisterBenchmark("serial queue, burst of 1000 tasks", SerialQueueBurst);
}

}  // namespace
}  // namespace movra::benchmarks

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  std::fputs(movra::benchmarks::kYardsticks, stdout);
  const movra::benchmarks::ParkedThread parked;
  core::SetMainQueue(std::make_shared<core::RunLoop>());
  movra::benchmarks::RegisterAll();
  benchmark::RunSpecifiedBenchmarks();
  core::SetMainQueue(nullptr);
  return 0;
}
