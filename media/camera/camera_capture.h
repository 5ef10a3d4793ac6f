#ifndef MOVRA_MEDIA_CAMERA_CAMERA_CAPTURE_H_
#define MOVRA_MEDIA_CAMERA_CAMERA_CAPTURE_H_

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "media/camera/camera_source.h"
#include "media/camera/capture_clock.h"
#include "media/encode/frame_rate_dropper.h"
#include "media/frame/frame_pool.h"
#include "video/pixel_frame_track.h"

namespace movra::media {

// One running capture: a thread that opens a source, reads it and writes its frames.
//
// The thread drops frames to the asked rate, fits them to the asked size, holds paced ones back
// until their time has come, and waits for the writer's room with lossless ones. Behind the last
// frame it writes the end mark. A source that cannot be opened writes nothing at all: no stream
// began, and the answer of the start says why.
//
// Start and Stop belong to one thread; the other operations to any.
class CameraCapture {
 public:
  // Called on the capture's thread when the source is open or cannot be.
  using OpenedCallback = std::function<void(const video::CameraInfo&)>;

  // The clock outlives the capture. `delivered` counts the frames that the writer took.
  CameraCapture(std::unique_ptr<CameraSource> source,
                std::shared_ptr<video::IPixelFrameTrackWriter> writer,
                const CaptureRequest& request, const CaptureClock& clock,
                std::shared_ptr<std::atomic<std::uint32_t>> delivered);
  ~CameraCapture();
  CameraCapture(const CameraCapture&) = delete;
  CameraCapture& operator=(const CameraCapture&) = delete;

  void Start(OpenedCallback on_opened);

  // Ends the thread and joins it: nothing is written any more when this returns. It interrupts
  // whatever the thread waits for; only a decoding step or a write in progress is waited for.
  void Stop();

  // Takes effect with the next frame that is read.
  void SetRequest(const CaptureRequest& request);
  [[nodiscard]] CaptureRequest request() const;

 private:
  void Run(const OpenedCallback& on_opened);
  void ReadUntilTheEnd();
  [[nodiscard]] bool IsStopping() const;
  // These answer whether to go on.
  bool Deliver(video::PixelFrame frame);
  bool WaitForTurn(std::chrono::nanoseconds timestamp);
  bool WaitForRoom();

  const std::unique_ptr<CameraSource> source_;
  const std::shared_ptr<video::IPixelFrameTrackWriter> writer_;
  const CaptureClock& clock_;
  const std::shared_ptr<std::atomic<std::uint32_t>> delivered_;

  mutable std::mutex mutex_;
  std::condition_variable wake_;
  CaptureRequest request_;  // Guarded by mutex_, like the two below.
  bool stopping_ = false;
  bool room_made_ = false;

  // The capture thread's own.
  SourcePolicy policy_;
  FrameRateDropper rate_;
  FramePool pool_;
  std::uint64_t dropped_to_rate_ = 0;
  bool pacing_ = false;  // Whether pace_origin_ is set.
  CaptureClock::TimePoint pace_origin_;

  std::thread thread_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAMERA_CAMERA_CAPTURE_H_
