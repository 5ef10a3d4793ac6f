#include "media/capture/source_slot.h"

#include <utility>

namespace movra::media {

void SourceSlot::Put(std::unique_ptr<FrameSource> source) {
  const std::lock_guard lock(mutex_);
  source_ = std::move(source);
  if (source_ != nullptr && interrupted_) source_->Interrupt();
}

std::unique_ptr<FrameSource> SourceSlot::Take() {
  const std::lock_guard lock(mutex_);
  return std::move(source_);
}

void SourceSlot::Interrupt() {
  const std::lock_guard lock(mutex_);
  interrupted_ = true;
  if (source_ != nullptr) source_->Interrupt();
}

}  // namespace movra::media
