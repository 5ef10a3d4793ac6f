#include "media/camera/camera_capture.h"

#include <pthread.h>

#include <optional>
#include <utility>
#include <variant>

#include "media/camera/fit_frame.h"

namespace movra::media {

using video::CameraInfo;
using video::FrameDelivery;
using video::PixelFrame;
using video::PixelFrameInfo;
using video::StreamEnd;
using video::TrackWriteResult;

CameraCapture::CameraCapture(std::unique_ptr<CameraSource> source,
                             std::shared_ptr<video::IPixelFrameTrackWriter> writer,
                             const CaptureRequest& request, const CaptureClock& clock,
                             std::shared_ptr<std::atomic<std::uint32_t>> delivered)
    : source_(std::move(source)),
      writer_(std::move(writer)),
      clock_(clock),
      delivered_(std::move(delivered)),
      request_(request) {}

CameraCapture::~CameraCapture() { Stop(); }

void CameraCapture::Start(OpenedCallback on_opened) {
  thread_ = std::thread([this, on_opened = std::move(on_opened)] { Run(on_opened); });
}

void CameraCapture::Stop() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  source_->Interrupt();
  thread_.join();
}

void CameraCapture::SetRequest(const CaptureRequest& request) {
  const std::lock_guard lock(mutex_);
  request_ = request;
}

CaptureRequest CameraCapture::request() const {
  const std::lock_guard lock(mutex_);
  return request_;
}

bool CameraCapture::IsStopping() const {
  const std::lock_guard lock(mutex_);
  return stopping_;
}

void CameraCapture::Run(const OpenedCallback& on_opened) {
  pthread_setname_np(pthread_self(), "capture");
  const CameraInfo info = source_->Open(request());
  on_opened(info);
  if (info.error_code != 0) return;
  policy_ = source_->Policy();

  const bool waits_for_room = policy_.delivery == FrameDelivery::kLossless;
  if (waits_for_room) {
    writer_->SetRoomCallback([this] {
      {
        const std::lock_guard lock(mutex_);
        room_made_ = true;
      }
      wake_.notify_all();
    });
  }
  ReadUntilTheEnd();
  if (waits_for_room) writer_->SetRoomCallback({});
}

void CameraCapture::ReadUntilTheEnd() {
  while (!IsStopping()) {
    const CaptureRequest asked = request();
    SourceItem item = source_->Read(asked);
    if (auto* const end = std::get_if<StreamEnd>(&item)) {
      // An interrupted source may call it an end, but a stream that is stopped has none.
      if (!IsStopping()) writer_->WriteEnd(*end);
      return;
    }
    const auto* const source_frame = std::get_if<SourceFrame>(&item);
    if (source_frame == nullptr) continue;
    rate_.SetRate(asked.frame_rate);
    if (!rate_.Keep(source_frame->frame.info().timestamp)) {
      ++dropped_to_rate_;
      continue;
    }
    PixelFrame frame = FitFrame(*source_frame, asked.size, pool_);
    item = {};  // So that the reader may find itself the only owner.
    if (frame && !Deliver(std::move(frame))) return;
  }
}

bool CameraCapture::Deliver(PixelFrame frame) {
  PixelFrameInfo info = frame.info();
  if (policy_.paced && !WaitForTurn(info.timestamp)) return false;
  if (policy_.delivery == FrameDelivery::kLossless && !WaitForRoom()) return false;

  info.delivery = policy_.delivery;
  // Frames dropped to the asked rate are no losses, so they leave no gap.
  info.sequence -= dropped_to_rate_;
  if (info.capture_time.count() == 0) {
    info.capture_time = std::chrono::steady_clock::now().time_since_epoch();
  }
  frame = frame.WithInfo(info);
  const TrackWriteResult result = writer_->Write(std::move(frame));
  if (result == TrackWriteResult::kAccepted || result == TrackWriteResult::kReplacedOlder) {
    delivered_->fetch_add(1, std::memory_order_relaxed);
  }
  return result != TrackWriteResult::kClosed;
}

bool CameraCapture::WaitForTurn(std::chrono::nanoseconds timestamp) {
  std::unique_lock lock(mutex_);
  if (!pacing_) {
    pacing_ = true;
    pace_origin_ = clock_.Now() - timestamp;
  }
  const CaptureClock::TimePoint due = pace_origin_ + timestamp;
  while (!stopping_ && clock_.Now() < due) clock_.WaitUntil(lock, wake_, due);
  return !stopping_;
}

bool CameraCapture::WaitForRoom() {
  for (;;) {
    {
      const std::lock_guard lock(mutex_);
      if (stopping_) return false;
      room_made_ = false;
    }
    // Asked without the lock, and after the flag was lowered: room made meanwhile raises it again.
    if (writer_->HasRoom()) return true;
    std::unique_lock lock(mutex_);
    wake_.wait(lock, [this] { return stopping_ || room_made_; });
  }
}

}  // namespace movra::media
