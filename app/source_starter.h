// The source of a run: its start, and the clock that its duration goes by.

#ifndef MOVRA_APP_SOURCE_STARTER_H_
#define MOVRA_APP_SOURCE_STARTER_H_

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app/result.h"
#include "app/stream_plan.h"
#include "core/dispatch_queue.h"
#include "video/camera_service.h"
#include "video/pixel_frame.h"
#include "video/producer/video_producer2.h"
#include "video/video_types.h"

namespace movra::app {

// Starts a source of any kind and tells what becomes of it, until it is stopped. On the main queue,
// all of it.
class SourceStarter : public std::enable_shared_from_this<SourceStarter> {
 public:
  using Clock = std::chrono::steady_clock;

  // How much longer than its duration a source that goes by the clock is waited for: one that
  // delivers gives the last frame within it, and one that has stalled may never give one.
  static constexpr std::chrono::milliseconds kStallSlack{500};

  struct Setting {
    std::string source;
    CapturePlan plan;
    // By the clock: from the first frame, before that from the start. Absent where the frames' own
    // times say when it is over.
    std::optional<std::chrono::nanoseconds> duration;
    std::shared_ptr<core::DispatchQueue> queue;  // The main queue.
    std::function<Clock::time_point()> now;
  };
  struct Events {
    std::function<void(const Failure&)> on_failure;        // It cannot be started.
    std::function<void(const video::StreamEnd&)> on_lost;  // It has no end, and broke off.
    std::function<void()> on_duration_over;
  };

  SourceStarter(Setting setting, Events events);

  // Once. Events do not come before it has returned.
  void Start(video::IVideoProducer2& producer);
  void NoteFirstFrame();
  // What the producer tells of a screen.
  void OnScreenStarted();
  void OnScreenError(video::VideoScreenSharingError error);
  void OnScreenStopped(video::VideoScreenSharingStoppedReason reason);
  // No event begins any more.
  void Stop() { stopped_ = true; }

  // When it was started.
  [[nodiscard]] Clock::time_point started_at() const { return started_at_; }

 private:
  void StartCamera(video::IVideoProducer2& producer);
  void StartScreen(video::IVideoProducer2& producer);
  void Fail(const Failure& failure);
  void OnStarted(int error_code, int elapsed_ms);
  void OnEnded(const video::CaptureEnd& end);
  void LookForEndOfDuration();

  const Setting setting_;
  const Events events_;
  bool is_screen_ = false;
  bool stopped_ = false;
  bool has_frames_ = false;
  std::string why_not_started_;  // Told before the answer of the start.
  Clock::time_point started_at_;
  Clock::time_point duration_start_;
};

}  // namespace movra::app

#endif  // MOVRA_APP_SOURCE_STARTER_H_
