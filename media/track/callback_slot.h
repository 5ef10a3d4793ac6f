#ifndef MOVRA_MEDIA_TRACK_CALLBACK_SLOT_H_
#define MOVRA_MEDIA_TRACK_CALLBACK_SLOT_H_

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

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
  std::mutex mutex_;
  std::condition_variable run_ended_;
  // All guarded by mutex_.
  std::shared_ptr<const std::function<void()>> callback_;
  const void* running_ = nullptr;  // Which callback is running; null: none.
  std::thread::id running_thread_;
  std::uint64_t ended_runs_ = 0;
  bool run_again_ = false;
  bool has_thrown_ = false;  // The callback that is set.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_TRACK_CALLBACK_SLOT_H_
