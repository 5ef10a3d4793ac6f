#include "testing/track_double.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <utility>

#include "testing/world.h"

namespace movra::testing {
namespace {

using video::FrameDelivery;
using video::PixelFrame;
using video::StreamEnd;
using video::TrackItem;
using video::TrackWriteResult;

// A callback that can be removed for good while another thread calls it. Recursive, because a
// callback may remove itself.
class CallbackSlot {
 public:
  void Set(std::function<void()> callback) {
    const std::lock_guard lock(mutex_);
    callback_ = std::move(callback);
  }
  void Call() {
    const std::lock_guard lock(mutex_);
    const std::function<void()> callback = callback_;
    if (callback) callback();
  }

 private:
  std::recursive_mutex mutex_;
  std::function<void()> callback_;  // Guarded by mutex_.
};

}  // namespace

// What both ends share; outlives the track for as long as somebody holds an end.
class TrackDouble::Queue {
 public:
  explicit Queue(std::size_t capacity) : capacity_(capacity) {}

  TrackWriteResult Write(PixelFrame frame) {
    auto result = TrackWriteResult::kAccepted;
    {
      const std::lock_guard lock(mutex_);
      if (closed_) return TrackWriteResult::kClosed;
      if (frames_ >= capacity_) {
        if (frame.info().delivery == FrameDelivery::kLossless || !DropOldestLive()) {
          return TrackWriteResult::kFull;
        }
        result = TrackWriteResult::kReplacedOlder;
      }
      ++written_;
      ++frames_;
      items_.push_back(std::move(frame));
    }
    readable_.Call();
    return result;
  }

  void WriteEnd(const StreamEnd& end) {
    {
      const std::lock_guard lock(mutex_);
      if (closed_) return;
      items_.push_back(end);
    }
    readable_.Call();
  }

  TrackItem Read() {
    TrackItem item;
    bool made_room = false;
    {
      const std::lock_guard lock(mutex_);
      if (items_.empty()) return item;
      item = std::move(items_.front());
      items_.pop_front();
      if (std::holds_alternative<PixelFrame>(item)) made_room = frames_-- == capacity_;
    }
    if (made_room) room_.Call();
    return item;
  }

  void Reset() { Empty(false); }
  void Close() { Empty(true); }

  [[nodiscard]] bool HasRoom() const {
    const std::lock_guard lock(mutex_);
    return !closed_ && frames_ < capacity_;
  }
  [[nodiscard]] std::uint32_t written() const {
    const std::lock_guard lock(mutex_);
    return written_;
  }
  [[nodiscard]] std::uint32_t dropped() const {
    const std::lock_guard lock(mutex_);
    return dropped_;
  }

  void SetRoomCallback(std::function<void()> callback) { room_.Set(std::move(callback)); }
  void SetReadableCallback(std::function<void()> callback) {
    readable_.Set(std::move(callback));
    bool something_waits = false;
    {
      const std::lock_guard lock(mutex_);
      something_waits = !items_.empty();
    }
    if (something_waits) readable_.Call();
  }

 private:
  // Requires mutex_. False if every waiting frame is lossless.
  bool DropOldestLive() {
    for (auto item = items_.begin(); item != items_.end(); ++item) {
      const auto* frame = std::get_if<PixelFrame>(&*item);
      if (frame == nullptr || frame->info().delivery != FrameDelivery::kLive) continue;
      items_.erase(item);
      --frames_;
      ++dropped_;
      return true;
    }
    return false;
  }

  void Empty(bool close) {
    bool made_room = false;
    {
      const std::lock_guard lock(mutex_);
      made_room = frames_ >= capacity_;
      items_.clear();
      frames_ = 0;
      closed_ = closed_ || close;
    }
    if (made_room) room_.Call();
  }

