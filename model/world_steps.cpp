// What happens around the producer: services and factories that fail, clients that die, devices
// that come and go, callbacks that are answered late.

#include "core/notification_center.h"
#include "model/play_table.h"
#include "testing/describe.h"

namespace movra::video::model {
namespace {

testing::Answers& AnswersOf(Table& table) { return table.environment.world().answers; }

void LoseOrMakeCameraService(Table& table) {
  if (table.model.has_camera_service()) {
    table.environment.LoseCameraService();
    table.model.LoseCameraService();
  } else {
    AnswersOf(table).makes_camera_service = true;
    table.environment.MakeCameraService();
    table.model.MakeCameraService();
  }
}

void SwitchRendererFactory(Table& table) {
  AnswersOf(table).makes_renderer = !AnswersOf(table).makes_renderer;
}

void SwitchEncoderFactory(Table& table) {
  AnswersOf(table).makes_encoder = !AnswersOf(table).makes_encoder;
}

void SwitchTrackFactory(Table& table) {
  AnswersOf(table).makes_track = !AnswersOf(table).makes_track;
}

void ChangeInputFormat(Table& table) {
  const PixelFormat kFormats[] = {PixelFormat::kI420, PixelFormat::kNV12, PixelFormat::kNone};
  AnswersOf(table).encoder_input_format.pixel_format = table.choices.One(kFormats);
}

void SwitchAutoFocus(Table& table) {
  AnswersOf(table).is_auto_focus_enabled = !AnswersOf(table).is_auto_focus_enabled;
}

void ChangeClient(Table& table) {
  switch (table.choices.Index(3)) {
    case 0:
      table.client.reset();  // Dies without being replaced.
      return;
    case 1:
      table.client.reset();
      return table.producer->SetClient(nullptr);
    default:
      table.client = table.environment.Make<testing::ClientDouble>("client");
      return table.producer->SetClient(table.client);
  }
}

void ChangeDevices(Table& table) {
  auto& cameras = AnswersOf(table).cameras;
  cameras.clear();
  const std::size_t count = table.choices.Index(3);
  for (std::size_t i = 1; i <= count; ++i)
    cameras.push_back({"cam-" + std::to_string(i), "", "", 0});
  const auto state = static_cast<CameraDeviceState>(table.choices.Index(5));
  const VideoDeviceInfo device{table.choices.Bool() ? "cam-1" : "cam-2", "", "", 0};
  table.model.DeviceChanged(state, device.device_id);
  core::NotificationCenter::GetInstance().Publish<const CameraDeviceState&, const VideoDeviceInfo&>(
      kCameraDeviceStateNotification, "", state, device);
}

void ChangeAutoFocus(Table& table) {
  const bool enabled = table.choices.Bool();
  table.model.AutoFocusChanged(enabled);
  core::NotificationCenter::GetInstance().Publish<const std::string&, bool>(
      kCameraAutoFocusNotification, "", "cam-1", enabled);
}

void AnswerCameraCallbacks(Table& table) {
  if (table.model.waiting_callbacks() == 0) return;
  testing::CameraServiceDouble& camera = table.environment.world().camera_services.Last();
  if (table.choices.Bool()) {
    camera.DropCallbacks();
  } else {
    while (camera.waiting_starts() > 0) camera.AnswerStart(1, 2);
    while (camera.waiting_stops() > 0) camera.AnswerStop();
  }
  table.model.CameraCallbacksAnswered();
}

void Initialize(Table& table) {
  table.model.Initialize();
  table.producer->Initialize();
}

void ReadStats(Table& table) {
  static_cast<void>(table.producer->GetStats(static_cast<VideoStreamType>(table.choices.Index(3))));
}

}  // namespace

void AddWorldSteps(std::vector<Step>& steps) {
  steps.insert(steps.end(), {{"LoseOrMakeCameraService", LoseOrMakeCameraService},
                             {"SwitchRendererFactory", SwitchRendererFactory},
                             {"SwitchEncoderFactory", SwitchEncoderFactory},
                             {"SwitchTrackFactory", SwitchTrackFactory},
                             {"ChangeInputFormat", ChangeInputFormat},
                             {"SwitchAutoFocus", SwitchAutoFocus},
                             {"ChangeClient", ChangeClient},
                             {"ChangeDevices", ChangeDevices},
                             {"ChangeAutoFocus", ChangeAutoFocus},
                             {"AnswerCameraCallbacks", AnswerCameraCallbacks},
                             {"Initialize", Initialize},
                             {"ReadStats", ReadStats}});
}

}  // namespace movra::video::model
