// Ctrl-C and its relatives. An application has both of these in media::Application; this header is
// for one that sees to its loop itself.

#ifndef MOVRA_MEDIA_APPLICATION_SIGNAL_WATCHER_H_
#define MOVRA_MEDIA_APPLICATION_SIGNAL_WATCHER_H_

#include <atomic>
#include <functional>
#include <thread>

namespace movra::media {

// Holds back SIGINT, SIGTERM and SIGHUP (this one unless it is ignored already, as under nohup) in
// the calling thread and those it starts from now on, and ignores SIGPIPE and SIGXFSZ: a closed
// pipe and a file that may not grow are errors of the write. Called first in main, so that no other
// thread can take the signals.
void HoldBackSignals();

// Waits for the signals that are held back. The first one asks the program to end well; the second
// ends the process at once, whatever its other threads are doing, with 128 and the signal's number.
// Takes no descriptor: there may be none left.
class SignalWatcher {
 public:
  // `on_first` runs on the watcher's thread, for the first signal alone.
  explicit SignalWatcher(std::function<void(int)> on_first);
  ~SignalWatcher();
  SignalWatcher(const SignalWatcher&) = delete;
  SignalWatcher& operator=(const SignalWatcher&) = delete;

 private:
  void Watch();

  const std::function<void(int)> on_first_;
  std::atomic<bool> stopping_ = false;  // Written by the destructor.
  std::thread thread_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_APPLICATION_SIGNAL_WATCHER_H_
