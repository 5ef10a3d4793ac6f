#include "media/threads/mutex.h"

class Event {
 public:
  void Wait() {
#ifdef MOVRA_MISUSE
    changed_.Wait(mutex_);
#else
    const movra::media::MutexLock lock(mutex_);
    while (!has_come_) changed_.Wait(mutex_);
#endif
  }

 private:
  movra::media::Mutex mutex_;
  movra::media::Condition changed_;
  bool has_come_ MOVRA_GUARDED_BY(mutex_) = false;
};

void Use(Event& event) { event.Wait(); }
