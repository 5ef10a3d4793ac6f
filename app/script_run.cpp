#include "app/script_run.h"

#include <cstdint>
#include <utility>

#include "app/event_recorder.h"
#include "app/media_objects.h"
#include "app/source_failure.h"
#include "core/location.h"
#include "core/notification_center.h"
#include "media/capture/camera_error.h"

namespace movra::app {
namespace {

// Of start_capture_camera the id; other sources have none. What is no text is for the operation to
// refuse.
std::string CameraOf(const Json& arguments) {
  const auto params = arguments.find("params");
  if (params == arguments.end() || !params->is_object()) return "";
  const auto id = params->find("camera_id");
  return id != params->end() && id->is_string() ? id->get<std::string>() : "";
}

std::string PlaceOf(const ScriptLine& line) {
  return "--script, line " + std::to_string(line.number);
}

bool StartsSource(const ScriptLine& line) { return line.operation.starts_with("start_capture"); }

}  // namespace

// Logs all events, and tells those that decide how the run goes on.
class ScriptRun::RunClient final : public EventRecorder {
 public:
  explicit RunClient(ScriptRun& run)
      : EventRecorder([&run](const Json& event) { run.Log(event); }),
        run_(run),
        errors_(run.events_.on_encoder_error) {}

  void OnEncoderError(video::IVideoProducer2* producer, video::VideoStreamType type,
                      video::VideoEncoderError error, const movra_base::Value& detail) override {
    EventRecorder::OnEncoderError(producer, type, error, detail);
    errors_.OnEncoderError(producer, type, error, detail);
  }
  void OnScreenSharingError(video::IVideoProducer2* producer, long source,
                            video::VideoScreenSharingError error) override {
    EventRecorder::OnScreenSharingError(producer, source, error);
    run_.OnScreenError(error);
  }
  void OnScreenSharingStarted(video::IVideoProducer2* producer, long source) override {
    EventRecorder::OnScreenSharingStarted(producer, source);
    if (!run_.has_next_source_) run_.events_.on_screen_started();
  }
  void OnScreenSharingStopped(video::IVideoProducer2* producer, long source,
                              video::VideoScreenSharingStoppedReason reason) override {
    EventRecorder::OnScreenSharingStopped(producer, source, reason);
    run_.OnScreenStopped(reason);
  }

 private:
  ScriptRun& run_;
  EncoderErrorClient errors_;
};

ScriptRun::ScriptRun(Setting setting, Events events)
    : setting_(std::move(setting)),
      events_(std::move(events)),
      made_at_(setting_.now()),
      client_(std::make_shared<RunClient>(*this)) {}

void ScriptRun::Start(std::shared_ptr<video::IVideoProducer2> producer) {
  if (setting_.lines.empty()) return;
  core::SubscribeEvent<std::function<void(const video::CaptureEnd&)>>(
      video::kCaptureEndedNotification, "", core::Location(__FILE__, __LINE__), shared_from_this(),
      &ScriptRun::OnCaptureEnded);
  const auto log = [weak_this = weak_from_this()](const Json& event) {
    if (const auto self = weak_this.lock()) self->Log(event);
  };
  producer_ = std::move(producer);
  operations_ =
      std::make_unique<Operations>(producer_, std::make_shared<MediaObjects>(log, client_));
  player_ = std::make_shared<ScriptPlayer>(
      setting_.lines, [this](const ScriptLine& line) { Play(line); }, setting_.queue, setting_.now);
  player_->Start();
}

void ScriptRun::Stop() {
  if (player_ != nullptr) player_->Stop();
  has_next_source_ = false;
  operations_.reset();
  producer_.reset();
}

bool ScriptRun::goes_on() const {
  if (player_ == nullptr) return false;
  return !player_->is_over() || (has_next_source_ && !has_ended_);
}

void ScriptRun::Play(const ScriptLine& line) {
  if (StartsSource(line) && !TakeSource(line)) return;
  operations_->Call(line.operation, line.arguments,
                    [weak_this = weak_from_this(), line](const Result<Json>& answer) {
                      if (const auto self = weak_this.lock()) self->OnAnswer(line, answer);
                    });
  if (line.operation == "uninitialize") {
    is_uninitialized_ = true;
    player_->Stop();
  }
  if (!player_->is_over()) return;
  events_.on_over(is_uninitialized_ ||
                  producer_->GetCurrentSourceType() == video::VideoSourceType::kNone);
}

// A producer lets a second source pass without a word, and the run would wait for its end.
bool ScriptRun::TakeSource(const ScriptLine& line) {
  if (producer_->GetCurrentSourceType() != video::VideoSourceType::kNone) {
    events_.on_failure(
        {ExitCode::kContradiction, PlaceOf(line) + ": " + line.operation +
                                       ": a source runs already; call stop_capture before"});
    return false;
  }
  source_ = CameraOf(line.arguments);
  has_next_source_ = true;
  has_ended_ = false;
  events_.on_next_source();
  return true;
}

void ScriptRun::OnAnswer(const ScriptLine& line, const Result<Json>& answer) {
  if (producer_ == nullptr) return;
  if (const Failure* const failure = FailureOf(answer)) {
    return events_.on_failure(Prefixed(PlaceOf(line), *failure));
  }
  const Json& value = ValueOf(answer);
  Log({{"event", "answer"}, {"line", line.number}, {"do", line.operation}, {"answer", value}});
  if (!StartsSource(line) || !value.is_object()) return;
  // One that the script stopped before it was open is none.
  const auto error = static_cast<media::CameraError>(value.value("error_code", 0));
  if (error == media::CameraError::kNone || error == media::CameraError::kCancelled) return;
  events_.on_failure(Prefixed(
      PlaceOf(line), SourceStartFailure(CameraOf(line.arguments), static_cast<std::int32_t>(error),
                                        std::exchange(why_not_started_, ""))));
}

void ScriptRun::OnCaptureEnded(const video::CaptureEnd& end) {
  if (!has_next_source_ || end.camera_id != source_) return;
  has_ended_ = true;
  if (end.kind == video::CaptureEndKind::kNotStarted) {
    why_not_started_ = end.text;
  } else {
    events_.on_source_end(end);
  }
}

void ScriptRun::OnScreenError(video::VideoScreenSharingError error) {
  if (!has_next_source_) return events_.on_screen_error(error);
  events_.on_failure(Prefixed("--script", ScreenStartFailure("a screen", error)));
}

void ScriptRun::OnScreenStopped(video::VideoScreenSharingStoppedReason reason) {
  if (!has_next_source_) return events_.on_screen_stopped(reason);
  // That of the source in front of the script's, which the script has stopped.
  if (reason == video::VideoScreenSharingStoppedReason::kByRequest) return;
  has_ended_ = true;
  const video::StreamEnd end = ScreenEnd(reason);
  video::CaptureEnd told;
  told.kind = video::CaptureEndKind::kLost;
  told.error_code = end.error_code;
  told.text = end.reason;
  events_.on_source_end(told);
}

void ScriptRun::Log(const Json& event) {
  if (setting_.log == nullptr || log_failed_) return;
  setting_.log->Write(setting_.now() - made_at_, event);
  if (setting_.log->error().empty()) return;
  log_failed_ = true;
  events_.on_failure({ExitCode::kWriteFailed, "--events: " + setting_.log->error()});
}

}  // namespace movra::app
