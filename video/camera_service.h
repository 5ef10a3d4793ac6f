#ifndef MOVRA_VIDEO_CAMERA_SERVICE_H_
#define MOVRA_VIDEO_CAMERA_SERVICE_H_

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/once_callback.h"
#include "core/notification_center.h"
#include "core/service_center.h"
#include "video/capture_params.h"
#include "video/pixel_frame_track.h"
#include "video/size.h"
#include "video/video_device_info.h"
#include "video/video_types.h"

namespace movra::video {

// Which cameras a list holds.
class CameraListInterface {
 public:
  enum class GetCameraListMode : std::int32_t { kAll = 0, kPhysical = 1 };
};

// What kind of stream a camera gives.
struct SourceTraits {
  bool has_end = false;        // It ends by itself, as a file does that is played once.
  bool keeps_time = false;     // Its frames come when the clock says; those of others as fast as
                               // they are taken, and none is lost.
  bool rate_is_fixed = false;  // Size and rate are what they are, whatever is asked of it.
  bool replayable = false;     // It can begin again from its first frame.

  friend bool operator==(const SourceTraits&, const SourceTraits&) = default;
};

// What is known of a camera before it runs.
struct CameraInfo {
  std::int32_t error_code = 0;      // A CameraError of the service; 0: the fields below hold.
  std::string error_text{};         // For people: what was wrong and what would be right.
  Size natural_size{};              // Upright and with square pixels.
  std::int32_t rate_numerator = 0;  // Frames per second as a fraction; 0: not known.
  std::int32_t rate_denominator = 1;
  std::chrono::nanoseconds duration{0};  // 0: without end, or not known.
  SourceTraits traits{};
  bool has_audio = false;
  bool is_interlaced = false;  // Each picture holds two half pictures of different times.
  bool has_alpha = false;      // Parts may be transparent; they are delivered over black.
  bool is_hdr = false;         // Brighter than displays show, which nothing here maps down.
};

// How far a capture came that ended without being stopped.
enum class CaptureEndKind : std::int32_t {
  kNotStarted = 0,  // The camera could not be opened; no stream began.
  kEnded = 1,       // It ended, or broke off; behind its last frame the end mark says the same.
  kLost = 2,  // A camera that has no end broke off. It falls silent: no end mark goes into the
              // streams, because the device may come back, or another camera take over.
};

// What the camera service tells of such an end.
struct CaptureEnd {
  std::string camera_id{};  // As it was asked for.
  CaptureEndKind kind = CaptureEndKind::kEnded;
  std::int32_t error_code = 0;       // A CameraError of the service, or a camera's own; 0: none.
  std::string text{};                // For people: what was wrong; empty at a natural end alone.
  std::uint64_t damaged_frames = 0;  // Frames that the camera could not deliver whole.
};

// All cameras of the process. Registered in core::ServiceCenter under kCameraServiceId and looked
// up for each use; made by the registry on the first look-up. Called on the main queue, and no
// operation waits there; each capture runs on a thread of its own. Callbacks run on the main queue.
class ICameraService {
 public:
  // The devices that are there, the one to choose first in front; empty when there is none.
  [[nodiscard]] static std::vector<VideoDeviceInfo> GetCameraDeviceList(
      CameraListInterface::GetCameraListMode mode);

  virtual ~ICameraService() = default;

  // For the registry: the service as a shared pointer, and what is called once before it is
  // registered.
  [[nodiscard]] virtual std::shared_ptr<ICameraService> GetSelf() = 0;
  virtual void Init() = 0;

  // Starts the camera into the writer. The callback gets an error code (0 for success) and the
  // milliseconds that the start took; a start that is stopped before its answer is answered with
  // a code that says cancelled, and one whose camera or writer an earlier capture does not let go
  // of within five seconds with one that says busy. `requester` tells kinds of users apart; a
  // producer passes 1.
  virtual void StartCapture(int requester, const CameraParams& params,
                            std::shared_ptr<IPixelFrameTrackWriter> writer,
                            movra_base::OnceCallback<void(int, int)>&& on_started) = 0;
  // Stops the capture into that writer, without waiting for the camera: when it returns no write
  // begins any more, while one in progress may end, and the callback is posted.
  virtual void StopCapture(const CameraParams& params,
                           std::shared_ptr<IPixelFrameTrackWriter> writer,
                           movra_base::OnceCallback<void()>&& on_stopped) = 0;
  // Applies the fields that are present to the running captures of the camera. It names a camera
  // and not a capture: while a camera has several, an update only ever raises what they ask for.
  virtual void UpdateCaptureParams(const CameraParams& params) = 0;
  // The number of frames that the camera delivered, to all of its captures together, since it
  // started: since the first start behind which it has never been without a capture.
  [[nodiscard]] virtual std::uint32_t GetCaptureStat(const CameraParams& params) = 0;

  // For the program rather than the producer: what the camera is. A description may take as long as
  // a disk, a device or the other end of a pipe needs, so it is made on a thread of its own; the
  // callback gets it, or why there is none.
  virtual void DescribeCamera(const std::string& camera_id,
                              movra_base::OnceCallback<void(CameraInfo)>&& on_info) = 0;
  // Was how a file is played, which its id says now. Nobody calls it; it keeps the slots behind it.
  virtual void ReservedForPlayback() {}

  [[nodiscard]] virtual bool IsAutoFocusEnabled() = 0;
  virtual void FocusAtPoint(float x, float y) = 0;
};

inline constexpr core::ServiceId kCameraServiceId{9};

// Notifications that the camera service publishes on the main queue, with an empty event name:
// (const CameraDeviceState&, const VideoDeviceInfo&) and (const std::string& device_id, bool).
inline constexpr core::NotificationId kCameraDeviceStateNotification{3};
inline constexpr core::NotificationId kCameraAutoFocusNotification{44};

// Published likewise: (const CaptureEnd&), once for each capture that ended without being stopped,
// or could not begin. The capture counts as started until it is stopped. Of one that could not
// begin the notification comes right before its start is answered with the same code, so the answer
// finds the text told. Of one that ended it comes before the last frames have gone through the
// encoders, which the end mark tells.
inline constexpr core::NotificationId kCaptureEndedNotification{1001};

}  // namespace movra::video

namespace core {

// Defined by the collaborators that a binary links; null if it has no camera service.
template <>
std::shared_ptr<void> ServiceCenter::MakeService<movra::video::ICameraService>();

}  // namespace core

#endif  // MOVRA_VIDEO_CAMERA_SERVICE_H_
