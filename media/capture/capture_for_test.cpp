#include "media/capture/capture_for_test.h"

#include <algorithm>
#include <future>
#include <memory>
#include <utility>

namespace movra::media {

using video::FrameDelivery;
using video::PixelFrame;
using video::StreamEnd;
using video::TrackWriteResult;

void CollectingWriter::MakeRoom(std::size_t frames) {
  std::function<void()> callback;
  {
    const std::lock_guard lock(mutex_);
    room_ += frames;
    refused_ = false;
    callback = room_callback_;
  }
  if (callback) callback();
}

void CollectingWriter::Close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
}

std::vector<PixelFrame> CollectingWriter::WaitForFrames(std::size_t count) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return frames_.size() >= count; });
  return frames_;
}

StreamEnd CollectingWriter::WaitForEnd() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return end_.has_value(); });
  return *end_;
}

void CollectingWriter::WaitUntilRefused() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return refused_; });
}

std::vector<PixelFrame> CollectingWriter::frames() const {
  const std::lock_guard lock(mutex_);
  return frames_;
}

std::optional<StreamEnd> CollectingWriter::end() const {
  const std::lock_guard lock(mutex_);
  return end_;
}

bool CollectingWriter::has_room_callback() const {
  const std::lock_guard lock(mutex_);
  return static_cast<bool>(room_callback_);
}

long CollectingWriter::most_owners() const {
  const std::lock_guard lock(mutex_);
  return most_owners_;
}

TrackWriteResult CollectingWriter::Write(PixelFrame frame) {
  const std::lock_guard lock(mutex_);
  if (closed_) return TrackWriteResult::kClosed;
  if (frame.info().delivery == FrameDelivery::kLossless && frames_.size() >= room_) {
    return TrackWriteResult::kFull;
  }
  most_owners_ = std::max(most_owners_, frame.owner().use_count());
  frames_.push_back(std::move(frame));
  changed_.notify_all();
  return TrackWriteResult::kAccepted;
}

void CollectingWriter::WriteEnd(const StreamEnd& end) {
  const std::lock_guard lock(mutex_);
  end_ = end;
  changed_.notify_all();
}

bool CollectingWriter::HasRoom() const {
  const std::lock_guard lock(mutex_);
  const bool room = closed_ || frames_.size() < room_;
  refused_ = !room;
  changed_.notify_all();
  return room;
}

void CollectingWriter::SetRoomCallback(std::function<void()> callback) {
  const std::lock_guard lock(mutex_);
  room_callback_ = std::move(callback);
}

void HeldWriter::WaitUntilWriting() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return writes_ > let_on_; });
}

void HeldWriter::LetOn() {
  const std::lock_guard lock(mutex_);
  ++let_on_;
  changed_.notify_all();
}

int HeldWriter::writes() const {
  const std::lock_guard lock(mutex_);
  return writes_;
}

int HeldWriter::ends() const {
  const std::lock_guard lock(mutex_);
  return ends_;
}

int HeldWriter::most_inside() const {
  const std::lock_guard lock(mutex_);
  return most_inside_;
}

TrackWriteResult HeldWriter::Write(PixelFrame /*frame*/) {
  std::unique_lock lock(mutex_);
  const int number = ++writes_;
  most_inside_ = std::max(most_inside_, ++inside_);
  changed_.notify_all();
  changed_.wait(lock, [&] { return let_on_ >= number; });
  --inside_;
  return TrackWriteResult::kAccepted;
}

void HeldWriter::WriteEnd(const StreamEnd& /*end*/) {
  const std::lock_guard lock(mutex_);
  ++ends_;
}

void SourceScript::WaitUntilWaiting() {
  std::unique_lock lock(mutex);
  changed.wait(lock, [this] { return waiting > 0; });
}

void SourceScript::WaitUntilInterrupted() {
  std::unique_lock lock(mutex);
  changed.wait(lock, [this] { return interrupted; });
}

void SourceScript::WaitUntilGone() {
  std::unique_lock lock(mutex);
  changed.wait(lock, [this] { return alive == 0; });
}

bool SourceScript::IsGone() {
  const std::lock_guard lock(mutex);
  return alive == 0;
}

void SourceScript::LetOn() {
  const std::lock_guard lock(mutex);
  let_on = true;
  changed.notify_all();
}

ScriptedSource::ScriptedSource(std::shared_ptr<SourceScript> script) : script_(std::move(script)) {
  const std::lock_guard lock(script_->mutex);
  ++script_->alive;
}

ScriptedSource::~ScriptedSource() {
  const std::lock_guard lock(script_->mutex);
  --script_->alive;
  script_->changed.notify_all();
}

video::CameraInfo ScriptedSource::Describe() {
  std::unique_lock lock(script_->mutex);
  if (script_->open_waits) WaitForInterruption(lock);
  return script_->info;
}

video::CameraInfo ScriptedSource::Open(const CaptureRequest& request) {
  std::unique_lock lock(script_->mutex);
  script_->requests.push_back(request);
  if (script_->open_waits) WaitForInterruption(lock);
  return script_->info;
}

SourceItem ScriptedSource::Read(const CaptureRequest& request) {
  std::unique_lock lock(script_->mutex);
  script_->requests.push_back(request);
  if (script_->items.empty()) {
    WaitForInterruption(lock);
    return script_->last_item;
  }
  SourceItem item = std::move(script_->items.front());
  script_->items.pop_front();
  return item;
}

void ScriptedSource::Interrupt() {
  const std::lock_guard lock(script_->mutex);
  script_->interrupted = true;
  script_->changed.notify_all();
}

void ScriptedSource::WaitForInterruption(std::unique_lock<std::mutex>& lock) {
  ++script_->waiting;
  script_->changed.notify_all();
  script_->changed.wait(
      lock, [this] { return script_->let_on || (script_->interrupted && !script_->is_deaf); });
}

void WaitFor(Release& release) {
  const auto done = std::make_shared<std::promise<void>>();
  release.Then([done] { done->set_value(); });
  done->get_future().wait();
}

SourceFrame MakeSourceFrame(std::uint64_t sequence, int rate, video::Size size) {
  FramePool pool;
  video::PixelFrameInfo info;
  info.sequence = sequence;
  info.timestamp =
      std::chrono::nanoseconds(static_cast<std::int64_t>(sequence) * 1'000'000'000 / rate);
  WritableFrame frame = pool.Allocate(video::PixelFormat::kGray, size, info);
  for (int y = 0; y < size.height; ++y) {
    std::fill_n(frame.plane(0) + std::ptrdiff_t{y} * frame.stride(0), size.width,
                static_cast<std::uint8_t>(sequence));
  }
  return {std::move(frame).Finish(), size};
}

std::shared_ptr<SourceScript> MakeScript(std::uint64_t count, int rate) {
  auto script = std::make_shared<SourceScript>();
  for (std::uint64_t i = 0; i < count; ++i) script->items.push_back(MakeSourceFrame(i, rate));
  script->items.push_back(StreamEnd{});
  return script;
}

}  // namespace movra::media
