#include "media/track/bounded_track.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <utility>
#include <variant>

#include "media/figures/frame_counts.h"
#include "media/threads/mutex.h"
#include "media/track/callback_slot.h"
#include "media/track/frame_fault.h"
#include "media/track/wanted_size.h"

namespace movra::media {

using video::FrameDelivery;
using video::PixelFrame;
using video::StreamEnd;
using video::TrackItem;
using video::TrackWriteResult;

// What the two ends and the track share. The slots call out only with mutex_ free.
class BoundedTrack::Queue {
 public:
  explicit Queue(std::size_t capacity) : capacity_(capacity) {}

  TrackWriteResult Write(PixelFrame frame) {
    if (!Admits(frame)) return TrackWriteResult::kInvalid;
    PixelFrame displaced;  // Released after the lock: that may run a library's destructor.
    auto result = TrackWriteResult::kAccepted;
    {
      const MutexLock lock(mutex_);
      const bool is_full = !closed_ && frames_ >= capacity_;
      // It comes again.
      if (is_full && frame.info().delivery == FrameDelivery::kLossless) {
        return TrackWriteResult::kFull;
      }
      counters_->Come();
      if (closed_) {
        counters_->Count(FrameFate::kStopped);
        return TrackWriteResult::kClosed;
      }
      if (is_full) {
        ++dropped_;
        counters_->Count(FrameFate::kDisplaced);
        if (!TakeOldestLive(displaced)) return TrackWriteResult::kFull;
        result = TrackWriteResult::kReplacedOlder;
      }
      if (IsCustom(frame)) last_time_ = frame.info().timestamp;
      items_.emplace_back(std::move(frame));
      ++frames_;
      ++written_;
    }
    readable_.Run();
    return result;
  }

  void WriteEnd(const StreamEnd& end) {
    {
      const MutexLock lock(mutex_);
      if (closed_) return;
      if (!items_.empty() && IsEnd(items_.back())) items_.pop_back();
      items_.emplace_back(end);
      last_time_.reset();
    }
    readable_.Run();
  }

  // A closed track has room: nobody shall wait for it, the write tells.
  bool HasRoom() const {
    const MutexLock lock(mutex_);
    return closed_ || frames_ < capacity_;
  }

  TrackItem Read() {
    TrackItem item;
    bool was_full = false;
    {
      const MutexLock lock(mutex_);
      if (items_.empty()) return item;
      item = std::move(items_.front());
      items_.pop_front();
      if (!IsEnd(item)) was_full = frames_-- == capacity_;
    }
    if (was_full) room_.Run();
    return item;
  }

  // Empties the queue and wakes whoever waits for room.
  void Clear(bool close) {
    std::deque<TrackItem> dropped;
    {
      const MutexLock lock(mutex_);
      dropped.swap(items_);
      last_time_.reset();
      counters_->Count(FrameFate::kStopped, std::exchange(frames_, 0));
      closed_ = closed_ || close;
    }
    room_.Run();
  }

  void SetReadableCallback(std::function<void()> callback) {
    const bool installs = static_cast<bool>(callback);
    readable_.Set(std::move(callback));
    if (installs && HasItem()) readable_.Run();
  }

  void SetRoomCallback(std::function<void()> callback) { room_.Set(std::move(callback)); }

  void CountInto(const std::shared_ptr<FrameCounters>& counters) {
    const MutexLock lock(mutex_);
    if (counters_ == counters) return;
    if (std::exchange(is_counted_, true)) {
      // The frames that wait move; what is over stays where it was counted.
      counters_->Come(-std::uint64_t{frames_});
      counters->Come(frames_);
    } else {
      counters->Add(counters_->Counts());
    }
    counters_ = counters;
  }

  bool CountsInto(const FrameCounters& counters) const {
    const MutexLock lock(mutex_);
    return counters_.get() == &counters;
  }

  void CheckFrames(std::shared_ptr<FrameFaultLog> faults) {
    const MutexLock lock(mutex_);
    faults_.swap(faults);
    last_time_.reset();
  }

  void CountUnwritten(FrameFate fate) {
    const MutexLock lock(mutex_);
    counters_->Come();
    counters_->Count(fate);
  }

  void WantSize(const video::Size& size) {
    const MutexLock lock(mutex_);
    wanted_size_ = size;
  }

  std::optional<video::Size> wanted_size() const {
    const MutexLock lock(mutex_);
    return wanted_size_;
  }

  std::uint32_t written() const {
    const MutexLock lock(mutex_);
    return written_;
  }

  std::uint32_t dropped() const {
    const MutexLock lock(mutex_);
    return dropped_;
  }

 private:
  static bool IsEnd(const TrackItem& item) { return std::holds_alternative<StreamEnd>(item); }

  // Of no source of ours, whose time stamps are what they are.
  static bool IsCustom(const PixelFrame& frame) { return frame.info().source_run == 0; }

  // Whether somebody could use the frame. What is wrong with it is told, and one that is refused is
  // counted. Encoders leave out a frame that has the time of the one before; a live one is for
  // whoever looks on all the same, a lossless one would be lost.
  bool Admits(const PixelFrame& frame) {
    FrameFault fault;
    bool is_refused = false;
    std::shared_ptr<FrameFaultLog> faults;
    {
      const MutexLock lock(mutex_);
      if (faults_ == nullptr || closed_) return true;
      fault = FindFault(frame);
      const bool stands_still = IsCustom(frame) && frame.info().timestamp == last_time_;
      if (!fault && stands_still) fault.kind = FrameFault::kTimeStandsStill;
      if (!fault) return true;
      faults = faults_;
      is_refused = fault.kind != FrameFault::kTimeStandsStill ||
                   frame.info().delivery == FrameDelivery::kLossless;
      if (is_refused) counters_->Come();
      if (is_refused) counters_->Count(FrameFate::kNotMade);
    }
    faults->Tell(fault, frame.info());
    return !is_refused;
  }

