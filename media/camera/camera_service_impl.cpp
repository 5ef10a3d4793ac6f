#include "media/camera/camera_service_impl.h"

#include <algorithm>
#include <utility>

#include "base/once_callback.h"
#include "core/dispatch_queue.h"
#include "core/notification_center.h"
#include "logging/log_message.h"
#include "logging/log_stream.h"
#include "media/capture/call_source.h"
#include "media/capture/camera_error.h"
#include "media/capture/camera_failure.h"
#include "media/capture/capture_request.h"
#include "media/capture/detached_thread.h"
#include "media/main_queue/weak_main_queue.h"

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

CameraInfo NoThread() {
  return CameraFailure(CameraError::kNoResources, "the system has no thread left for a camera");
}

CameraInfo Describe(FrameSource* source, const std::string& camera_id) {
  if (source != nullptr) return source->Describe();
  return CameraFailure(CameraError::kNoSuchCamera, "no camera is called '" + camera_id + "'");
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

void Publish(const video::CaptureEnd& end) {
  core::NotificationCenter::GetInstance().Publish<const video::CaptureEnd&>(
      video::kCaptureEndedNotification, "", end);
}

}  // namespace

CameraServiceImpl::CameraServiceImpl(CameraServiceParts parts) : parts_(std::move(parts)) {}

CameraServiceImpl::~CameraServiceImpl() {
  for (Capture& entry : captures_) StopAndAnswer(entry);
  for (Description& description : descriptions_) {
    description.source->Interrupt();
    core::GetMainQueue()->Post(
        BindOnce(std::move(description.on_info), CameraFailure(CameraError::kCancelled)));
  }
}

std::shared_ptr<video::ICameraService> CameraServiceImpl::GetSelf() { return shared_from_this(); }

void CameraServiceImpl::Init() {
  checker_.Check();
  devices_ = parts_.list_devices();
  watcher_ = std::make_unique<DirectoryWatcher>(
      parts_.device_directory, "video", [service = weak_from_this()] {
        core::GetMainQueue()->Post(BindOnce(&CameraServiceImpl::OnDevicesChanged, service));
      });
}

void CameraServiceImpl::StartCapture(int /*requester*/, const CameraParams& params,
                                     std::shared_ptr<IPixelFrameTrackWriter> writer,
                                     movra_base::OnceCallback<void(int, int)>&& on_started) {
  checker_.Check();
  StopCaptureInto(writer.get());
  const std::uint64_t number = ++last_number_;
  const SteadyTime started_at = std::chrono::steady_clock::now();
  auto counter = CounterOf(params.camera_id);
  auto capture = std::make_shared<SourceCapture>(
      SourceCapture::Camera{params.camera_id, SourceMaker(params.camera_id)}, writer,
      Updated({}, params), parts_.clock, std::move(counter));
  const Capture& entry =
      captures_.emplace_back(Capture{number, params.camera_id, std::move(writer), started_at,
                                     std::move(on_started), std::move(capture)});
  WaitForLeftovers(entry);
  const WeakMainQueue main_queue;
  const auto answer = [service = weak_from_this(), main_queue, number,
                       started_at](const CameraInfo& info) {
    main_queue.Post(BindOnce(&CameraServiceImpl::OnOpened, service, number, info.error_code,
                             info.error_text, MillisecondsSince(started_at)));
  };
  const auto tell = [service = weak_from_this(), main_queue, number](const video::CaptureEnd& end) {
    main_queue.Post(BindOnce(&CameraServiceImpl::OnEnded, service, number, end));
  };
  if (entry.capture->Start(answer, tell)) return;
  const CameraInfo failure = NoThread();
  WarnOfCamera(params.camera_id, "cannot be started", failure.error_text);
  answer(failure);
}

void CameraServiceImpl::StopCapture(const CameraParams& /*params*/,
                                    std::shared_ptr<IPixelFrameTrackWriter> writer,
                                    movra_base::OnceCallback<void()>&& on_stopped) {
  checker_.Check();
  StopCaptureInto(writer.get());
  core::GetMainQueue()->Post(std::move(on_stopped));
}

void CameraServiceImpl::UpdateCaptureParams(const CameraParams& params) {
  checker_.Check();
  // A cover picture is the preprocessor's to show: the camera goes on behind it.
  const bool is_shared = CapturesOf(params.camera_id) > 1;
  for (const Capture& entry : captures_) {
    if (entry.camera_id != params.camera_id) continue;
    const CaptureRequest present = entry.capture->request();
    const CaptureRequest updated = Updated(present, params);
    // Which of several captures is meant is not said, so none may lose by it.
    entry.capture->SetRequest(is_shared ? Covering(present, updated) : updated);
  }
}

std::uint32_t CameraServiceImpl::GetCaptureStat(const CameraParams& params) {
  checker_.Check();
  const auto found = delivered_.find(params.camera_id);
  return found == delivered_.end() ? 0 : found->second->load(std::memory_order_relaxed);
}

void CameraServiceImpl::DescribeCamera(
    const std::string& camera_id, movra_base::OnceCallback<void(video::CameraInfo)>&& on_info) {
  checker_.Check();
  const std::uint64_t number = ++last_number_;
  const auto source = std::make_shared<SourceSlot>();
  descriptions_.push_back({number, camera_id, source, std::move(on_info)});
  const auto answer = [service = weak_from_this(), main_queue = WeakMainQueue(), number](
                          CameraInfo info, std::unique_ptr<FrameSource> described) {
    main_queue.Post(BindOnce(&CameraServiceImpl::OnDescribed, service, number, std::move(info),
                             std::move(described)));
  };
  const bool started = StartDetachedThread(
      "describe", BindOnce([make = parts_.make_source, camera_id, source, answer] {
        CameraInfo info;
        const auto describe = [&] {
          source->Put(make(camera_id));
          info = Describe(source->get(), camera_id);
        };
        const auto threw =
            CallSource("The camera " + camera_id, CameraError::kCannotOpen, describe);
        if (threw) info = CameraFailure(threw->code, threw->text);
        answer(std::move(info), source->Take());
      }));
  if (!started) answer(NoThread(), nullptr);
}

