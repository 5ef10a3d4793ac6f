#include "media/camera/camera_service_impl.h"

#include <algorithm>
#include <utility>

#include "core/dispatch_queue.h"
#include "core/notification_center.h"
#include "logging/log_message.h"
#include "logging/log_stream.h"
#include "media/camera/camera_error.h"

namespace movra::media {
namespace {

using movra_base::BindOnce;
using video::CameraDeviceState;
using video::CameraInfo;
using video::CameraParams;
using video::IPixelFrameTrackWriter;
using video::VideoDeviceInfo;

constexpr char kLogFile[] = "../media/camera/camera_service_impl";

// Longer than a program takes from looking at a file to playing it, and too short to miss the file
// being replaced by another one.
constexpr std::chrono::seconds kDescribedIsKept{2};

int MillisecondsSince(std::chrono::steady_clock::time_point start) {
  return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(
                              std::chrono::steady_clock::now() - start)
                              .count());
}

CaptureRequest Updated(CaptureRequest request, const CameraParams& params) {
  if (params.width.has_value()) request.size.width = params.width.value();
  if (params.height.has_value()) request.size.height = params.height.value();
  if (params.frame_rate.has_value()) request.frame_rate = params.frame_rate.value();
  return request;
}

void Publish(CameraDeviceState state, const VideoDeviceInfo& device) {
  core::NotificationCenter::GetInstance().Publish<const CameraDeviceState&, const VideoDeviceInfo&>(
      video::kCameraDeviceStateNotification, "", state, device);
}

}  // namespace

CameraServiceImpl::CameraServiceImpl(CameraServiceParts parts) : parts_(std::move(parts)) {}

CameraServiceImpl::~CameraServiceImpl() {
  for (Capture& capture : captures_) StopAndAnswer(capture);
}

std::shared_ptr<video::ICameraService> CameraServiceImpl::GetSelf() { return shared_from_this(); }

void CameraServiceImpl::Init() {
  devices_ = parts_.list_devices();
  watcher_ = std::make_unique<DirectoryWatcher>(
      parts_.device_directory, "video", [service = weak_from_this()] {
        core::GetMainQueue()->Post(BindOnce(&CameraServiceImpl::OnDevicesChanged, service));
      });
}

void CameraServiceImpl::StartCapture(int /*requester*/, const CameraParams& params,
                                     std::shared_ptr<IPixelFrameTrackWriter> writer,
                                     movra_base::OnceCallback<void(int, int)>&& on_started) {
  StopCaptureInto(writer.get());
  const std::uint64_t number = ++last_start_number_;
  const SteadyTime started_at = std::chrono::steady_clock::now();
  Capture& entry = captures_.emplace_back(
      Capture{number, params.camera_id, writer, started_at, std::move(on_started), nullptr});

  auto delivered = std::make_shared<std::atomic<std::uint32_t>>(0);
  delivered_[params.camera_id] = delivered;
  std::unique_ptr<CameraSource> source = TakeSource(params.camera_id);
  if (source == nullptr) {
    PostOpened(number, static_cast<int>(CameraError::kNoSuchCamera), started_at);
    return;
  }
  entry.capture =
      std::make_unique<CameraCapture>(std::move(source), std::move(writer), Updated({}, params),
                                      *parts_.clock, std::move(delivered));
  // The capture's thread is joined before the service ends, so it may use the service.
  entry.capture->Start([this, number, started_at](const CameraInfo& info) {
    PostOpened(number, info.error_code, started_at);
  });
}

void CameraServiceImpl::StopCapture(const CameraParams& /*params*/,
                                    std::shared_ptr<IPixelFrameTrackWriter> writer,
                                    movra_base::OnceCallback<void()>&& on_stopped) {
  StopCaptureInto(writer.get());
  core::GetMainQueue()->Post(std::move(on_stopped));
}

void CameraServiceImpl::UpdateCaptureParams(const CameraParams& params) {
  // A cover picture is the preprocessor's to show: the camera goes on behind it.
  for (const Capture& entry : captures_) {
    if (entry.camera_id != params.camera_id || entry.capture == nullptr) continue;
    entry.capture->SetRequest(Updated(entry.capture->request(), params));
  }
}

std::uint32_t CameraServiceImpl::GetCaptureStat(const CameraParams& params) {
  const auto found = delivered_.find(params.camera_id);
  return found == delivered_.end() ? 0 : found->second->load(std::memory_order_relaxed);
}

