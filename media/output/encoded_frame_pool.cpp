#include "media/output/encoded_frame_pool.h"

#include <cstddef>
#include <mutex>
#include <utility>

namespace movra::media {
namespace {

// As many as wait where all sinks keep up; behind a jam the memory goes back.
constexpr std::size_t kMostIdle = 16;

}  // namespace

// The frames that nobody has.
class EncodedFramePool::Shelf {
 public:
  [[nodiscard]] std::unique_ptr<StoredFrame> Take() {
    const std::lock_guard lock(mutex_);
    if (idle_.empty()) return std::make_unique<StoredFrame>();
    auto frame = std::move(idle_.back());
    idle_.pop_back();
    return frame;
  }

  void PutBack(std::unique_ptr<StoredFrame> frame) {
    const std::lock_guard lock(mutex_);
    if (idle_.size() < kMostIdle) idle_.push_back(std::move(frame));
  }

 private:
  std::mutex mutex_;
  std::vector<std::unique_ptr<StoredFrame>> idle_;  // Guarded by mutex_.
};

EncodedFramePool::EncodedFramePool() : shelf_(std::make_shared<Shelf>()) {}

std::shared_ptr<const StoredFrame> EncodedFramePool::Store(const video::EncodedFrame& frame) {
  std::unique_ptr<StoredFrame> stored = shelf_->Take();
  stored->bytes.assign(frame.data, frame.data + frame.size_bytes);
  stored->frame = frame;
  stored->frame.data = stored->bytes.data();
  return {stored.release(), [shelf = shelf_](StoredFrame* gone) {
            shelf->PutBack(std::unique_ptr<StoredFrame>(gone));
          }};
}

}  // namespace movra::media
