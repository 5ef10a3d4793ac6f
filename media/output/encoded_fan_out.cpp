#include "media/output/encoded_fan_out.h"

#include <utility>

namespace movra::media {
namespace {

constexpr std::size_t kMebibyte = std::size_t{1} << 20;

}  // namespace

SinkQueue UsualSinkQueue(SinkPolicy policy, SourceClock clock) {
  SinkQueue queue;
  queue.policy = policy;
  if (policy == SinkPolicy::kLossless) {
    queue.max_bytes = 32 * kMebibyte;
    queue.waits_when_full = clock == SourceClock::kWaits;
  } else {
    queue.max_bytes = 8 * kMebibyte;
    queue.max_frames = 60;
  }
  return queue;
}

EncodedFanOut::EncodedFanOut(std::vector<FanOutSink> sinks) {
  for (const FanOutSink& sink : sinks) sinks_.push_back(sink.sink);
  if (sinks.size() == 1) return;
  for (FanOutSink& sink : sinks) {
    branches_.push_back(
        std::make_shared<SinkBranch>(std::move(sink.sink), sink.queue, std::move(sink.on_error)));
  }
  try {
    for (const auto& branch : branches_) branch->Start();
  } catch (...) {
    // Those that run would wait for frames for ever.
    Close();
    throw;
  }
}

EncodedFanOut::~EncodedFanOut() { Close(); }

void EncodedFanOut::Write(const video::EncodedFrame& frame) {
  if (is_direct()) {
    ++direct_frames_;
    return sinks_.front()->Write(frame);
  }
  const std::shared_ptr<const StoredFrame> stored = pool_.Store(frame);
  for (const auto& branch : branches_) branch->Put(stored);
}

void EncodedFanOut::WriteEnd(const video::StreamEnd& end) {
  if (is_direct()) return sinks_.front()->WriteEnd(end);
  for (const auto& branch : branches_) branch->PutEnd(end);
}

void EncodedFanOut::LimitWaits(std::chrono::milliseconds patience) {
  if (is_direct()) return sinks_.front()->LimitWaits(patience);
  for (const auto& branch : branches_) branch->LimitWaits(patience);
}

void EncodedFanOut::Close(std::optional<std::chrono::nanoseconds> end) {
  if (is_direct()) return sinks_.front()->Close(end);
  for (const auto& branch : branches_) branch->Close(end);
}

SinkFigures EncodedFanOut::figures(std::size_t index) const {
  if (!is_direct()) return branches_[index]->figures();
  SinkFigures figures;
  figures.handed = direct_frames_;
  figures.passed = direct_frames_;
  figures.written = sinks_[index]->written();
  return figures;
}

bool EncodedFanOut::broken_off(std::size_t index) const {
  return sinks_[index]->failed() || (!is_direct() && branches_[index]->broken_off());
}

}  // namespace movra::media
