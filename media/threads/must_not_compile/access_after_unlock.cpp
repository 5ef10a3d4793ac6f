#include "media/threads/mutex.h"

class Counter {
 public:
  void Count() {
    movra::media::MutexLock lock(mutex_);
    ++count_;
    lock.Unlock();
#ifndef MOVRA_MISUSE
    lock.Lock();
#endif
    ++count_;
  }

 private:
  movra::media::Mutex mutex_;
  int count_ MOVRA_GUARDED_BY(mutex_) = 0;
};

void Use(Counter& counter) { counter.Count(); }
