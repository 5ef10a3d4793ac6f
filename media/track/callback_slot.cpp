#include "media/track/callback_slot.h"

#include <utility>

#include "logging/guarded_call.h"

namespace movra::media {

void CallbackSlot::Set(std::function<void()> callback) {
  std::shared_ptr<const std::function<void()>> previous;
  if (callback) {
    previous = std::make_shared<const std::function<void()>>(std::move(callback));
  }
  std::unique_lock lock(mutex_);
  callback_.swap(previous);
  run_again_ = false;
  has_thrown_ = false;
  const void* const removed = previous.get();
  if (removed != nullptr && running_ == removed && running_thread_ != std::this_thread::get_id()) {
    // The runner holds the last reference from here on: it destroys the callback before it says
    // that the run has ended.
    previous.reset();
    run_ended_.wait(lock, [&, run = ended_runs_] { return ended_runs_ != run; });
  }
  lock.unlock();  // Before `previous` goes, which may run anybody's destructor.
}

void CallbackSlot::Run() {
  std::unique_lock lock(mutex_);
  if (running_ != nullptr) {
    run_again_ = true;
    return;
  }
  do {
    run_again_ = false;
    auto callback = callback_;
    if (callback == nullptr || has_thrown_) return;
    running_ = callback.get();
    running_thread_ = std::this_thread::get_id();
    lock.unlock();
    const bool has_returned =
        movra_logging::CallGuarded("The callback of a frame track", *callback);
    lock.lock();
    if (callback == callback_) {
      has_thrown_ = !has_returned;
      callback.reset();  // Not the last reference: nothing is destroyed under the lock.
    } else {
      // It was replaced meanwhile, and nobody but this thread holds it any more. Once it is gone a
      // new one may come to stand at its address, and is not the one that runs.
      running_ = this;
      lock.unlock();
      callback.reset();
      lock.lock();
    }
    running_ = nullptr;
    ++ended_runs_;
    run_ended_.notify_all();
  } while (run_again_);
}

}  // namespace movra::media
