#ifndef MOVRA_MEDIA_TRACK_CALLBACK_SLOT_H_
#define MOVRA_MEDIA_TRACK_CALLBACK_SLOT_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <thread>

#include "media/threads/mutex.h"

namespace movra::media {

// Holds one callback that some threads run and another removes.
//
// Runs never overlap and never nest: a Run that meets one in progress returns at once, and the
// thread that is running the callback runs it once more. So a callback may cause its own event
// without recursion, and nobody waits to run it.
//
// A callback that throws is told in the log and not run any more; it stays until another one is
// set.
//
// Any thread. No lock is held while the callback runs or while it is destroyed.
class CallbackSlot {
 public:
  // Replaces the callback; an empty function removes it. When this returns, the previous one is
  // destroyed and neither runs nor will run. Called from inside the callback it returns at once;
  // the previous one is then destroyed when its run ends.
  void Set(std::function<void()> callback);

  // Runs the callback, if there is one.
  void Run();

 private:
  Mutex mutex_;
  Condition run_ended_;
  std::shared_ptr<const std::function<void()>> callback_ MOVRA_GUARDED_BY(mutex_);
  // Which callback is running; null: none.
  const void* running_ MOVRA_GUARDED_BY(mutex_) = nullptr;
  std::thread::id running_thread_ MOVRA_GUARDED_BY(mutex_);
  std::uint64_t ended_runs_ MOVRA_GUARDED_BY(mutex_) = 0;
  bool run_again_ MOVRA_GUARDED_BY(mutex_) = false;
  bool has_thrown_ MOVRA_GUARDED_BY(mutex_) = false;  // The callback that is set.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_TRACK_CALLBACK_SLOT_H_
