#include "media/encode/encoder_run.h"

#include <utility>
#include <variant>

#include "logging/guarded_call.h"
#include "media/encode/writer_turn.h"
#include "media/text/warning.h"

namespace movra::media {
namespace {

bool IsSame(const std::weak_ptr<video::IVideoFrameTrackWriter>& a,
            const std::weak_ptr<video::IVideoFrameTrackWriter>& b) {
  // Several may share one owner that they are parts of.
  return !a.owner_before(b) && !b.owner_before(a) && a.lock() == b.lock();
}

}  // namespace

EncoderRun::EncoderRun(const video::VideoContext& context, EncoderControls controls,
                       std::unique_ptr<StreamEncoder> encoder,
                       std::shared_ptr<EncoderCounters> counters, EncoderEvents events,
                       std::shared_ptr<EncoderRun> previous)
    : context_(context),
      encoder_(std::move(encoder)),
      counters_(std::move(counters)),
      events_(std::move(events)),
      previous_(std::move(previous)),
      controls_(std::move(controls)) {}

void EncoderRun::Run() {
  if (previous_ != nullptr) {
    previous_->WaitFinished(std::chrono::steady_clock::time_point::max());
    previous_.reset();
  }
  video::TrackItem item;
  while (WaitForItem(item)) {
    if (const auto* frame = std::get_if<video::PixelFrame>(&item)) {
      HandleFrame(*frame);
    } else if (const auto* end = std::get_if<video::StreamEnd>(&item)) {
      HandleEnd(*end);
    }
    // The frame goes back to its pool before the wait for the next one.
    item = std::monostate();
  }
  // A stop that waits for what is in the input track waits for what the encoder still has, too.
  if (MayWrite()) encoder_->Flush(receiver_);
  // Closed here, because whoever releases the run may be the main queue.
  encoder_.reset();
  const MutexLock lock(mutex_);
  finished_ = true;
  changed_.NotifyAll();
}

void EncoderRun::Wake() {
  const MutexLock lock(mutex_);
  readable_ = true;
  changed_.NotifyAll();
}

void EncoderRun::SetControls(const EncoderControls& controls) {
  const MutexLock lock(mutex_);
  controls_ = controls;
  controls_changed_ = true;
  readable_ = true;
  changed_.NotifyAll();
}

void EncoderRun::RequestKeyFrame() {
  const MutexLock lock(mutex_);
  key_frame_requested_ = true;
}

void EncoderRun::Drain() {
  const MutexLock lock(mutex_);
  draining_ = true;
  changed_.NotifyAll();
}

void EncoderRun::Abandon() {
  const MutexLock lock(mutex_);
  abandoned_ = true;
  changed_.NotifyAll();
}

bool EncoderRun::WaitFinished(std::chrono::steady_clock::time_point deadline) {
  const MutexLock lock(mutex_);
  // Some libraries overflow on a wait until the end of time.
  const bool forever = deadline == std::chrono::steady_clock::time_point::max();
  while (!finished_) {
    if (forever) {
      changed_.Wait(mutex_);
    } else if (!changed_.WaitUntil(mutex_, deadline)) {
      return finished_;
    }
  }
  return true;
}

bool EncoderRun::WaitForItem(video::TrackItem& item) {
  while (true) {
    bool draining = false;
    {
      const MutexLock lock(mutex_);
      while (!more_ && !readable_ && !draining_ && !abandoned_) changed_.Wait(mutex_);
      if (abandoned_) return false;
      // Before the read: a frame that is written after it sets the flag again.
      readable_ = false;
      draining = draining_;
    }
    if (const auto reader = Reader()) item = reader->Read();
    more_ = !std::holds_alternative<std::monostate>(item);
    if (more_) return true;
    if (draining) return false;
  }
}

std::shared_ptr<video::IPixelFrameTrackReader> EncoderRun::Reader() {
  const MutexLock lock(mutex_);
  return controls_.reader.lock();
}

void EncoderRun::HandleFrame(const video::PixelFrame& frame) {
  counters_->CountIn();
  TakeControls();
  if (!encoder_->Keeps(frame)) return;
  // Kept until the frame is through.
  const auto writer = writer_.lock();
  if (writer == nullptr) {
    TellIfNeverUsed();
    counters_->CountFailed();
    return;
  }
  is_writer_known_ = true;
  encoder_->Encode(frame, receiver_);
}

void EncoderRun::TellIfNeverUsed() {
  if (std::exchange(is_writer_known_, true) || IsSame(given_writer_, {})) return;
  Warn(context_, "../../media/encode/encoder_run",
       "The writer of an encoded stream was gone before its first frame: it is held weakly, keep "
       "it alive");
}

FrameFate EncoderRun::HandOver(const video::EncodedFrame& encoded) {
  const auto writer = writer_.lock();
  // It may have gone, or thrown, while the frame was inside the encoder.
  if (writer == nullptr) return FrameFate::kFailed;
  return CallWriter(*writer, [&] { writer->Write(encoded); });
}

void EncoderRun::HandleEnd(const video::StreamEnd& end) {
  TakeControls();
  encoder_->EndStream(receiver_);
  const auto writer = writer_.lock();
  if (writer != nullptr) CallWriter(*writer, [&] { writer->WriteEnd(end); });
}

void EncoderRun::TakeControls() {
  MutexLock lock(mutex_);
  const bool key_frame = std::exchange(key_frame_requested_, false);
  const bool changed = std::exchange(controls_changed_, false);
  const EncoderControls controls = changed ? controls_ : EncoderControls();
  lock.Unlock();
  // A writer's first frame must be one that a decoder can begin with.
  const bool new_writer = changed && !IsSame(given_writer_, controls.writer);
  if (new_writer) {
    // What is inside belongs to the stream of the one before.
    encoder_->Flush(receiver_);
    given_writer_ = writer_ = controls.writer;
    is_writer_known_ = false;
  }
  if (changed) encoder_->SetParams(controls.params, controls.regions);
  if (key_frame || new_writer) encoder_->RequestKeyFrame();
}

template <class Call>
FrameFate EncoderRun::CallWriter(const video::IVideoFrameTrackWriter& writer, Call&& call) {
  {
    const WriterTurn turn(writer);
    // Asked when it is its turn, which may have been long in coming.
    if (!MayWrite()) return FrameFate::kStopped;
    if (movra_logging::CallGuarded("The writer of an encoded stream", std::forward<Call>(call))) {
      return FrameFate::kEncoded;
    }
  }
  writer_.reset();
  events_.Failed(video::VideoEncoderError::kEncodeFailed,
                 "the stream's writer threw, and nothing more is written to it");
  return FrameFate::kFailed;
}

bool EncoderRun::MayWrite() {
  const MutexLock lock(mutex_);
  return !abandoned_;
}

}  // namespace movra::media
