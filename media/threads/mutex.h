// The standard library's mutex, lock and condition variable, in a form that clang can check. They
// cost what those cost.
//
//   const MutexLock lock(mutex_);
//   while (!finished_) changed_.Wait(mutex_);
//
// Waits are loops, not predicates: a lambda is a function of its own to the check, which does not
// know that it is called with the mutex held.

#ifndef MOVRA_MEDIA_THREADS_MUTEX_H_
#define MOVRA_MEDIA_THREADS_MUTEX_H_

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "media/threads/thread_annotations.h"

namespace movra::media {

class MOVRA_CAPABILITY("mutex") Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void Lock() MOVRA_ACQUIRE() { mutex_.lock(); }
  void Unlock() MOVRA_RELEASE() { mutex_.unlock(); }

 private:
  friend class Condition;
  std::mutex mutex_;
};

// Holds a mutex for a scope, but for where it is given back in between. One thread.
class MOVRA_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) MOVRA_ACQUIRE(mutex) : mutex_(mutex) { mutex_.Lock(); }
  ~MutexLock() MOVRA_RELEASE() {
    if (holds_) mutex_.Unlock();
  }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  void Unlock() MOVRA_RELEASE() {
    holds_ = false;
    mutex_.Unlock();
  }
  void Lock() MOVRA_ACQUIRE() {
    mutex_.Lock();
    holds_ = true;
  }

 private:
  Mutex& mutex_;
  bool holds_ = true;
};

// Waits give the mutex back meanwhile, and may end without a notification.
class Condition {
 public:
  void Wait(Mutex& mutex) MOVRA_REQUIRES(mutex) {
    std::unique_lock lock(mutex.mutex_, std::adopt_lock);
    changed_.wait(lock);
    lock.release();
  }

  // Whether the wait ended before the deadline.
  [[nodiscard]] bool WaitUntil(Mutex& mutex, std::chrono::steady_clock::time_point deadline)
      MOVRA_REQUIRES(mutex) {
    std::unique_lock lock(mutex.mutex_, std::adopt_lock);
    const bool in_time = changed_.wait_until(lock, deadline) == std::cv_status::no_timeout;
    lock.release();
    return in_time;
  }

  void NotifyAll() { changed_.notify_all(); }

 private:
  std::condition_variable changed_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_THREADS_MUTEX_H_
