// What drives the producer of a run besides its session: a script, and the log of what it tells.

#ifndef MOVRA_APP_SCRIPT_RUN_H_
#define MOVRA_APP_SCRIPT_RUN_H_

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/encoder_error_client.h"
#include "app/event_log.h"
#include "app/operations.h"
#include "app/result.h"
#include "app/script.h"
#include "app/script_player.h"
#include "core/dispatch_queue.h"
#include "video/camera_service.h"
#include "video/producer/video_producer2.h"

namespace movra::app {

// Of a run without a script it logs the events, if there is a log, and does nothing else. On the
// main queue, all of it.
class ScriptRun : public std::enable_shared_from_this<ScriptRun> {
 public:
  using Clock = ScriptPlayer::Clock;

  struct Setting {
    std::vector<ScriptLine> lines;
    EventLog* log = nullptr;  // Outlives it; null: none.
    std::shared_ptr<core::DispatchQueue> queue;
    std::function<Clock::time_point()> now;
  };
  struct Events {
    EncoderErrorClient::Handler on_encoder_error;
    // Of the run's own source, before the script has started another.
    std::function<void()> on_screen_started;
    std::function<void(video::VideoScreenSharingError)> on_screen_error;
    std::function<void(video::VideoScreenSharingStoppedReason)> on_screen_stopped;
    std::function<void()> on_next_source;  // One is about to be started.
    // What one that the script started came to, but not of its start.
    std::function<void(const video::CaptureEnd&)> on_source_end;
    // No line is left. Idle: and no source runs.
    std::function<void(bool is_idle)> on_over;
    std::function<void(const Failure&)> on_failure;
  };

  ScriptRun(Setting setting, Events events);

  // The producer's, which holds it weakly.
  [[nodiscard]] std::shared_ptr<video::IVideoProducer2::Client> client() const { return client_; }

  // Once, when the source of the run has been started.
  void Start(std::shared_ptr<video::IVideoProducer2> producer);
  // No line is played any more, and what operations gave the producer is let go of.
  void Stop();

  // Whether the end of a source is not that of the run: lines are left, or the source that the
  // script started last has not ended.
  [[nodiscard]] bool goes_on() const;
  // Whether the source that the script started last has ended by itself.
  [[nodiscard]] bool has_ended() const { return has_next_source_ && has_ended_; }
  [[nodiscard]] bool is_uninitialized() const { return is_uninitialized_; }

 private:
  class RunClient;

  void Play(const ScriptLine& line);
  // Whether the line may be played.
  [[nodiscard]] bool TakeSource(const ScriptLine& line);
  void OnAnswer(const ScriptLine& line, const Result<Json>& answer);
  void OnCaptureEnded(const video::CaptureEnd& end);
  void OnScreenError(video::VideoScreenSharingError error);
  void OnScreenStopped(video::VideoScreenSharingStoppedReason reason);
  void Log(const Json& event);

  const Setting setting_;
  const Events events_;
  const Clock::time_point made_at_;
  const std::shared_ptr<video::IVideoProducer2::Client> client_;
  std::shared_ptr<video::IVideoProducer2> producer_;  // From Start to Stop.
  std::unique_ptr<Operations> operations_;
  std::shared_ptr<ScriptPlayer> player_;
  std::string source_;            // The camera that the script started last.
  std::string why_not_started_;   // The same.
  bool has_next_source_ = false;  // It started one.
  bool has_ended_ = false;        // And that has ended.
  bool is_uninitialized_ = false;
  bool log_failed_ = false;
};

}  // namespace movra::app

#endif  // MOVRA_APP_SCRIPT_RUN_H_
