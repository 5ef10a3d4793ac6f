#include "media/capture/detached_thread.h"

#include <pthread.h>

#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace movra::media {
namespace {

// Never destroyed: a thread may outlive the process's own objects.
struct Running {
  std::mutex mutex;
  std::condition_variable ended;
  int count = 0;  // Guarded by mutex.

  static Running& Instance() {
    static auto* const instance = new Running;
    return *instance;
  }

  void Begin() {
    const std::lock_guard lock(mutex);
    ++count;
  }
  void TakeBack() {
    const std::lock_guard lock(mutex);
    --count;
  }
  // Told when the thread has destroyed what is its own.
  void EndAtThreadExit() {
    std::unique_lock lock(mutex);
    --count;
    std::notify_all_at_thread_exit(ended, std::move(lock));
  }
};

}  // namespace

bool StartDetachedThread(const char* name, movra_base::OnceClosure body) {
  Running::Instance().Begin();
  try {
    std::thread([name, body = std::move(body)]() mutable {
      pthread_setname_np(pthread_self(), name);
      std::move(body).Run();
      body = {};
      Running::Instance().EndAtThreadExit();
    }).detach();
  } catch (const std::system_error&) {
    Running::Instance().TakeBack();
    return false;
  }
  return true;
}

bool WaitForDetachedThreads(std::chrono::nanoseconds patience) {
  Running& running = Running::Instance();
  std::unique_lock lock(running.mutex);
  return running.ended.wait_for(lock, patience, [&running] { return running.count == 0; });
}

}  // namespace movra::media
