#include "video/pixel_layout.h"

namespace movra::video {
namespace {

struct FormatFacts {
  std::size_t planes;
  int luma_bytes;    // Per sample of the first plane.
  int chroma_bytes;  // Per sample of the others.
  int chroma_shift_x;
  int chroma_shift_y;
};

FormatFacts FactsOf(PixelFormat format) {
  switch (format) {
    case PixelFormat::kI420:
      return {3, 1, 1, 1, 1};
    case PixelFormat::kNV12:
      return {2, 1, 2, 1, 1};
    case PixelFormat::kBGRA:
    case PixelFormat::kRGBA:
      return {1, 4, 0, 0, 0};
    case PixelFormat::kI422:
      return {3, 1, 1, 1, 0};
    case PixelFormat::kI444:
      return {3, 1, 1, 0, 0};
    case PixelFormat::kGray:
      return {1, 1, 0, 0, 0};
    case PixelFormat::kI010:
      return {3, 2, 2, 1, 1};
    case PixelFormat::kNone:
      break;
  }
  return {0, 0, 0, 0, 0};
}

}  // namespace

std::size_t PlaneCount(PixelFormat format) { return FactsOf(format).planes; }

PlaneLayout LayoutOf(PixelFormat format, const Size& size, std::size_t plane) {
  const FormatFacts facts = FactsOf(format);
  if (plane == 0) return {size, facts.luma_bytes};
  const auto halve = [](std::int32_t side, int shift) {
    return (side + (1 << shift) - 1) >> shift;
  };
  return {{halve(size.width, facts.chroma_shift_x), halve(size.height, facts.chroma_shift_y)},
          facts.chroma_bytes};
}

bool IsAllocatable(PixelFormat format, const Size& size) {
  return PlaneCount(format) > 0 && size.width > 0 && size.height > 0 &&
         size.width <= kLongestSide && size.height <= kLongestSide;
}

}  // namespace movra::video