  bool HasItem() const {
    const MutexLock lock(mutex_);
    return !items_.empty();
  }

  bool TakeOldestLive(PixelFrame& taken) MOVRA_REQUIRES(mutex_) {
    const auto oldest = std::find_if(items_.begin(), items_.end(), [](const TrackItem& item) {
      const auto* const frame = std::get_if<PixelFrame>(&item);
      return frame != nullptr && frame->info().delivery == FrameDelivery::kLive;
    });
    if (oldest == items_.end()) return false;
    taken = std::get<PixelFrame>(std::move(*oldest));
    const auto next = items_.erase(oldest);
    --frames_;
    if (next != items_.begin() && next != items_.end() && IsEnd(*next) && IsEnd(*(next - 1))) {
      items_.erase(next - 1);
    }
    return true;
  }

  const std::size_t capacity_;
  CallbackSlot readable_;
  CallbackSlot room_;
  mutable Mutex mutex_;
  std::deque<TrackItem> items_ MOVRA_GUARDED_BY(mutex_);
  std::size_t frames_ MOVRA_GUARDED_BY(mutex_) = 0;  // Of items_, without the end marks.
  std::uint32_t written_ MOVRA_GUARDED_BY(mutex_) = 0;
  std::uint32_t dropped_ MOVRA_GUARDED_BY(mutex_) = 0;
  bool closed_ MOVRA_GUARDED_BY(mutex_) = false;
  std::shared_ptr<FrameCounters> counters_ MOVRA_GUARDED_BY(mutex_) =
      std::make_shared<FrameCounters>();
  std::optional<video::Size> wanted_size_ MOVRA_GUARDED_BY(mutex_);
  bool is_counted_ MOVRA_GUARDED_BY(mutex_) = false;  // Somebody asked for the counts.
  std::shared_ptr<FrameFaultLog> faults_ MOVRA_GUARDED_BY(mutex_);  // Null: takes all frames.
  // Of the last custom frame of this stream.
  std::optional<std::chrono::nanoseconds> last_time_ MOVRA_GUARDED_BY(mutex_);
};

// Both ends: each may be the only one that somebody has.
template <class End>
class BoundedTrack::OwnEnd : public End, public CountingTrackEnd, public SizedTrackEnd {
 public:
  explicit OwnEnd(std::shared_ptr<Queue> queue) : queue_(std::move(queue)) {}

  // CountingTrackEnd
  void CountInto(const std::shared_ptr<FrameCounters>& counters) override {
    queue_->CountInto(counters);
  }
  [[nodiscard]] bool CountsInto(const FrameCounters& counters) const override {
    return queue_->CountsInto(counters);
  }
  void CountUnwritten(FrameFate fate) override { queue_->CountUnwritten(fate); }

  // SizedTrackEnd
  void WantSize(const video::Size& size) override { queue_->WantSize(size); }
  [[nodiscard]] std::optional<video::Size> wanted_size() const override {
    return queue_->wanted_size();
  }

 protected:
  const std::shared_ptr<Queue> queue_;
};

class BoundedTrack::Reader final : public OwnEnd<video::IPixelFrameTrackReader>,
                                   public CheckingTrackEnd {
 public:
  using OwnEnd::OwnEnd;

  std::uint32_t GetCaptureStat() override { return queue_->written(); }
  std::uint32_t GetDroppedFrames() override { return queue_->dropped(); }
  TrackItem Read() override { return queue_->Read(); }
  void SetReadableCallback(std::function<void()> callback) override {
    queue_->SetReadableCallback(std::move(callback));
  }

  // CheckingTrackEnd
  void CheckFrames(std::shared_ptr<FrameFaultLog> faults) override {
    queue_->CheckFrames(std::move(faults));
  }
};

class BoundedTrack::Writer final : public OwnEnd<video::IPixelFrameTrackWriter> {
 public:
  using OwnEnd::OwnEnd;

  TrackWriteResult Write(PixelFrame frame) override { return queue_->Write(std::move(frame)); }
  void WriteEnd(const StreamEnd& end) override { queue_->WriteEnd(end); }
  bool HasRoom() const override { return queue_->HasRoom(); }
  void SetRoomCallback(std::function<void()> callback) override {
    queue_->SetRoomCallback(std::move(callback));
  }
};

BoundedTrack::BoundedTrack(int capacity)
    : queue_(std::make_shared<Queue>(static_cast<std::size_t>(std::max(capacity, 1)))),
      reader_(std::make_shared<Reader>(queue_)),
      writer_(std::make_shared<Writer>(queue_)) {}

std::shared_ptr<video::IPixelFrameTrackReader> BoundedTrack::GetReader() { return reader_; }

std::shared_ptr<video::IPixelFrameTrackWriter> BoundedTrack::GetWriter() { return writer_; }

void BoundedTrack::Reset() { queue_->Clear(/*close=*/false); }

BoundedTrack::~BoundedTrack() { queue_->Clear(/*close=*/true); }

}  // namespace movra::media
