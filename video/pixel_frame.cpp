#include "video/pixel_frame.h"

#include <cstddef>
#include <string>

#include "logging/log_message.h"
#include "logging/log_stream.h"
#include "video/pixel_layout.h"
#include "video/to_string.h"

namespace movra::video {
namespace {

constexpr std::int32_t kLongestStride = 1 << 24;

// Where the planes lie, each from the beginning of the samples.
struct Arrangement {
  std::array<std::size_t, PixelFrameInfo::kMaxPlanes> offsets{};
  std::array<std::size_t, PixelFrameInfo::kMaxPlanes> strides{};
  std::size_t bytes = 0;  // To the last sample.
};

Arrangement Arrange(PixelFormat format, const Size& size, std::int32_t stride) {
  Arrangement made;
  const int bytes_per_sample = LayoutOf(format, size, 0).bytes_per_sample;
  std::size_t end = 0;
  for (std::size_t i = 0; i < PlaneCount(format); ++i) {
    const PlaneLayout plane = LayoutOf(format, size, i);
    const PlaneLayout row = LayoutOf(format, {stride / bytes_per_sample, 1}, i);
    made.offsets[i] = end;
    made.strides[i] = i == 0 ? static_cast<std::size_t>(stride) : row.row_bytes();
    const auto rows = static_cast<std::size_t>(plane.samples.height);
    made.bytes = end + made.strides[i] * (rows - 1) + plane.row_bytes();
    end += made.strides[i] * rows;
  }
  return made;
}

// What is wrong, for people; empty if nothing is.
std::string FindFault(PixelFormat format, const Size& size, std::size_t bytes,
                      std::int32_t stride) {
  if (PlaneCount(format) == 0) return "the format has no planes";
  if (!IsAllocatable(format, size)) {
    return "sides are 1 to " + std::to_string(kLongestSide) + " pixels";
  }
  const PlaneLayout first = LayoutOf(format, size, 0);
  if (stride < 0 || static_cast<std::size_t>(stride) < first.row_bytes()) {
    return "a row has " + std::to_string(first.row_bytes()) + " bytes, and the stride is " +
           std::to_string(stride);
  }
  const bool is_planar = PlaneCount(format) > 1;
  if (stride > kLongestStride || (is_planar && stride % first.bytes_per_sample != 0)) {
    return "a stride of " + std::to_string(stride) + " bytes does not fit";
  }
  const std::size_t needed = Arrange(format, size, stride).bytes;
  if (bytes >= needed) return "";
  return std::to_string(needed) + " bytes are needed, and there are " + std::to_string(bytes);
}

void Warn(PixelFormat format, const Size& size, const std::string& fault) {
  if (!movra_logging::ShouldCreateLogMessage(movra_logging::kLogLevelWarning)) return;
  LogStream("../../video/pixel_frame", __LINE__, __func__, movra_logging::kLogLevelWarning, nullptr)
      << "PixelFrameInfo::For " << PixelFormatToString(format) << " "
      << std::to_string(size.width) + "x" + std::to_string(size.height) << ": " << fault;
}

}  // namespace

PixelFrameInfo PixelFrameInfo::For(PixelFormat format, const Size& size,
                                   std::span<const std::uint8_t> samples, std::int32_t stride) {
  PixelFrameInfo info{.format = format, .size = size};
  if (stride == 0 && IsAllocatable(format, size)) {
    stride = static_cast<std::int32_t>(LayoutOf(format, size, 0).row_bytes());
  }
  const std::string fault = FindFault(format, size, samples.size(), stride);
  if (!fault.empty()) {
    Warn(format, size, fault);
    return info;
  }
  const Arrangement arranged = Arrange(format, size, stride);
  for (std::size_t i = 0; i < PlaneCount(format); ++i) {
    info.planes[i] = {.data = samples.data() + arranged.offsets[i],
                      .stride = static_cast<std::int32_t>(arranged.strides[i])};
  }
  return info;
}

}  // namespace movra::video
