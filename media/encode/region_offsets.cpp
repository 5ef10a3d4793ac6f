#include "media/encode/region_offsets.h"

#include <algorithm>
#include <cstdint>

namespace movra::media {
namespace {

constexpr std::int64_t kMacroblock = 16;

struct Span {
  std::int64_t begin;
  std::int64_t end;
};

// The macroblocks that [start, start + extent) touches, of `count`. In 64 bits: positions and
// extents are whatever the application says.
Span Touched(std::int64_t start, std::int64_t extent, std::int64_t count) {
  const std::int64_t end = start + std::max<std::int64_t>(0, extent);
  const std::int64_t first = std::clamp<std::int64_t>(start, 0, count * kMacroblock) / kMacroblock;
  const std::int64_t last =
      (std::clamp<std::int64_t>(end, 0, count * kMacroblock) + kMacroblock - 1) / kMacroblock;
  return {first, end > start ? last : first};
}

}  // namespace

std::vector<float> RegionOffsets(const std::vector<video::RoiConfigInfo>& regions,
                                 const video::Size& size) {
  if (regions.empty()) return {};
  const std::int64_t columns = (size.width + kMacroblock - 1) / kMacroblock;
  const std::int64_t rows = (size.height + kMacroblock - 1) / kMacroblock;
  std::vector<float> offsets(static_cast<std::size_t>(columns * rows), 0.0F);
  for (const video::RoiConfigInfo& region : regions) {
    const Span across = Touched(region.x, region.width, columns);
    const Span down = Touched(region.y, region.height, rows);
    const auto offset = static_cast<float>(std::clamp(region.qp_delta, -51, 51));
    for (std::int64_t row = down.begin; row < down.end; ++row) {
      const auto line = offsets.begin() + row * columns;
      std::fill(line + across.begin, line + std::max(across.begin, across.end), offset);
    }
  }
  return offsets;
}

}  // namespace movra::media
