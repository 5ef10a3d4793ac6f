#include "testing/track_double.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <utility>

#include "testing/world.h"

namespace movra::testing {
namespace {

using video::FrameDelivery;
using video::PixelFrame;
using video::StreamEnd;
using video::TrackItem;
using video::TrackWriteResult;

void CallIfSet(const std::function<void()>& callback) {
  const std::function<void()> held = callback;  // It may replace itself.
  if (held) held();
}

}  // namespace

// What both ends share; it outlives the track for as long as somebody holds an end.
class TrackDouble::Queue {
 public:
  explicit Queue(int capacity) : capacity_(static_cast<std::size_t>(std::max(capacity, 1))) {}

  TrackWriteResult Write(PixelFrame frame) {
    if (closed_) return TrackWriteResult::kClosed;
    auto result = TrackWriteResult::kAccepted;
    if (frames_ >= capacity_) {
      if (frame.info().delivery == FrameDelivery::kLossless) return TrackWriteResult::kFull;
      if (!DropOldestLive()) return TrackWriteResult::kFull;
      result = TrackWriteResult::kReplacedOlder;
    }
    ++written_;
    ++frames_;
    items_.push_back(std::move(frame));
    CallIfSet(readable_);
    return result;
  }

  void WriteEnd(const StreamEnd& end) {
    if (closed_) return;
    items_.push_back(end);
    CallIfSet(readable_);
  }

  TrackItem Read() {
    if (items_.empty()) return {};
    TrackItem item = std::move(items_.front());
    items_.pop_front();
    const bool makes_room = std::holds_alternative<PixelFrame>(item) && frames_-- == capacity_;
    if (makes_room) CallIfSet(room_);
    return item;
  }

  void Reset() {
    items_.clear();
    frames_ = 0;
    CallIfSet(room_);
  }

  void Close() {
    closed_ = true;
    Reset();
  }

  // Nobody shall wait for a closed track, so it has room: the write tells.
  [[nodiscard]] bool HasRoom() const { return closed_ || frames_ < capacity_; }
  [[nodiscard]] std::uint32_t written() const { return written_; }
  [[nodiscard]] std::uint32_t dropped() const { return dropped_; }

  void SetRoomCallback(std::function<void()> callback) { room_ = std::move(callback); }
  void SetReadableCallback(std::function<void()> callback) {
    readable_ = std::move(callback);
    if (!items_.empty()) CallIfSet(readable_);
  }

 private:
  // False if every waiting frame is lossless.
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

  const std::size_t capacity_;
  std::deque<TrackItem> items_;
  std::size_t frames_ = 0;  // Of the items.
  std::uint32_t written_ = 0;
  std::uint32_t dropped_ = 0;
  bool closed_ = false;
  std::function<void()> readable_;
  std::function<void()> room_;
};

class TrackDouble::Reader : public video::IPixelFrameTrackReader, public Recorded {
 public:
  Reader(std::string name, std::shared_ptr<Queue> queue, std::shared_ptr<Journal> journal)
      : Recorded(std::move(name), std::move(journal)), queue_(std::move(queue)) {}
  ~Reader() override { journal()->Add(Journal::kEnd, "~" + name()); }

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
  ~Writer() override { journal()->Add(Journal::kEnd, "~" + name()); }

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
      queue_(std::make_shared<Queue>(capacity)),
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