CameraInfo CameraServiceImpl::GetCameraInfo(const std::string& camera_id) {
  CameraInfo info;
  if (std::unique_ptr<CameraSource> source = MakeSource(camera_id)) {
    info = source->Describe();
    if (info.error_code != 0 || !info.is_file) return info;
    described_ = {described_.number + 1, camera_id, PlaybackOf(camera_id), std::move(source)};
    core::GetMainQueue()->PostDelayed(
        BindOnce(&CameraServiceImpl::ForgetDescribed, weak_from_this(), described_.number),
        kDescribedIsKept);
    return info;
  }
  info.error_code = static_cast<std::int32_t>(CameraError::kNoSuchCamera);
  info.error_text = "no camera is called '" + camera_id +
                    "': use test:, file:PATH or a device such as /dev/video0";
  return info;
}

void CameraServiceImpl::SetPlaybackParams(const std::string& camera_id,
                                          const video::PlaybackParams& params) {
  playback_[camera_id] = params;
}

// Every camera here keeps itself in focus or has none to keep: nothing is left to a finger.
bool CameraServiceImpl::IsAutoFocusEnabled() { return true; }

void CameraServiceImpl::FocusAtPoint(float /*x*/, float /*y*/) {
  if (std::exchange(focus_logged_, true)) return;
  if (movra_logging::ShouldCreateLogMessage(movra_logging::kLogLevelInfo)) {
    LogStream(kLogFile, __LINE__, __func__, movra_logging::kLogLevelInfo, nullptr)
        << "Cameras here cannot be focused at a point";
  }
}

video::PlaybackParams CameraServiceImpl::PlaybackOf(const std::string& camera_id) const {
  const auto playback = playback_.find(camera_id);
  return playback == playback_.end() ? video::PlaybackParams() : playback->second;
}

std::unique_ptr<CameraSource> CameraServiceImpl::MakeSource(const std::string& camera_id) const {
  return parts_.make_source(camera_id, PlaybackOf(camera_id));
}

std::unique_ptr<CameraSource> CameraServiceImpl::TakeSource(const std::string& camera_id) {
  const bool is_described =
      described_.camera_id == camera_id && described_.playback == PlaybackOf(camera_id);
  std::unique_ptr<CameraSource> described = std::move(described_.source);
  return described != nullptr && is_described ? std::move(described) : MakeSource(camera_id);
}

void CameraServiceImpl::ForgetDescribed(std::uint64_t number) {
  if (described_.number == number) described_.source.reset();
}

void CameraServiceImpl::PostOpened(std::uint64_t start_number, int error_code,
                                   SteadyTime started_at) {
  core::GetMainQueue()->Post(BindOnce(&CameraServiceImpl::OnOpened, weak_from_this(), start_number,
                                      error_code, MillisecondsSince(started_at)));
}

// A start that was stopped meanwhile is no longer listed; it has been answered.
void CameraServiceImpl::OnOpened(std::uint64_t start_number, int error_code, int elapsed_ms) {
  const auto entry = std::find_if(
      captures_.begin(), captures_.end(),
      [start_number](const Capture& capture) { return capture.start_number == start_number; });
  if (entry == captures_.end()) return;
  // Moved out first: the answer may stop the capture or start another one.
  auto on_started = std::move(entry->on_started);
  std::move(on_started).Run(error_code, elapsed_ms);
}

void CameraServiceImpl::StopCaptureInto(const IPixelFrameTrackWriter* writer) {
  captures_.remove_if([writer](Capture& entry) {
    if (entry.writer.get() != writer) return false;
    StopAndAnswer(entry);
    return true;
  });
}

void CameraServiceImpl::StopAndAnswer(Capture& capture) {
  if (capture.capture != nullptr) capture.capture->Stop();
  if (!capture.on_started) return;
  core::GetMainQueue()->Post(BindOnce(std::move(capture.on_started),
                                      static_cast<int>(CameraError::kCancelled),
                                      MillisecondsSince(capture.started_at)));
}

void CameraServiceImpl::OnDevicesChanged() {
  const std::vector<VideoDeviceInfo> before = std::exchange(devices_, parts_.list_devices());
  const std::vector<VideoDeviceInfo> now = devices_;  // A handler may change the member.
  const auto holds = [](const std::vector<VideoDeviceInfo>& list, const VideoDeviceInfo& device) {
    return std::any_of(list.begin(), list.end(), [&device](const VideoDeviceInfo& other) {
      return other.device_id == device.device_id;
    });
  };
  for (const VideoDeviceInfo& device : before) {
    if (!holds(now, device)) Publish(CameraDeviceState::kRemoved, device);
  }
  for (const VideoDeviceInfo& device : now) {
    if (!holds(before, device)) Publish(CameraDeviceState::kAdded, device);
  }
}

}  // namespace movra::media
