// A second thread that does nothing, alive while everything is measured: with one thread the
// standard library counts references without atomics, and every figure would be two to three times
// too kind.

#ifndef MOVRA_BENCHMARKS_PARKED_THREAD_H_
#define MOVRA_BENCHMARKS_PARKED_THREAD_H_

#include <future>
#include <thread>

namespace movra::benchmarks {

class ParkedThread {
 public:
  ParkedThread() = default;
  ~ParkedThread() {
    end_.set_value();
    thread_.join();
  }
  ParkedThread(const ParkedThread&) = delete;
  ParkedThread& operator=(const ParkedThread&) = delete;

 private:
  std::promise<void> end_;
  std::thread thread_{[end = end_.get_future()] { end.wait(); }};
};

}  // namespace movra::benchmarks

#endif  // MOVRA_BENCHMARKS_PARKED_THREAD_H_
