#include "app/source_starter.h"

#include <utility>

#include "app/source_failure.h"
#include "base/once_callback.h"
#include "core/location.h"
#include "core/notification_center.h"
#include "media/capture/camera_error.h"
#include "media/screen/screen_source.h"
#include "media/sources/source_kinds.h"
#include "video/camera_service.h"
#include "video/capture_params.h"

namespace movra::app {

using movra_base::BindOnce;
using std::chrono::nanoseconds;

SourceStarter::SourceStarter(Setting setting, Events events)
    : setting_(std::move(setting)), events_(std::move(events)) {}

void SourceStarter::Start(video::IVideoProducer2& producer) {
  core::SubscribeEvent<std::function<void(const video::CaptureEnd&)>>(
      video::kCaptureEndedNotification, "", core::Location(__FILE__, __LINE__), shared_from_this(),
      &SourceStarter::OnEnded);
  const media::SourceKind* const kind = media::FindSourceKind(setting_.source);
  is_screen_ = kind != nullptr && kind->operation == media::SourceOperation::kDesktop;
  is_screen_ ? StartScreen(producer) : StartCamera(producer);
}

void SourceStarter::StartCamera(video::IVideoProducer2& producer) {
  video::CameraParams params;
  params.camera_id = setting_.source;
  if (setting_.plan.frame_rate) params.frame_rate = *setting_.plan.frame_rate;
  if (setting_.plan.size) {
    params.width = setting_.plan.size->width;
    params.height = setting_.plan.size->height;
  }
  producer.SetProducerMode(setting_.plan.mode);
  started_at_ = setting_.now();
  producer.StartCapture(params, BindOnce(&SourceStarter::OnStarted, weak_from_this()));
}

void SourceStarter::StartScreen(video::IVideoProducer2& producer) {
  started_at_ = setting_.now();
  const auto found = media::FindScreen(setting_.source);
  if (const auto* const failure = media::FailureOf(found)) {
    setting_.queue->Post(
        BindOnce(&SourceStarter::Fail, weak_from_this(),
                 SourceStartFailure(setting_.source, static_cast<std::int32_t>(failure->code),
                                    failure->text)));
    return;
  }
  video::DesktopScreenParams params = media::ValueOf(found);
  if (setting_.plan.frame_rate) params.frame_rate = *setting_.plan.frame_rate;
  producer.StartCapture(params);
}

void SourceStarter::Fail(const Failure& failure) {
  if (!stopped_) events_.on_failure(failure);
}

void SourceStarter::OnScreenStarted() {
  if (is_screen_) OnStarted(0, 0);
}

void SourceStarter::OnScreenError(video::VideoScreenSharingError error) {
  if (is_screen_) Fail(ScreenStartFailure(setting_.source, error));
}

void SourceStarter::OnScreenStopped(video::VideoScreenSharingStoppedReason reason) {
  if (stopped_ || !is_screen_) return;
  if (reason != video::VideoScreenSharingStoppedReason::kByRequest) {
    events_.on_lost(ScreenEnd(reason));
  }
}

void SourceStarter::NoteFirstFrame() {
  if (!std::exchange(has_frames_, true)) duration_start_ = setting_.now();
}

void SourceStarter::OnStarted(int error_code, int /*elapsed_ms*/) {
  // A script may stop it before it is open.
  const bool is_cancelled = error_code == static_cast<int>(media::CameraError::kCancelled);
  if (stopped_ || is_cancelled) return;
  if (error_code != 0) {
    events_.on_failure(SourceStartFailure(setting_.source, error_code, why_not_started_));
  } else if (setting_.duration) {
    if (!has_frames_) duration_start_ = setting_.now();
    LookForEndOfDuration();
  }
}

void SourceStarter::OnEnded(const video::CaptureEnd& end) {
  if (stopped_ || end.camera_id != setting_.source) return;
  if (end.kind == video::CaptureEndKind::kNotStarted) why_not_started_ = end.text;
  // Any other end travels through the streams.
  if (end.kind == video::CaptureEndKind::kLost) {
    events_.on_lost(
        {.error_code = end.error_code, .reason = end.text, .damaged_frames = end.damaged_frames});
  }
}

void SourceStarter::LookForEndOfDuration() {
  if (stopped_) return;
  const nanoseconds left = duration_start_ + *setting_.duration + kStallSlack - setting_.now();
  if (left.count() <= 0) return events_.on_duration_over();
  setting_.queue->PostDelayed(BindOnce(&SourceStarter::LookForEndOfDuration, weak_from_this()),
                              left);
}

}  // namespace movra::app
