#ifndef MOVRA_MEDIA_CAPTURE_SOURCE_CAPTURE_H_
#define MOVRA_MEDIA_CAPTURE_SOURCE_CAPTURE_H_

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "base/once_callback.h"
#include "media/capture/capture_clock.h"
#include "media/capture/frame_source.h"
#include "media/capture/release.h"
#include "media/capture/source_slot.h"
#include "media/capture/writer_gate.h"
#include "media/encode/frame_rate_dropper.h"
#include "media/frame/frame_pool.h"
#include "video/pixel_frame_track.h"

namespace movra::media {

// One running capture: a thread that makes a source, opens it, reads it and writes its frames.
//
// The thread drops frames to the asked rate, fits them to the asked size, holds paced ones back
// until their time has come, and waits for the writer's room with lossless ones. Behind the last
// frame it writes the end mark of a source that has an end. A live source that breaks off falls
// silent instead, because another one may follow it into the same streams. A source that cannot be
// opened writes nothing at all: no stream began, and the answer of the start says why. Whatever
// fails before it is stopped is told in one warning line. Each frame that was read is either
// written or counted by the writer's track with the reason (media/figures/frame_counts.h).
//
// Nobody waits for the thread, because a source may be busy with a device or a disk for longer than
// anybody has time: it owns a share of the capture and with it everything that it uses, and the
// source goes on that thread too. Who needs what a stopped capture still has is told when it lets
// go of it.
//
// Always in a shared pointer. WaitFor..., Start and Stop belong to one thread; the other operations
// to any.
class SourceCapture final : public std::enable_shared_from_this<SourceCapture> {
 public:
  // Null when no kind of camera has the id.
  using MakeSource = movra_base::OnceCallback<std::unique_ptr<FrameSource>()>;
  // Which camera it is, and how its source is made, on the capture's thread.
  struct Camera {
    std::string id;
    MakeSource make;
  };
  // Called on the capture's thread when the source is open or cannot be; not after Stop, but for a
  // call in progress.
  using OpenedCallback = std::function<void(const video::CameraInfo&)>;

  // Called on the capture's thread when an open source came to its end, before the end mark is
  // written where there is one; not after Stop, but for a call in progress.
  using EndedCallback = std::function<void(const video::CaptureEnd&)>;

  // How long a capture waits for earlier ones before it gives up.
  static constexpr std::chrono::seconds kLongestTurn{5};

  // `delivered` counts the frames that the writer took.
  SourceCapture(Camera camera, std::shared_ptr<video::IPixelFrameTrackWriter> writer,
                const CaptureRequest& request, std::shared_ptr<const CaptureClock> clock,
                std::shared_ptr<std::atomic<std::uint32_t>> delivered);

  // Before Start, any number of times: the source is not made before that has been let go of, and
  // the start is answered with kBusy where that takes longer than kLongestTurn in all.
  void WaitFor(Release& earlier);

  // Once. False, and nothing will happen, when there is no thread to be had.
  [[nodiscard]] bool Start(OpenedCallback on_opened, EndedCallback on_ended = {});

  // When this returns no write begins any more; one in progress may end. Interrupts whatever the
  // thread waits for, and waits for nothing itself.
  void Stop();

  // Done when the thread has nothing to do with its camera any more.
  [[nodiscard]] Release& camera_let_go() { return camera_let_go_; }
  // Done when the writer may be used by others: after Stop, and a write in progress.
  [[nodiscard]] Release& writer_let_go() { return gate_.let_go(); }

  // Takes effect with the next frame that is read.
  void SetRequest(const CaptureRequest& request);
  [[nodiscard]] CaptureRequest request() const;

 private:
  void Run(const OpenedCallback& on_opened, const EndedCallback& on_ended);
  [[nodiscard]] video::CameraInfo Open();
  // These answer with the end that the source came to, if it did.
  std::optional<video::StreamEnd> Play();
  std::optional<video::StreamEnd> ReadUntilTheEnd();
  [[nodiscard]] SourceItem Read(const CaptureRequest& asked);
  void End(const video::StreamEnd& end, bool is_lost, const EndedCallback& on_ended);
  // Says once why it failed: what threw has been told already.
  void Warn(std::string_view what, const std::string& text) const;
  [[nodiscard]] std::string Name() const { return "The camera " + camera_.id; }
  [[nodiscard]] bool IsStopping() const;
  // These answer whether to go on.
  bool WaitForEarlierOnes();
  bool Deliver(video::PixelFrame frame);
  bool WaitForTurn(std::chrono::nanoseconds timestamp);
  bool WaitForRoom();

  const std::shared_ptr<const CaptureClock> clock_;
  const std::shared_ptr<std::atomic<std::uint32_t>> delivered_;
  WriterGate gate_;
  SourceSlot source_;
  Release camera_let_go_;

  mutable std::mutex mutex_;
  std::condition_variable wake_;
  CaptureRequest request_;  // Guarded by mutex_, like the three below.
  int earlier_ones_ = 0;    // That have not let go yet.
  bool stopping_ = false;
  bool room_made_ = false;

  // The capture thread's own.
  Camera camera_;
  bool has_thrown_ = false;
  SourcePolicy policy_;
  const std::uint64_t source_run_;
  FrameRateDropper rate_;
  FramePool pool_;
  std::uint64_t dropped_to_rate_ = 0;
  bool pacing_ = false;  // Whether pace_origin_ is set.
  CaptureClock::TimePoint pace_origin_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_SOURCE_CAPTURE_H_
