// Finds the operations of a collaborator that are called on a wrong thread.
//
//   void EncoderController::RequestKeyFrame() {
//     checker_.Check();
//     ...
//
// Collaborators' state belongs to the main queue and has no lock. A call from elsewhere is a race
// that tests rarely show, so it is told: one error line for each collaborator, and the call goes
// on.
//
// A call is right on the thread that runs the main queue, whether or not it is inside of a run: a
// program sets up before its loop runs and takes down after it. A queue cannot say whose it is
// while nobody runs it, so two threads count as its own: the one that made the collaborator, and
// the one that was last seen inside of a run. A wrong call on these is not found; no right call is
// told.

#ifndef MOVRA_MEDIA_MAIN_QUEUE_MAIN_QUEUE_CHECKER_H_
#define MOVRA_MEDIA_MAIN_QUEUE_MAIN_QUEUE_CHECKER_H_

#include <atomic>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>

#include "core/dispatch_queue.h"
#include "logging/log_message.h"
#include "logging/log_stream.h"
#include "video/video_context.h"

namespace movra::media {

class MainQueueChecker {
 public:
  // `whose` names the collaborator in the line, a constant of the program; `context` begins the
  // line of one that has any.
  explicit MainQueueChecker(std::string_view whose,
                            std::optional<video::VideoContext> context = std::nullopt)
      : whose_(whose), context_(std::move(context)) {}
  MainQueueChecker(const MainQueueChecker&) = delete;
  MainQueueChecker& operator=(const MainQueueChecker&) = delete;

  // Called at the beginning of an operation, whose name is the caller's. Any thread; hold no lock,
  // because log sinks may be called.
  void Check(const char* operation = __builtin_FUNCTION()) {
    const std::thread::id self = std::this_thread::get_id();
    if (self == maker_ || self == runner_) return;
    if (core::GetMainQueue()->IsCurrent()) {
      runner_ = self;
    } else if (!is_reported_.exchange(true)) {
      Report(operation);
    }
  }

 private:
  void Report(const char* operation) const {
    constexpr int kError = movra_logging::kLogLevelError;
    if (!movra_logging::ShouldCreateLogMessage(kError)) return;
    LogStream line("media/main_queue/main_queue_checker", __LINE__, operation, kError, nullptr);
    if (context_) line << LogTraceId(context_->trace()) << LogTag(context_->log_tag()) << " ";
    line << operation << " of " << whose_ << " was called off the main queue";
  }

  const std::string_view whose_;
  const std::optional<video::VideoContext> context_;
  const std::thread::id maker_ = std::this_thread::get_id();
  // Both read and written on any thread.
  std::atomic<std::thread::id> runner_{};
  std::atomic<bool> is_reported_ = false;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_MAIN_QUEUE_MAIN_QUEUE_CHECKER_H_
