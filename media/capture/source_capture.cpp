#include "media/capture/source_capture.h"

#include <atomic>
#include <optional>
#include <utility>
#include <variant>

#include "media/capture/call_source.h"
#include "media/capture/camera_error.h"
#include "media/capture/camera_failure.h"
#include "media/capture/detached_thread.h"
#include "media/capture/fit_frame.h"

namespace movra::media {

using video::CameraInfo;
using video::FrameDelivery;
using video::PixelFrame;
using video::PixelFrameInfo;
using video::StreamEnd;
using video::TrackWriteResult;

namespace {

// Of what pushes its frames itself it is 0.
std::uint64_t NextSourceRun() {
  static std::atomic<std::uint64_t> runs = 0;
  return ++runs;
}

// Whether it goes on until it breaks off.
bool IsEndless(const video::SourceTraits& traits) {
  return traits.keeps_time && !traits.has_end && !traits.replayable;
}

// Empty at a natural end alone.
std::string TextOf(const StreamEnd& end, bool is_lost) {
  if (!end.reason.empty()) return end.reason;
  if (end.error_code != 0) return CameraErrorToString(static_cast<CameraError>(end.error_code));
  return is_lost ? "it ended, though its traits say that it has no end" : "";
}

}  // namespace

SourceCapture::SourceCapture(Camera camera, std::shared_ptr<video::IPixelFrameTrackWriter> writer,
                             const CaptureRequest& request,
                             std::shared_ptr<const CaptureClock> clock,
                             std::shared_ptr<std::atomic<std::uint32_t>> delivered)
    : clock_(std::move(clock)),
      delivered_(std::move(delivered)),
      gate_(std::move(writer)),
      request_(request),
      camera_(std::move(camera)),
      source_run_(NextSourceRun()) {}

void SourceCapture::WaitFor(Release& earlier) {
  {
    const std::lock_guard lock(mutex_);
    ++earlier_ones_;
  }
  earlier.Then([weak_this = weak_from_this()] {
    const auto self = weak_this.lock();
    if (self == nullptr) return;
    {
      const std::lock_guard lock(self->mutex_);
      --self->earlier_ones_;
    }
    self->wake_.notify_all();
  });
}

bool SourceCapture::Start(OpenedCallback on_opened, EndedCallback on_ended) {
  return StartDetachedThread(
      "capture",
      movra_base::BindOnce([self = shared_from_this(), on_opened = std::move(on_opened),
                            on_ended = std::move(on_ended)] { self->Run(on_opened, on_ended); }));
}

void SourceCapture::Stop() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  gate_.Shut();
  source_.Interrupt();
}

void SourceCapture::SetRequest(const CaptureRequest& request) {
  const std::lock_guard lock(mutex_);
  request_ = request;
}

CaptureRequest SourceCapture::request() const {
  const std::lock_guard lock(mutex_);
  return request_;
}

bool SourceCapture::IsStopping() const {
  const std::lock_guard lock(mutex_);
  return stopping_;
}

void SourceCapture::Run(const OpenedCallback& on_opened, const EndedCallback& on_ended) {
  const CameraInfo info = Open();
  if (!IsStopping()) {
    if (info.error_code != 0) Warn("cannot be started", info.error_text);
    on_opened(info);
  }
  const auto end = info.error_code == 0 ? Play() : std::nullopt;
  if (end) End(*end, IsEndless(info.traits), on_ended);
  source_.Take().reset();
  camera_let_go_.Done();
}

void SourceCapture::End(const StreamEnd& end, bool is_lost, const EndedCallback& on_ended) {
  using video::CaptureEndKind;
  // Told before the streams end, so that who hears that they have ended can know why.
  if (!IsStopping()) {
    const std::string text = TextOf(end, is_lost);
    if (!text.empty()) Warn("broke off", text);
    if (on_ended) {
      on_ended({.camera_id = camera_.id,
                .kind = is_lost ? CaptureEndKind::kLost : CaptureEndKind::kEnded,
                .error_code = end.error_code,
                .text = text,
                .damaged_frames = end.damaged_frames});
    }
  }
  if (!is_lost) gate_.WriteEnd(end);
}

void SourceCapture::Warn(std::string_view what, const std::string& text) const {
  if (!has_thrown_) WarnOfCamera(camera_.id, what, text);
}

CameraInfo SourceCapture::Open() {
  if (!WaitForEarlierOnes()) {
    return CameraFailure(CameraError::kBusy, "an earlier capture has not let go of it");
  }
  CameraInfo info =
      CameraFailure(CameraError::kNoSuchCamera, "no camera is called '" + camera_.id + "'");
  const auto threw = CallSource([this] { return Name(); }, CameraError::kCannotOpen,
                                [&] {
                                  source_.Put(std::move(camera_.make).Run());
                                  FrameSource* const source = source_.get();
                                  if (source == nullptr) return;
                                  info = source->Open(request());
                                  if (info.error_code == 0) policy_ = source->Policy();
                                });
  has_thrown_ = threw.has_value();
  if (threw) return CameraFailure(threw->code, threw->text);
  if (info.error_code != 0 && info.error_text.empty()) {
    info.error_text = CameraErrorToString(static_cast<CameraError>(info.error_code));
  }
  return info;
}

