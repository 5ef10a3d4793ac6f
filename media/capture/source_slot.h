#ifndef MOVRA_MEDIA_CAPTURE_SOURCE_SLOT_H_
#define MOVRA_MEDIA_CAPTURE_SOURCE_SLOT_H_

#include <memory>
#include <mutex>

#include "media/capture/frame_source.h"

namespace movra::media {

// Where a thread keeps the source that it makes, so that others can interrupt it at any moment:
// also before it is made, and while it goes.
class SourceSlot {
 public:
  // The thread's own. A source that is put in after an interruption is interrupted at once. Null is
  // no source.
  void Put(std::unique_ptr<FrameSource> source);
  [[nodiscard]] FrameSource* get() const { return source_.get(); }
  [[nodiscard]] std::unique_ptr<FrameSource> Take();

  // Any thread.
  void Interrupt();

 private:
  // Guards the exchange of the source against the interruption. It is held during
  // FrameSource::Interrupt, which waits for nobody and calls nobody.
  std::mutex mutex_;
  std::unique_ptr<FrameSource> source_;  // Written under mutex_ by the thread, which reads it.
  bool interrupted_ = false;             // Guarded by mutex_.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_SOURCE_SLOT_H_
