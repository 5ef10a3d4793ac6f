#include "model/play_table.h"
#include "testing/describe.h"

namespace movra::video::model {
namespace {

const std::int32_t kSides[] = {0, 320, 720, 1280, 1920};
const std::int32_t kRates[] = {15, 24, 30, 60};

void SetSometimes(Choices& choices, movra_base::Optional<std::int32_t>& field, std::int32_t value) {
  if (choices.Bool()) field = value;
}

void StartCamera(Table& table) {
  const char* const kIds[] = {"cam-1", "cam-2", "virtual:1"};
  CameraParams params;
  params.camera_id = table.choices.One(kIds);
  SetSometimes(table.choices, params.frame_rate, table.choices.One(kRates));
  SetSometimes(table.choices, params.width, table.choices.One(kSides));
  SetSometimes(table.choices, params.height, table.choices.One(kSides));
  const bool with_callback = table.choices.Bool();
  table.model.StartCamera(params, with_callback);
  table.producer->StartCapture(params, table.MakeCallback<void(int, int)>(with_callback));
}

void StartDesktop(Table& table) {
  DesktopScreenParams params;
  SetSometimes(table.choices, params.frame_rate, table.choices.One(kRates));
  if (table.choices.Bool()) params.capture_cursor = true;
  table.model.StartDesktop(params);
  table.producer->StartCapture(params);
}

void StartMobile(Table& table) {
  MobileScreenParams params;
  SetSometimes(table.choices, params.frame_rate, table.choices.One(kRates));
  table.model.StartMobile(params);
  table.producer->StartCapture(params);
}

void StopCapture(Table& table) {
  const bool with_callback = table.choices.Bool();
  table.model.StopCapture(with_callback);
  table.producer->StopCapture(table.MakeCallback<void()>(with_callback));
}

void Pause(Table& table) {
  table.model.Pause();
  table.producer->PauseCapture();
}

void Resume(Table& table) {
  table.model.Resume();
  table.producer->ResumeCapture();
}

void SetMode(Table& table) {
  const auto mode = static_cast<ProducerMode>(static_cast<int>(table.choices.Index(6)) - 1);
  table.model.SetMode(mode);
  table.producer->SetProducerMode(mode);
}

void SetCover(Table& table) {
  std::shared_ptr<VideoCoverImageParams> cover;
  if (table.choices.Bool()) {
    cover = std::make_shared<VideoCoverImageParams>();
    cover->image = testing::MakeImage("holiday");
    cover->image_option = static_cast<std::int32_t>(table.choices.Index(3));
  }
  table.model.SetCover(cover ? testing::Describe(cover) : std::string());
  table.producer->SetCoverImageParams(cover);
}

void EnableCustomCapture(Table& table) {
  const bool enable = table.choices.Bool();
  table.model.EnableCustomCapture(enable);
  table.producer->EnableCustomCapturing(enable);
}

void SetCustomInput(Table& table) {
  const bool none = table.choices.Bool();
  table.model.SetCustomInput(none ? "null" : "application reader");
  table.producer->SetCustomCaptureInputTrack(none ? nullptr : table.reader);
}

void ChangeWindows(Table& table) {
  const long window = static_cast<long>(table.choices.Index(3));
  switch (table.choices.Index(6)) {
    case 0:
      table.model.Exclude(window);
      table.producer->AddExcludedShareWindow(window);
      break;
    case 1:
      table.model.StopExcluding(window);
      table.producer->RemoveExcludedShareWindow(window);
      break;
    case 2:
      table.model.StopExcludingAll();
      table.producer->RemoveAllExcludedShareWindow();
      break;
    case 3:
      table.model.Include(window);
      table.producer->AddIncludedShareWindow(window);
      break;
    case 4:
      table.model.StopIncluding(window);
      table.producer->RemoveIncludedShareWindow(window);
      break;
    default:
      table.model.StopIncludingAll();
      table.producer->RemoveAllIncludedShareWindow();
  }
}

void ReportScreenEvent(Table& table) {
  IScreenSharing::Client& producer = *table.producer;
  switch (table.choices.Index(9)) {
    case 0:
      table.ExpectEvent("OnScreenSharingError", 5L, VideoScreenSharingError::kCaptureFailed);
      return producer.OnScreenSharingError(5, VideoScreenSharingError::kCaptureFailed);
    case 1:
      table.ExpectEvent("OnScreenSharingStarted", 5L);
      return producer.OnScreenSharingStarted(5);
    case 2:
      table.ExpectEvent("OnScreenSharingStopped", 5L, VideoScreenSharingStoppedReason::kFailed);
      return producer.OnScreenSharingStopped(5, VideoScreenSharingStoppedReason::kFailed);
    case 3:
      table.ExpectEvent("OnScreenSharingPaused", 5L, VideoScreenSharingPausedReason::kMinimised);
      return producer.OnScreenSharingPaused(5, VideoScreenSharingPausedReason::kMinimised);
    case 4:
      table.ExpectEvent("OnScreenSharingResumed", 5L, VideoScreenSharingResumedReason::kRestored);
      return producer.OnScreenSharingResumed(5, VideoScreenSharingResumedReason::kRestored);
    case 5:
      table.ExpectEvent("OnScreenSharingFirstFrame", 5L, 7LL);
      return producer.OnScreenSharingFirstFrame(5, 7);
    case 6:
      table.ExpectEvent("OnWindowCovered", 5L);
      return producer.OnWindowCovered(5);
    case 7:
      table.ExpectEvent("OnCapturerModeChange", 5L, CapturerMode::kDisplay, CapturerMode::kWindow);
      return producer.OnCapturerModeChange(5, CapturerMode::kDisplay, CapturerMode::kWindow);
    default:
      return producer.OnScreenSharingWindowSizeChanged(5, {1, 2});
  }
}

}  // namespace

void AddCaptureSteps(std::vector<Step>& steps) {
  steps.insert(steps.end(), {{"StartCamera", StartCamera},
                             {"StartDesktop", StartDesktop},
                             {"StartMobile", StartMobile},
                             {"StopCapture", StopCapture},
                             {"Pause", Pause},
                             {"Resume", Resume},
                             {"SetMode", SetMode},
                             {"SetCover", SetCover},
                             {"EnableCustomCapture", EnableCustomCapture},
                             {"SetCustomInput", SetCustomInput},
                             {"ChangeWindows", ChangeWindows},
                             {"ReportScreenEvent", ReportScreenEvent}});
}

}  // namespace movra::video::model
