#include "media/threads/mutex.h"

class Counter {
 public:
  void Count() {
#ifndef MOVRA_MISUSE
    const movra::media::MutexLock lock(mutex_);
#endif
    ++count_;
  }

 private:
  movra::media::Mutex mutex_;
  int count_ MOVRA_GUARDED_BY(mutex_) = 0;
};

void Use(Counter& counter) { counter.Count(); }
