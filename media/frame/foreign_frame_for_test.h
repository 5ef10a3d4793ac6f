// A picture as a library hands it over: planes that lie anywhere, each with a stride of its own.

#ifndef MOVRA_MEDIA_FRAME_FOREIGN_FRAME_FOR_TEST_H_
#define MOVRA_MEDIA_FRAME_FOREIGN_FRAME_FOR_TEST_H_

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "media/frame/frame_layout.h"
#include "video/pixel_frame.h"

namespace movra::media {

// Memory whose last byte is followed by pages that nobody may touch: reading beyond it ends the
// test, with any compiler.
class GuardedMemory {
 public:
  explicit GuardedMemory(std::size_t bytes) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t usable = (bytes + page - 1) / page * page;
    mapped_bytes_ = usable + page;
    mapped_ =
        mmap(nullptr, mapped_bytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    auto* const begin = static_cast<std::uint8_t*>(mapped_);
    mprotect(begin + usable, page, PROT_NONE);
    data_ = begin + usable - bytes;
  }
  ~GuardedMemory() { munmap(mapped_, mapped_bytes_); }
  GuardedMemory(const GuardedMemory&) = delete;
  GuardedMemory& operator=(const GuardedMemory&) = delete;

  [[nodiscard]] std::uint8_t* data() const { return data_; }

 private:
  void* mapped_ = nullptr;
  std::size_t mapped_bytes_ = 0;
  std::uint8_t* data_ = nullptr;
};

// A copy of the frame whose strides differ from plane to plane and whose last rows end where their
// samples do. Between the rows stands what shows up wherever it is read as a sample.
inline video::PixelFrame ForeignCopy(const video::PixelFrame& frame) {
  using Planes = std::vector<std::unique_ptr<GuardedMemory>>;
  const auto planes = std::make_shared<Planes>();
  video::PixelFrameInfo info = frame.info();
  for (std::size_t i = 0; i < PlaneCount(info.format); ++i) {
    const PlaneLayout layout = LayoutOf(info.format, info.size, i);
    const std::size_t stride = layout.row_bytes() + 6 + 10 * i;  // Even, for samples of 16 bits.
    const auto rows = static_cast<std::size_t>(layout.samples.height);
    const std::size_t bytes = (rows - 1) * stride + layout.row_bytes();
    planes->push_back(std::make_unique<GuardedMemory>(bytes));
    std::uint8_t* const data = planes->back()->data();
    std::memset(data, 0xEE, bytes);
    for (std::size_t y = 0; y < rows; ++y) {
      std::memcpy(data + y * stride,
                  frame.info().planes[i].data +
                      static_cast<std::ptrdiff_t>(y) * frame.info().planes[i].stride,
                  layout.row_bytes());
    }
    info.planes[i] = {data, static_cast<std::int32_t>(stride)};
  }
  return {info, planes};
}

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FRAME_FOREIGN_FRAME_FOR_TEST_H_
