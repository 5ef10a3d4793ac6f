#include "core/dispatch_queue_contract_for_test.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "core/run_loop.h"
#include "core/serial_queue.h"

namespace core {
namespace {

std::chrono::nanoseconds SteadyNow() { return std::chrono::steady_clock::now().time_since_epoch(); }

class RunLoopBench final : public QueueBench {
 public:
  DispatchQueue& queue() override { return *loop_; }
  void RunUntilDone() override {
    for (done_ = false; !done_;) {
      try {
        loop_->Run();
      } catch (const std::runtime_error&) {
        // The program's to judge; this one goes on.
      }
    }
  }
  void Done() override {
    done_ = true;
    loop_->Quit();
  }
  std::chrono::nanoseconds Now() const override { return SteadyNow(); }
  void End() override { loop_.reset(); }
  void EndBehind(const std::function<void()>& post) override {
    post();
    End();
  }

 private:
  std::optional<RunLoop> loop_{std::in_place};
  bool done_ = false;
};

class SerialQueueBench final : public QueueBench {
 public:
  DispatchQueue& queue() override { return *queue_; }
  void RunUntilDone() override {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return std::exchange(done_, false); });
  }
  void Done() override {
    const std::lock_guard lock(mutex_);
    done_ = true;
    changed_.notify_all();
  }
  std::chrono::nanoseconds Now() const override { return SteadyNow(); }
  void End() override { queue_.reset(); }
  // The queue ends with its first task, which waits until the others are posted.
  void EndBehind(const std::function<void()>& post) override {
    const auto posted = std::make_shared<std::promise<void>>();
    queue_->Post(movra_base::BindOnce([this, posted] {
      posted->get_future().wait();
      queue_.reset();
    }));
    post();
    posted->set_value();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool done_ = false;  // Guarded by mutex_.
  std::unique_ptr<SerialQueue> queue_ = std::make_unique<SerialQueue>("contract");
};

template <class Bench>
QueueCase Case(const std::string& name) {
  return {name, [] { return std::make_unique<Bench>(); }};
}

INSTANTIATE_TEST_SUITE_P(On, DispatchQueueContract,
                         ::testing::Values(Case<RunLoopBench>("RunLoop"),
                                           Case<SerialQueueBench>("SerialQueue")),
                         NameOf);

}  // namespace
}  // namespace core
