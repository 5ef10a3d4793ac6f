#include "media/screen/output_writers.h"

#include <algorithm>
#include <utility>

namespace movra::media {

using video::IPixelFrameTrackWriter;
using video::TrackWriteResult;

void OutputWriters::Add(std::shared_ptr<IPixelFrameTrackWriter> writer) {
  if (writer == nullptr) return;
  Output output{writer, nullptr};
  output.gate = std::make_shared<WriterGate>(std::move(writer));
  const MutexLock lock(mutex_);
  const bool is_there = std::any_of(outputs_.begin(), outputs_.end(), [&](const Output& other) {
    return other.writer.lock() == output.writer.lock();
  });
  if (!is_there) outputs_.push_back(std::move(output));
}

void OutputWriters::Remove(const std::shared_ptr<IPixelFrameTrackWriter>& writer) {
  std::shared_ptr<WriterGate> gate;
  {
    const MutexLock lock(mutex_);
    const auto found = std::find_if(outputs_.begin(), outputs_.end(), [&](const Output& output) {
      return writer != nullptr && output.writer.lock() == writer;
    });
    if (found == outputs_.end()) return;
    gate = std::move(found->gate);
    outputs_.erase(found);
  }
  gate->Shut();
}

void OutputWriters::RemoveAll() {
  std::vector<Output> outputs;
  {
    const MutexLock lock(mutex_);
    outputs.swap(outputs_);
  }
  for (const Output& output : outputs) output.gate->Shut();
}

TrackWriteResult OutputWriters::Write(video::PixelFrame frame) {
  for (const Output& output : Copy()) static_cast<void>(output.gate->Write(frame));
  return TrackWriteResult::kAccepted;
}

void OutputWriters::CountUnwritten(FrameFate fate) {
  for (const Output& output : Copy()) output.gate->CountUnwritten(fate);
}

std::vector<OutputWriters::Output> OutputWriters::Copy() const {
  const MutexLock lock(mutex_);
  return outputs_;
}

}  // namespace movra::media
