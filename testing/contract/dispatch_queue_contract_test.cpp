#include "core/dispatch_queue_contract_for_test.h"

#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>

#include "testing/simulated_queue.h"

namespace movra::testing {
namespace {

class SimulatedQueueBench final : public core::QueueBench {
 public:
  // What the test's body is said to be is no part of the contract.
  SimulatedQueueBench() { queue_->set_current(false); }

  core::DispatchQueue& queue() override { return *queue_; }
  void RunUntilDone() override {
    for (done_ = false; !done_;) {
      try {
        queue_->RunAll();
        // Everything that a test waits for is a few milliseconds away.
        if (!done_) clock_->AdvanceBy(std::chrono::milliseconds(1));
      } catch (const std::runtime_error&) {
        // It leaves the run.
      }
    }
  }
  void Done() override { done_ = true; }
  std::chrono::nanoseconds Now() const override { return clock_->now(); }
  void End() override { queue_.reset(); }
  void EndBehind(const std::function<void()>& post) override {
    post();
    End();
  }

 private:
  // Outlives the queue, as where several share it.
  const std::shared_ptr<SimulatedClock> clock_ = std::make_shared<SimulatedClock>();
  std::shared_ptr<SimulatedQueue> queue_ =
      std::make_shared<SimulatedQueue>("queue", nullptr, clock_);
  bool done_ = false;
};

const core::QueueCase kSimulated{"SimulatedQueue",
                                 [] { return std::make_unique<SimulatedQueueBench>(); }};

}  // namespace
}  // namespace movra::testing

namespace core {
namespace {

INSTANTIATE_TEST_SUITE_P(OnTheDouble, DispatchQueueContract,
                         ::testing::Values(movra::testing::kSimulated), NameOf);

}  // namespace
}  // namespace core
