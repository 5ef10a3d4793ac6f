#include "media/capture/writer_gate.h"

#include <utility>

#include "logging/guarded_call.h"

namespace movra::media {

using video::IPixelFrameTrackWriter;
using video::TrackWriteResult;

namespace {

constexpr char kWhose[] = "The writer of a capture";

}  // namespace

WriterGate::WriterGate(std::shared_ptr<IPixelFrameTrackWriter> writer)
    : writer_(std::move(writer)), counting_(std::dynamic_pointer_cast<CountingTrackEnd>(writer_)) {}

template <class Call>
bool WriterGate::Through(Call&& call) {
  {
    const std::lock_guard lock(mutex_);
    if (is_shut_) return false;
    in_progress_ = true;
  }
  const bool returned = movra_logging::CallGuarded(kWhose, [&] { call(*writer_); });
  {
    const std::lock_guard lock(mutex_);
    in_progress_ = false;
    if (returned && !is_shut_) return true;
    is_shut_ = true;
  }
  LetGo();
  return true;
}

TrackWriteResult WriterGate::Write(video::PixelFrame frame) {
  TrackWriteResult result = TrackWriteResult::kClosed;
  const bool passed =
      Through([&](IPixelFrameTrackWriter& writer) { result = writer.Write(std::move(frame)); });
  if (!passed) CountUnwritten(FrameFate::kStopped);
  return result;
}

void WriterGate::WriteEnd(const video::StreamEnd& end) {
  Through([&](IPixelFrameTrackWriter& writer) { writer.WriteEnd(end); });
}

bool WriterGate::HasRoom() {
  bool has_room = true;
  Through([&](const IPixelFrameTrackWriter& writer) { has_room = writer.HasRoom(); });
  return has_room;
}

void WriterGate::SetRoomCallback(std::function<void()> callback) {
  Through([&](IPixelFrameTrackWriter& writer) {
    has_room_callback_ = static_cast<bool>(callback);
    writer.SetRoomCallback(std::move(callback));
  });
}

void WriterGate::CountUnwritten(FrameFate fate) {
  if (counting_ != nullptr) counting_->CountUnwritten(fate);
}

void WriterGate::Shut() {
  {
    const std::lock_guard lock(mutex_);
    if (std::exchange(is_shut_, true) || in_progress_) return;
  }
  LetGo();
}

void WriterGate::LetGo() {
  if (has_room_callback_) {
    static_cast<void>(movra_logging::CallGuarded(kWhose, [&] { writer_->SetRoomCallback({}); }));
  }
  writer_.reset();
  let_go_.Done();
}

}  // namespace movra::media
