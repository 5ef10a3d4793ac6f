#include "testing/camera_service_double.h"

#include <algorithm>
#include <utility>

#include "testing/world.h"

namespace movra::testing {
namespace {

template <class Callback>
Callback TakeOldest(std::vector<Callback>& callbacks) {
  if (callbacks.empty()) throw std::logic_error("no callback waits for an answer");
  Callback oldest = std::move(callbacks.front());
  callbacks.erase(callbacks.begin());
  return oldest;
}

}  // namespace

CameraServiceDouble::CameraServiceDouble(std::string name, std::shared_ptr<Journal> journal)
    : Double(std::move(name), std::move(journal)) {}

void CameraServiceDouble::AnswerStart(int error, int elapsed_ms) {
  TakeOldest(starts_).Run(error, elapsed_ms);
}

void CameraServiceDouble::AnswerStop() { TakeOldest(stops_).Run(); }

// The callbacks may own what calls back into this service, so they go when nothing points at them.
void CameraServiceDouble::DropCallbacks() {
  const std::vector<StartedCallback> starts = std::exchange(starts_, {});
  const std::vector<StoppedCallback> stops = std::exchange(stops_, {});
}

std::shared_ptr<video::ICameraService> CameraServiceDouble::GetSelf() {
  CalledAs(Journal::kLookup, "GetSelf");
  return shared_from_this();
}

void CameraServiceDouble::Init() { CalledAs(Journal::kLookup, "Init"); }

void CameraServiceDouble::StartCapture(int requester, const video::CameraParams& params,
                                       std::shared_ptr<video::IPixelFrameTrackWriter> writer,
                                       StartedCallback&& on_started) {
  StartedCallback callback = std::move(on_started);
  Called("StartCapture", requester, params, writer, callback);
  captures_.push_back({requester, params, std::move(writer)});
  if (!callback) return;
  if (start_policy == CallbackPolicy::kKeep) {
    starts_.push_back(std::move(callback));
  } else if (start_policy == CallbackPolicy::kRun) {
    std::move(callback).Run(start_error, start_ms);
  }
}

void CameraServiceDouble::StopCapture(const video::CameraParams& params,
                                      std::shared_ptr<video::IPixelFrameTrackWriter> writer,
                                      StoppedCallback&& on_stopped) {
  StoppedCallback callback = std::move(on_stopped);
  Called("StopCapture", params, writer, callback);
  std::erase_if(captures_, [&](const Capture& capture) { return capture.writer == writer; });
  if (!callback) return;
  if (stop_policy == CallbackPolicy::kKeep) {
    stops_.push_back(std::move(callback));
  } else if (stop_policy == CallbackPolicy::kRun) {
    std::move(callback).Run();
  }
}

void CameraServiceDouble::UpdateCaptureParams(const video::CameraParams& params) {
  Called("UpdateCaptureParams", params);
  updated_params_ = params;
}

std::uint32_t CameraServiceDouble::GetCaptureStat(const video::CameraParams& params) {
  Called("GetCaptureStat", params);
  return stat;
}

// The producer never asks; a callback is owned from here on and dropped.
void CameraServiceDouble::DescribeCamera(const std::string& camera_id, InfoCallback&& on_info) {
  const InfoCallback dropped = std::move(on_info);
  Called("DescribeCamera", camera_id);
}

bool CameraServiceDouble::IsAutoFocusEnabled() {
  Called("IsAutoFocusEnabled");
  return World::Current().answers.is_auto_focus_enabled;
}

void CameraServiceDouble::FocusAtPoint(float x, float y) { Called("FocusAtPoint", x, y); }

}  // namespace movra::testing

namespace movra::video {

std::vector<VideoDeviceInfo> ICameraService::GetCameraDeviceList(
    CameraListInterface::GetCameraListMode mode) {
  testing::World& world = testing::World::Current();
  world.journal()->Call("ICameraService", "GetCameraDeviceList", mode);
  return world.answers.cameras;
}

}  // namespace movra::video

namespace core {

template <>
std::shared_ptr<void> ServiceCenter::MakeService<movra::video::ICameraService>() {
  movra::testing::World& world = movra::testing::World::Current();
  world.journal()->Add(movra::testing::Journal::kLookup, "MakeService<ICameraService>()");
  if (!world.answers.makes_camera_service) return nullptr;
  auto made = std::make_shared<movra::testing::CameraServiceDouble>(
      world.UniqueName("camera_service"), world.journal());
  world.camera_services.Add(made);
  return std::shared_ptr<movra::video::ICameraService>(std::move(made));
}

}  // namespace core
