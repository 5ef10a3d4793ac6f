// What the producer takes from the heap, exactly. Times are the benchmark's business.

#include <gtest/gtest.h>

#include <thread>

#include "benchmarks/allocation_counter.h"
#include "benchmarks/producer_operations.h"
#include "core/run_loop.h"

namespace movra::benchmarks {
namespace {

class ProducerCost : public testing::Test {
 protected:
  ProducerCost() { core::SetMainQueue(std::make_shared<core::RunLoop>()); }
  ~ProducerCost() override { core::SetMainQueue(nullptr); }
};

TEST_F(ProducerCost, OperationsThatOnlyForwardAllocateNothing) {
  const auto producer = MakeProducer();
  for (const ProducerOperation& operation : AllProducerOperations()) {
    if (!operation.only_forwards) continue;
    operation.run(*producer);
    const Allocations before = CurrentAllocations();
    operation.run(*producer);
    EXPECT_EQ((CurrentAllocations() - before).count, 0) << operation.name;
  }
}

TEST_F(ProducerCost, EveryOperationLeavesNoByteBehindWhenRepeated) {
  for (const ProducerOperation& operation : AllProducerOperations()) {
    const auto producer = MakeProducer();
    operation.run(*producer);
    const Allocations before = CurrentAllocations();
    for (int i = 0; i < 3; ++i) operation.run(*producer);
    EXPECT_EQ((CurrentAllocations() - before).bytes_held, 0) << operation.name;
  }
}

TEST_F(ProducerCost, AStartAndStopOfCaptureLeavesNoByteBehind) {
  const auto producer = MakeProducer();
  producer->StopCapture({});
  const video::CameraParams params = MakeCameraParams();
  const Allocations before = CurrentAllocations();
  producer->StartCapture(params, {});
  EXPECT_GT((CurrentAllocations() - before).bytes_held, 0);
  producer->StopCapture({});
  EXPECT_EQ((CurrentAllocations() - before).bytes_held, 0);
}

TEST_F(ProducerCost, AReleasedProducerLeavesNoByteBehind) {
  const auto live_and_die = [] {
    const auto producer = MakeProducer();
    producer->StopCapture({});
    producer->Uninitialize();
  };
  live_and_die();
  const Allocations before = CurrentAllocations();
  live_and_die();
  EXPECT_EQ((CurrentAllocations() - before).bytes_held, 0);
}

}  // namespace
}  // namespace movra::benchmarks
