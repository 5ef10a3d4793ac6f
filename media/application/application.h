#ifndef MOVRA_MEDIA_APPLICATION_APPLICATION_H_
#define MOVRA_MEDIA_APPLICATION_APPLICATION_H_

#include <signal.h>

#include <memory>
#include <mutex>
#include <string>

#include "core/dispatch_queue.h"
#include "core/run_loop.h"
#include "media/application/signal_watcher.h"

namespace movra::media {

// What every application around a producer has to do besides: a main queue, an end by Ctrl-C, and
// an end of the process at which nothing of the library still runs.
//
//   int main() {
//     media::Application app;        // first of all, so that everything else ends before it
//     ...                            // make a writer and a producer, and start them
//     app.Run();                     // the main queue, until Quit or a signal
//     ...                            // stop the producer, as ever
//     return app.Finish();
//   }
//
// It hides nothing: `main_queue` is the queue that all producer state lives on, installed with
// core::SetMainQueue, and the thread that made the application runs it in `Run`. An application
// with an event loop of its own derives its queue from core::DispatchQueue instead and needs none
// of this.
//
// Made before any other thread is started, and destroyed on the same thread, behind every producer
// and collaborator. One at a time.
class Application {
 public:
  // Installs the main queue. SIGINT, SIGTERM and SIGHUP end the run, a second one the process;
  // SIGPIPE and SIGXFSZ are ignored from here on, so that they are errors of the write
  // (media/application/signal_watcher.h). Throws std::system_error if the system has no thread
  // left.
  Application();

  // Releases what the process keeps, while the queue is still there: the services, with the threads
  // that they have, then the subscriptions. Then the queue goes that was installed, with the tasks
  // that are left, unrun: what they were to tell has gone already. Captures that are stopped have a
  // second to let go of their cameras; one that hangs is left behind.
  ~Application();
  Application(const Application&) = delete;
  Application& operator=(const Application&) = delete;

  // Any thread.
  [[nodiscard]] const std::shared_ptr<core::RunLoop>& main_queue() const { return main_queue_; }

  // Runs the main queue until `Quit` or a signal. May be called again. What a task throws leaves
  // it.
  void Run();

  // Makes the run return when the task in progress has ended; while nothing runs, the next one
  // returns at once. Without a text all is well; the first text is kept as the failure. Any thread.
  void Quit(const std::string& failure = {});

  // For people, why it ended; empty if all went well. Any thread. Asked at the very end it has what
  // stopping met, too, such as a full disk.
  [[nodiscard]] std::string failure() const;

  // For the end of main: writes the failure to standard error, if there is one. Returns the exit
  // code, 1 then and otherwise 0.
  [[nodiscard]] int Finish() const;

 private:
  // Of the thread, before signals were held back.
  class SignalMask {
   public:
    SignalMask();
    ~SignalMask();
    SignalMask(const SignalMask&) = delete;
    SignalMask& operator=(const SignalMask&) = delete;

   private:
    sigset_t before_;
  };

  // Gives itself back to the process in the reverse order.
  class InstalledQueue {
   public:
    explicit InstalledQueue(std::shared_ptr<core::DispatchQueue> queue);
    ~InstalledQueue();
    InstalledQueue(const InstalledQueue&) = delete;
    InstalledQueue& operator=(const InstalledQueue&) = delete;

   private:
    const std::shared_ptr<core::DispatchQueue> before_;
  };

  const SignalMask mask_;
  const std::shared_ptr<core::RunLoop> main_queue_ = std::make_shared<core::RunLoop>();
  const InstalledQueue installed_{main_queue_};

  mutable std::mutex mutex_;
  std::string failure_;  // Guarded by mutex_.

  const SignalWatcher watcher_;  // Last: it uses the others.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_APPLICATION_APPLICATION_H_