std::optional<StreamEnd> SourceCapture::Play() {
  const bool waits_for_room = policy_.delivery == FrameDelivery::kLossless;
  if (waits_for_room) {
    // The gate removes it before the capture can go.
    gate_.SetRoomCallback([this] {
      {
        const std::lock_guard lock(mutex_);
        room_made_ = true;
      }
      wake_.notify_all();
    });
  }
  std::optional<StreamEnd> end = ReadUntilTheEnd();
  if (waits_for_room) gate_.SetRoomCallback({});
  return end;
}

std::optional<StreamEnd> SourceCapture::ReadUntilTheEnd() {
  while (!IsStopping()) {
    SourceItem item = Read(request());
    const auto* const source_frame = std::get_if<SourceFrame>(&item);
    // Nobody will see it; an interrupted source may call it an end, but a stream that is stopped
    // has none.
    if (IsStopping()) {
      if (source_frame != nullptr) gate_.CountUnwritten(FrameFate::kStopped);
      return std::nullopt;
    }
    if (auto* const end = std::get_if<StreamEnd>(&item)) return std::move(*end);
    if (source_frame == nullptr) continue;
    // As it is now: the source may have taken its time.
    const CaptureRequest now = request();
    rate_.SetRate({now.frame_rate, 1});
    if (!rate_.Keep(source_frame->frame.info().timestamp)) {
      ++dropped_to_rate_;
      gate_.CountUnwritten(FrameFate::kDroppedToRate);
      continue;
    }
    PixelFrame frame = FitFrame(*source_frame, now.size, pool_);
    item = {};  // So that the reader may find itself the only owner.
    if (!frame) {
      gate_.CountUnwritten(FrameFate::kNotMade);
    } else if (!Deliver(std::move(frame))) {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

SourceItem SourceCapture::Read(const CaptureRequest& asked) {
  SourceItem item;
  const auto threw = CallSource([this] { return Name(); }, CameraError::kReadFailed,
                                [&] { item = source_.get()->Read(asked); });
  if (!threw) return item;
  has_thrown_ = true;
  return StreamEnd{.error_code = static_cast<std::int32_t>(threw->code), .reason = threw->text};
}

bool SourceCapture::WaitForEarlierOnes() {
  std::unique_lock lock(mutex_);
  const CaptureClock::TimePoint deadline = clock_->Now() + kLongestTurn;
  while (!stopping_ && earlier_ones_ > 0 && clock_->Now() < deadline) {
    clock_->WaitUntil(lock, wake_, deadline);
  }
  return !stopping_ && earlier_ones_ == 0;
}

bool SourceCapture::Deliver(PixelFrame frame) {
  PixelFrameInfo info = frame.info();
  const bool is_lossless = policy_.delivery == FrameDelivery::kLossless;
  if ((policy_.paced && !WaitForTurn(info.timestamp)) || (is_lossless && !WaitForRoom())) {
    gate_.CountUnwritten(FrameFate::kStopped);
    return false;
  }
  info.delivery = policy_.delivery;
  info.source_run = source_run_;
  // Frames dropped to the asked rate are no losses, so they leave no gap.
  info.sequence -= dropped_to_rate_;
  if (info.capture_time.count() == 0) {
    info.capture_time = std::chrono::steady_clock::now().time_since_epoch();
  }
  frame = frame.WithInfo(info);
  const TrackWriteResult result = gate_.Write(std::move(frame));
  if (result == TrackWriteResult::kAccepted || result == TrackWriteResult::kReplacedOlder) {
    delivered_->fetch_add(1, std::memory_order_relaxed);
  }
  return result != TrackWriteResult::kClosed;
}

bool SourceCapture::WaitForTurn(std::chrono::nanoseconds timestamp) {
  std::unique_lock lock(mutex_);
  if (!pacing_) {
    pacing_ = true;
    pace_origin_ = clock_->Now() - timestamp;
  }
  const CaptureClock::TimePoint due = pace_origin_ + timestamp;
  while (!stopping_ && clock_->Now() < due) clock_->WaitUntil(lock, wake_, due);
  return !stopping_;
}

bool SourceCapture::WaitForRoom() {
  for (;;) {
    {
      const std::lock_guard lock(mutex_);
      if (stopping_) return false;
      room_made_ = false;
    }
    // Asked without the lock, and after the flag was lowered: room made meanwhile raises it again.
    if (gate_.HasRoom()) return true;
    std::unique_lock lock(mutex_);
    wake_.wait(lock, [this] { return stopping_ || room_made_; });
  }
}

}  // namespace movra::media