// Every camera here keeps itself in focus or has none to keep: nothing is left to a finger.
bool CameraServiceImpl::IsAutoFocusEnabled() {
  checker_.Check();
  return true;
}

void CameraServiceImpl::FocusAtPoint(float /*x*/, float /*y*/) {
  checker_.Check();
  if (std::exchange(focus_logged_, true)) return;
  if (movra_logging::ShouldCreateLogMessage(movra_logging::kLogLevelInfo)) {
    LogStream(kLogFile, __LINE__, __func__, movra_logging::kLogLevelInfo, nullptr)
        << "Cameras here cannot be focused at a point";
  }
}

// One that was asked for by a service that has ended meanwhile has been answered.
void CameraServiceImpl::OnDescribed(std::uint64_t number, CameraInfo info,
                                    std::unique_ptr<FrameSource> source) {
  const auto found = std::find_if(
      descriptions_.begin(), descriptions_.end(),
      [number](const Description& description) { return description.number == number; });
  if (found == descriptions_.end()) return;
  Description description = std::move(*found);
  descriptions_.erase(found);
  const bool is_played = info.traits.has_end || info.traits.replayable;
  if (info.error_code == 0 && is_played) {
    described_ = {number, std::move(description.camera_id), std::move(source)};
    core::GetMainQueue()->PostDelayed(
        BindOnce(&CameraServiceImpl::ForgetDescribed, weak_from_this(), number), kDescribedIsKept);
  }
  std::move(description.on_info).Run(std::move(info));
}

void CameraServiceImpl::ForgetDescribed(std::uint64_t number) {
  if (described_.number == number) described_.source.reset();
}

SourceCapture::MakeSource CameraServiceImpl::SourceMaker(const std::string& camera_id) {
  const bool is_described = described_.camera_id == camera_id;
  std::unique_ptr<FrameSource> described = std::move(described_.source);
  if (!is_described) described.reset();
  return BindOnce(
      [make = parts_.make_source, camera_id, described = std::move(described)]() mutable {
        return described != nullptr ? std::move(described) : make(camera_id);
      });
}

// A camera counts from where it starts; captures that join it while it runs count on.
std::shared_ptr<std::atomic<std::uint32_t>> CameraServiceImpl::CounterOf(
    const std::string& camera_id) {
  auto& counter = delivered_[camera_id];
  if (counter == nullptr || CapturesOf(camera_id) == 0) {
    counter = std::make_shared<std::atomic<std::uint32_t>>(0);
  }
  return counter;
}

std::ptrdiff_t CameraServiceImpl::CapturesOf(const std::string& camera_id) const {
  return std::count_if(captures_.begin(), captures_.end(),
                       [&camera_id](const Capture& entry) { return entry.camera_id == camera_id; });
}

void CameraServiceImpl::WaitForLeftovers(const Capture& entry) {
  leftovers_.remove_if([](const Leftover& leftover) { return leftover.capture.expired(); });
  for (const Leftover& leftover : leftovers_) {
    const auto earlier = leftover.capture.lock();
    if (earlier == nullptr) continue;
    if (leftover.camera_id == entry.camera_id) entry.capture->WaitFor(earlier->camera_let_go());
    if (leftover.writer == entry.writer.get()) entry.capture->WaitFor(earlier->writer_let_go());
  }
}

std::list<CameraServiceImpl::Capture>::iterator CameraServiceImpl::Find(
    std::uint64_t start_number) {
  return std::find_if(captures_.begin(), captures_.end(), [start_number](const Capture& capture) {
    return capture.start_number == start_number;
  });
}

// A start that was stopped meanwhile is no longer listed; it has been answered.
void CameraServiceImpl::OnOpened(std::uint64_t start_number, int error_code, std::string error_text,
                                 int elapsed_ms) {
  const auto entry = Find(start_number);
  if (entry == captures_.end()) return;
  // Moved out first: a handler and the answer may stop the capture or start another one.
  auto on_started = std::move(entry->on_started);
  if (error_code != 0) {
    Publish({.camera_id = entry->camera_id,
             .kind = video::CaptureEndKind::kNotStarted,
             .error_code = error_code,
             .text = std::move(error_text)});
  }
  std::move(on_started).Run(error_code, elapsed_ms);
}

void CameraServiceImpl::OnEnded(std::uint64_t start_number, video::CaptureEnd end) {
  if (Find(start_number) != captures_.end()) Publish(end);
}

void CameraServiceImpl::StopCaptureInto(const IPixelFrameTrackWriter* writer) {
  captures_.remove_if([this, writer](Capture& entry) {
    if (entry.writer.get() != writer) return false;
    StopAndAnswer(entry);
    return true;
  });
}

void CameraServiceImpl::StopAndAnswer(Capture& entry) {
  entry.capture->Stop();
  leftovers_.push_back({std::move(entry.camera_id), entry.writer.get(), entry.capture});
  if (!entry.on_started) return;
  core::GetMainQueue()->Post(BindOnce(std::move(entry.on_started),
                                      static_cast<int>(CameraError::kCancelled),
                                      MillisecondsSince(entry.started_at)));
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
