#include "media/effects/stage_frame.h"

#include <utility>

namespace movra::media {

StageFrame::StageFrame(video::PixelFrame frame, FramePool& pool)
    : pool_(pool), frame_(std::move(frame)) {}

const video::PixelFrameInfo& StageFrame::info() const {
  return writable_ ? writable_.info() : frame_.info();
}

const video::PixelFrame& StageFrame::picture() {
  if (writable_) frame_ = std::move(writable_).Finish();
  return frame_;
}

WritableFrame* StageFrame::Write() {
  if (!writable_) writable_ = WritableFrame::Of(std::move(frame_), pool_);
  return writable_ ? &writable_ : nullptr;
}

void StageFrame::Replace(const video::PixelFrame& picture) {
  frame_ = picture.InStreamOf(info());
  writable_ = {};
}

}  // namespace movra::media
