#ifndef MOVRA_MEDIA_CAMERA_CAMERA_SERVICE_IMPL_H_
#define MOVRA_MEDIA_CAMERA_CAMERA_SERVICE_IMPL_H_

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "media/camera/directory_watcher.h"
#include "media/capture/capture_clock.h"
#include "media/capture/frame_source.h"
#include "media/capture/source_capture.h"
#include "media/capture/source_slot.h"
#include "media/main_queue/main_queue_checker.h"
#include "video/camera_service.h"

namespace movra::media {

// What a camera service is made of; tests put in parts of their own.
struct CameraServiceParts {
  // Called on threads of the service's own, several at a time. It belongs to them too: what it uses
  // has to live for as long as it does itself, which may be longer than the service.
  FrameSourceFactory make_source{};
  // The devices that come and go.
  std::function<std::vector<video::VideoDeviceInfo>()> list_devices{};
  // Where an entry that begins with "video" comes or goes when `list_devices` may answer otherwise.
  std::string device_directory{};
  std::shared_ptr<const CaptureClock> clock = std::make_shared<const CaptureClock>();
};

// The camera service of this process.
//
// Which ids there are is its maker's to know (media/sources/source_kinds.h). Error codes are
// CameraError values. Several captures may run at once, also of one camera if it allows that; a
// capture is named by its writer.
//
// Main queue only. Callbacks are posted there and never run inside the call that takes them. No
// operation opens or reads anything, nor waits for a thread that does: each capture has a thread of
// its own, which may outlive its stop and the service for as long as its source keeps it. A start
// that comes too early for the camera or the writer of such a thread waits for it on its own thread
// (media/capture/source_capture.h).
class CameraServiceImpl final : public video::ICameraService,
                                public std::enable_shared_from_this<CameraServiceImpl> {
 public:
  explicit CameraServiceImpl(CameraServiceParts parts);
  // Stops what still runs; starts and descriptions without an answer are answered as cancelled.
  ~CameraServiceImpl() override;

  // ICameraService
  [[nodiscard]] std::shared_ptr<video::ICameraService> GetSelf() override;
  void Init() override;
  void StartCapture(int requester, const video::CameraParams& params,
                    std::shared_ptr<video::IPixelFrameTrackWriter> writer,
                    movra_base::OnceCallback<void(int, int)>&& on_started) override;
  void StopCapture(const video::CameraParams& params,
                   std::shared_ptr<video::IPixelFrameTrackWriter> writer,
                   movra_base::OnceCallback<void()>&& on_stopped) override;
  void UpdateCaptureParams(const video::CameraParams& params) override;
  [[nodiscard]] std::uint32_t GetCaptureStat(const video::CameraParams& params) override;
  void DescribeCamera(const std::string& camera_id,
                      movra_base::OnceCallback<void(video::CameraInfo)>&& on_info) override;
  [[nodiscard]] bool IsAutoFocusEnabled() override;
  void FocusAtPoint(float x, float y) override;

 private:
  using SteadyTime = std::chrono::steady_clock::time_point;

  struct Capture {
    std::uint64_t start_number;  // Tells this start from an earlier one into the same writer.
    std::string camera_id;
    std::shared_ptr<video::IPixelFrameTrackWriter> writer;
    SteadyTime started_at;
    movra_base::OnceCallback<void(int, int)> on_started;  // Empty once it is answered.
    std::shared_ptr<SourceCapture> capture;
  };

  // A capture that was stopped and may still be busy; null once nothing is left of it.
  struct Leftover {
    std::string camera_id;
    const video::IPixelFrameTrackWriter* writer;
    std::weak_ptr<SourceCapture> capture;
  };

  // A camera that is being looked at.
  struct Description {
    std::uint64_t number;
    std::string camera_id;
    std::shared_ptr<SourceSlot> source;
    movra_base::OnceCallback<void(video::CameraInfo)> on_info;
  };

  // A file that was looked at. Whoever asks what it is mostly plays it next, and opening it may
  // take as long as all that comes before its first frame, so it stays open for that, for a short
  // while.
  struct Described {
    std::uint64_t number = 0;
    std::string camera_id;
    std::unique_ptr<FrameSource> source;  // Null if there is none.
  };

  void OnDescribed(std::uint64_t number, video::CameraInfo info,
                   std::unique_ptr<FrameSource> source);
  void ForgetDescribed(std::uint64_t number);
  // Makes the source on the capture's thread, or hands over the one that was described.
  [[nodiscard]] SourceCapture::MakeSource SourceMaker(const std::string& camera_id);
  [[nodiscard]] std::shared_ptr<std::atomic<std::uint32_t>> CounterOf(const std::string& camera_id);
  [[nodiscard]] std::ptrdiff_t CapturesOf(const std::string& camera_id) const;
  void WaitForLeftovers(const Capture& entry);
  [[nodiscard]] std::list<Capture>::iterator Find(std::uint64_t start_number);
  void OnOpened(std::uint64_t start_number, int error_code, std::string error_text, int elapsed_ms);
  void OnEnded(std::uint64_t start_number, video::CaptureEnd end);
  void StopCaptureInto(const video::IPixelFrameTrackWriter* writer);
  void StopAndAnswer(Capture& entry);
  void OnDevicesChanged();

  const CameraServiceParts parts_;
  MainQueueChecker checker_{"the camera service"};

  // The main queue's.
  std::list<Capture> captures_;
  std::list<Leftover> leftovers_;
  std::list<Description> descriptions_;
  std::uint64_t last_number_ = 0;  // Of a start or a description.
  std::map<std::string, std::shared_ptr<std::atomic<std::uint32_t>>> delivered_;
  std::vector<video::VideoDeviceInfo> devices_;  // As they were last listed.
  std::unique_ptr<DirectoryWatcher> watcher_;
  Described described_;
  bool focus_logged_ = false;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAMERA_CAMERA_SERVICE_IMPL_H_
