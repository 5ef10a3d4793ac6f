#ifndef MOVRA_MEDIA_FRAME_FRAME_POOL_H_
#define MOVRA_MEDIA_FRAME_FRAME_POOL_H_

#include <cstddef>
#include <cstdint>
#include <memory>

#include "media/frame/writable_frame.h"
#include "video/pixel_frame.h"
#include "video/size.h"
#include "video/video_types.h"

namespace movra::media {

// Picture memory that is used again: a fresh picture costs page faults, more than scaling it does.
//
// A frame's memory comes back when its last handle goes, on whatever thread that is, and waits for
// the next frame of the same number of bytes. At most `max_idle` buffers wait; beyond that the one
// that has waited longest is freed, so the memory follows a change of size. Memory is not cleared.
// Planes and rows are aligned to 64 bytes.
//
// Any thread. Frames may outlive the pool.
class FramePool {
 public:
  static constexpr std::size_t kDefaultMaxIdle = 12;

  explicit FramePool(std::size_t max_idle = kDefaultMaxIdle);

  // A frame to be filled. It takes everything but format, size and planes from `like`: time
  // stamps, sequence, delivery, rotation and colour. Empty if IsAllocatable denies or memory is
  // out.
  [[nodiscard]] WritableFrame Allocate(video::PixelFormat format, const video::Size& size,
                                       const video::PixelFrameInfo& like = {});

  [[nodiscard]] std::size_t idle_buffers() const;
  // Buffers obtained from the system since the pool was made; stands still in a steady state.
  [[nodiscard]] std::uint64_t allocations() const;

 private:
  friend class WritableFrame;
  class Store;
  struct Returner;

  const std::shared_ptr<Store> store_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FRAME_FRAME_POOL_H_
