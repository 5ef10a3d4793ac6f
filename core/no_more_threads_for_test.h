// A system that has no thread left: while one of these lives, starting a thread fails as it does
// there, with EAGAIN (std::system_error from std::thread). For the whole process.

#ifndef MOVRA_CORE_NO_MORE_THREADS_FOR_TEST_H_
#define MOVRA_CORE_NO_MORE_THREADS_FOR_TEST_H_

#include <pthread.h>

#include <cstddef>

namespace core {

class NoMoreThreads {
 public:
  NoMoreThreads() {
    pthread_attr_t attributes;
    pthread_getattr_default_np(&attributes);
    pthread_attr_getstacksize(&attributes, &stack_size_);
    // No machine has the addresses for such a stack.
    SetDefaultStackSize(attributes, std::size_t{1} << 60);
  }
  ~NoMoreThreads() {
    pthread_attr_t attributes;
    pthread_getattr_default_np(&attributes);
    SetDefaultStackSize(attributes, stack_size_);
  }
  NoMoreThreads(const NoMoreThreads&) = delete;
  NoMoreThreads& operator=(const NoMoreThreads&) = delete;

 private:
  // Takes the attributes over.
  static void SetDefaultStackSize(pthread_attr_t& attributes, std::size_t size) {
    pthread_attr_setstacksize(&attributes, size);
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
  }

  std::size_t stack_size_ = 0;
};

}  // namespace core

#endif  // MOVRA_CORE_NO_MORE_THREADS_FOR_TEST_H_