  const std::size_t capacity_;
  mutable std::mutex mutex_;
  // Guarded by mutex_.
  std::deque<TrackItem> items_;
  std::size_t frames_ = 0;  // Of the items.
  std::uint32_t written_ = 0;
  std::uint32_t dropped_ = 0;
  bool closed_ = false;

  CallbackSlot readable_;
  CallbackSlot room_;
};

class TrackDouble::Reader : public video::IPixelFrameTrackReader, public Recorded {
 public:
  Reader(std::string name, std::shared_ptr<Queue> queue, std::shared_ptr<Journal> journal)
      : Recorded(std::move(name), std::move(journal)), queue_(std::move(queue)) {}

  [[nodiscard]] std::uint32_t GetCaptureStat() override {
    Called("GetCaptureStat");
    return queue_->written();
  }
  [[nodiscard]] std::uint32_t GetDroppedFrames() override {
    Called("GetDroppedFrames");
    return queue_->dropped();
  }
  [[nodiscard]] TrackItem Read() override {
    Called("Read");
    return queue_->Read();
  }
  void SetReadableCallback(std::function<void()> callback) override {
    Called("SetReadableCallback", callback != nullptr);
    queue_->SetReadableCallback(std::move(callback));
  }

 private:
  const std::shared_ptr<Queue> queue_;
};

class TrackDouble::Writer : public video::IPixelFrameTrackWriter, public Recorded {
 public:
  Writer(std::string name, std::shared_ptr<Queue> queue, std::shared_ptr<Journal> journal)
      : Recorded(std::move(name), std::move(journal)), queue_(std::move(queue)) {}

  TrackWriteResult Write(PixelFrame frame) override {
    Called("Write", frame);
    return queue_->Write(std::move(frame));
  }
  void WriteEnd(const StreamEnd& end) override {
    Called("WriteEnd", end);
    queue_->WriteEnd(end);
  }
  [[nodiscard]] bool HasRoom() const override {
    Called("HasRoom");
    return queue_->HasRoom();
  }
  void SetRoomCallback(std::function<void()> callback) override {
    Called("SetRoomCallback", callback != nullptr);
    queue_->SetRoomCallback(std::move(callback));
  }

 private:
  const std::shared_ptr<Queue> queue_;
};

TrackDouble::TrackDouble(std::string name, std::string track_name, int capacity,
                         std::shared_ptr<Journal> journal)
    : Double(name, journal),
      track_name_(std::move(track_name)),
      capacity_(capacity),
      queue_(std::make_shared<Queue>(static_cast<std::size_t>(capacity))),
      reader_(std::make_shared<Reader>(name + ".reader", queue_, journal)),
      writer_(std::make_shared<Writer>(name + ".writer", queue_, journal)) {}

TrackDouble::~TrackDouble() { queue_->Close(); }

std::shared_ptr<video::IPixelFrameTrackReader> TrackDouble::reader() const { return reader_; }
std::shared_ptr<video::IPixelFrameTrackWriter> TrackDouble::writer() const { return writer_; }

std::shared_ptr<video::IPixelFrameTrackReader> TrackDouble::GetReader() {
  CalledAs(Journal::kTrackEnd, "GetReader");
  return reader_;
}

std::shared_ptr<video::IPixelFrameTrackWriter> TrackDouble::GetWriter() {
  CalledAs(Journal::kTrackEnd, "GetWriter");
  return writer_;
}

void TrackDouble::Reset() {
  Called("Reset");
  queue_->Reset();
}

}  // namespace movra::testing

namespace movra::video {

std::shared_ptr<IPixelFrameTrack> IPixelFrameTrack::Create(const std::string& name, int capacity) {
  testing::World& world = testing::World::Current();
  world.journal()->Call("IPixelFrameTrack", "Create", name, capacity);
  if (!world.answers.makes_track) return nullptr;
  auto track = std::make_shared<testing::TrackDouble>(world.UniqueName(name), name, capacity,
                                                      world.journal());
  world.tracks.Add(track);
  return track;
}

}  // namespace movra::video
