#include "media/track/callback_slot.h"

#include <utility>

#include "logging/guarded_call.h"

namespace movra::media {

void CallbackSlot::Set(std::function<void()> callback) {
  std::shared_ptr<const std::function<void()>> previous;
  if (callback) {
    previous = std::make_shared<const std::function<void()>>(std::move(callback));
  }
  MutexLock lock(mutex_);
  callback_.swap(previous);
  run_again_ = false;
  has_thrown_ = false;
  const void* const removed = previous.get();
  if (removed != nullptr && running_ == removed && running_thread_ != std::this_thread::get_id()) {
    // The runner holds the last reference from here on: it destroys the callback before it says
    // that the run has ended.
    previous.reset();
    const std::uint64_t run = ended_runs_;
    while (ended_runs_ == run) run_ended_.Wait(mutex_);
  }
  lock.Unlock();  // Before `previous` goes, which may run anybody's destructor.
}

void CallbackSlot::Run() {
  MutexLock lock(mutex_);
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
    lock.Unlock();
    const bool has_returned =
        movra_logging::CallGuarded("The callback of a frame track", *callback);
    lock.Lock();
    if (callback == callback_) {
      has_thrown_ = !has_returned;
      callback.reset();  // Not the last reference: nothing is destroyed under the lock.
    } else {
      // It was replaced meanwhile, and nobody but this thread holds it any more. Once it is gone a
      // new one may come to stand at its address, and is not the one that runs.
      running_ = this;
      lock.Unlock();
      callback.reset();
      lock.Lock();
    }
    running_ = nullptr;
    ++ended_runs_;
    run_ended_.NotifyAll();
  } while (run_again_);
}

}  // namespace movra::media
