#include "media/frame/frame_pool.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <mutex>
#include <new>
#include <utility>

#include "media/frame/frame_layout.h"
#include "media/frame/kept_share.h"

namespace movra::media {
namespace {

constexpr std::size_t kAlignment = 64;

std::size_t RoundUp(std::size_t bytes) {
  return (bytes + kAlignment - 1) / kAlignment * kAlignment;
}

struct AlignedDelete {
  void operator()(std::uint8_t* memory) const {
    ::operator delete (memory, std::align_val_t{kAlignment});
  }
};

struct Buffer {
  std::unique_ptr<std::uint8_t, AlignedDelete> memory;
  std::size_t bytes = 0;
};

}  // namespace

class FramePool::Store {
 public:
  explicit Store(std::size_t max_idle) : max_idle_(max_idle) {}

  // The buffer that came back last is the one most likely to be in the cache. Without memory when
  // there is none: pictures are large, and one that cannot be made ends no process.
  Buffer Take(std::size_t bytes) {
    {
      const std::lock_guard lock(mutex_);
      const auto found = std::find_if(idle_.rbegin(), idle_.rend(),
                                      [&](const Buffer& buffer) { return buffer.bytes == bytes; });
      if (found != idle_.rend()) {
        Buffer buffer = std::move(*found);
        idle_.erase(std::next(found).base());
        return buffer;
      }
      ++allocations_;
    }
    auto* const memory = static_cast<std::uint8_t*>(
        ::operator new (bytes, std::align_val_t{kAlignment}, std::nothrow));
    return {std::unique_ptr<std::uint8_t, AlignedDelete>(memory), bytes};
  }

  void Return(Buffer buffer) {
    Buffer freed;  // Outside the lock.
    const std::lock_guard lock(mutex_);
    idle_.push_back(std::move(buffer));
    if (idle_.size() > max_idle_) {
      freed = std::move(idle_.front());
      idle_.pop_front();
    }
  }

  std::size_t idle_buffers() const {
    const std::lock_guard lock(mutex_);
    return idle_.size();
  }

  std::uint64_t allocations() const {
    const std::lock_guard lock(mutex_);
    return allocations_;
  }

 private:
  const std::size_t max_idle_;
  mutable std::mutex mutex_;
  // Guarded by mutex_.
  std::deque<Buffer> idle_;
  std::uint64_t allocations_ = 0;
};

// The deleter of a pool frame's owner; also what tells such a frame from a library's.
struct FramePool::Returner {
  std::shared_ptr<Store> store;
  std::size_t bytes;

  void operator()(std::uint8_t* memory) const {
    store->Return({std::unique_ptr<std::uint8_t, AlignedDelete>(memory), bytes});
  }
};

FramePool::FramePool(std::size_t max_idle) : store_(std::make_shared<Store>(max_idle)) {}

WritableFrame FramePool::Allocate(video::PixelFormat format, const video::Size& size,
                                  const video::PixelFrameInfo& like) {
  if (!IsAllocatable(format, size)) return {};
  video::PixelFrameInfo info = like;
  info.format = format;
  info.buffer_type = video::BufferType::kMemory;
  info.size = size;
  info.planes = {};
  std::size_t bytes = 0;
  std::array<std::size_t, video::PixelFrameInfo::kMaxPlanes> offsets{};
  for (std::size_t i = 0; i < PlaneCount(format); ++i) {
    const PlaneLayout layout = LayoutOf(format, size, i);
    const std::size_t stride = RoundUp(layout.row_bytes());
    info.planes[i].stride = static_cast<std::int32_t>(stride);
    offsets[i] = bytes;
    bytes += stride * static_cast<std::size_t>(layout.samples.height);
  }
  Buffer buffer = store_->Take(bytes);
  std::uint8_t* const memory = buffer.memory.get();
  if (memory == nullptr) return {};
  for (std::size_t i = 0; i < PlaneCount(format); ++i) info.planes[i].data = memory + offsets[i];
  const std::shared_ptr<std::uint8_t> owner(buffer.memory.release(), Returner{store_, bytes});
  return {info, owner};
}

std::size_t FramePool::idle_buffers() const { return store_->idle_buffers(); }

std::uint64_t FramePool::allocations() const { return store_->allocations(); }

WritableFrame::WritableFrame(const video::PixelFrameInfo& info, std::shared_ptr<const void> owner)
    : info_(info), owner_(std::move(owner)) {}

WritableFrame WritableFrame::Of(video::PixelFrame frame, FramePool& pool) {
  if (!frame) return {};
  const video::PixelFrameInfo info = frame.info();
  std::shared_ptr<const void> owner = frame.owner();
  frame = {};
  const bool is_a_pools = std::get_deleter<FramePool::Returner>(owner) != nullptr;
  if (is_a_pools && KeptShare::TakeForWriting(owner)) {
    // Counting does not synchronise; giving a share back does. After it, what the former sharers
    // did with the samples happened before what we do.
    std::shared_ptr<const void>(owner).reset();
    return {info, std::move(owner)};
  }
  WritableFrame copy = pool.Allocate(info.format, info.size, info);
  if (!copy) return {};
  for (std::size_t i = 0; i < PlaneCount(info.format); ++i) {
    const PlaneLayout layout = LayoutOf(info.format, info.size, i);
    for (int row = 0; row < layout.samples.height; ++row) {
      const std::ptrdiff_t y = row;
      std::memcpy(copy.plane(i) + y * copy.stride(i),
                  info.planes[i].data + y * info.planes[i].stride, layout.row_bytes());
    }
  }
  return copy;
}

std::uint8_t* WritableFrame::plane(std::size_t index) {
  return const_cast<std::uint8_t*>(info_.planes[index].data);  // Ours alone; see Of and Allocate.
}

video::PixelFrame WritableFrame::Finish() && { return {info_, std::move(owner_)}; }

}  // namespace movra::media
