#ifndef MOVRA_MEDIA_FRAME_PICTURES_FOR_TEST_H_
#define MOVRA_MEDIA_FRAME_PICTURES_FOR_TEST_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "media/frame/frame_layout.h"
#include "media/frame/frame_pool.h"
#include "video/pixel_frame.h"

namespace movra::media {

inline constexpr std::array kEveryFormat = {video::PixelFormat::kI420, video::PixelFormat::kNV12,
                                            video::PixelFormat::kBGRA, video::PixelFormat::kRGBA,
                                            video::PixelFormat::kI422, video::PixelFormat::kI444,
                                            video::PixelFormat::kGray, video::PixelFormat::kI010};

// One colour, written down in both worlds: BT.601 at limited range.
struct FlatColor {
  std::uint8_t r, g, b;
  std::uint8_t y, u, v;
};
inline constexpr FlatColor kRust{180, 70, 40, 101, 99, 178};
inline constexpr FlatColor kBlack{0, 0, 0, 16, 128, 128};
inline constexpr FlatColor kGray{128, 128, 128, 126, 128, 128};

// The bytes of one sample of a plane in the given colour.
inline std::vector<std::uint8_t> SampleOf(video::PixelFormat format, std::size_t plane,
                                          const FlatColor& c) {
  const auto wide = [](std::uint8_t value) {
    const int scaled = value * 4;
    return std::vector<std::uint8_t>{static_cast<std::uint8_t>(scaled & 0xFF),
                                     static_cast<std::uint8_t>(scaled >> 8)};
  };
  const std::array<std::uint8_t, 3> yuv{c.y, c.u, c.v};
  switch (format) {
    case video::PixelFormat::kBGRA:
      return {c.b, c.g, c.r, 255};
    case video::PixelFormat::kRGBA:
      return {c.r, c.g, c.b, 255};
    case video::PixelFormat::kNV12:
      if (plane == 1) return {c.u, c.v};
      return {c.y};
    case video::PixelFormat::kI010:
      return wide(yuv[plane]);
    default:
      return {yuv[plane]};
  }
}

inline void Fill(WritableFrame& frame, const video::Region& region, const FlatColor& color) {
  const video::PixelFrameInfo place = CropTo(frame.info(), region);
  for (std::size_t i = 0; i < PlaneCount(place.format); ++i) {
    const PlaneLayout layout = LayoutOf(place.format, place.size, i);
    const auto sample = SampleOf(place.format, i, color);
    std::uint8_t* row = frame.plane(i) + (place.planes[i].data - frame.info().planes[i].data);
    for (int y = 0; y < layout.samples.height; ++y, row += frame.stride(i)) {
      for (int x = 0; x < layout.samples.width; ++x) {
        std::memcpy(row + static_cast<std::size_t>(x) * sample.size(), sample.data(),
                    sample.size());
      }
    }
  }
}

inline video::PixelFrame FlatFrame(FramePool& pool, video::PixelFormat format,
                                   const video::Size& size, const FlatColor& color,
                                   const video::PixelFrameInfo& like = {}) {
  WritableFrame frame = pool.Allocate(format, size, like);
  Fill(frame, {0, 0, size.width, size.height}, color);
  return std::move(frame).Finish();
}

// The samples of one plane without padding.
inline std::vector<std::uint8_t> PlaneBytes(const video::PixelFrameInfo& info, std::size_t plane) {
  const PlaneLayout layout = LayoutOf(info.format, info.size, plane);
  std::vector<std::uint8_t> bytes;
  for (int y = 0; y < layout.samples.height; ++y) {
    const std::uint8_t* const row =
        info.planes[plane].data + static_cast<std::ptrdiff_t>(y) * info.planes[plane].stride;
    bytes.insert(bytes.end(), row, row + layout.row_bytes());
  }
  return bytes;
}

// The largest difference of any byte from the colour; of the samples for 16-bit planes.
inline int DistanceFrom(const video::PixelFrameInfo& info, const FlatColor& color) {
  int distance = 0;
  for (std::size_t i = 0; i < PlaneCount(info.format); ++i) {
    const auto expected = SampleOf(info.format, i, color);
    const auto bytes = PlaneBytes(info, i);
    if (info.format == video::PixelFormat::kI010) {
      const int want = expected[0] | expected[1] << 8;
      for (std::size_t k = 0; k < bytes.size(); k += 2) {
        distance = std::max(distance, std::abs((bytes[k] | bytes[k + 1] << 8) - want) / 4);
      }
      continue;
    }
    for (std::size_t k = 0; k < bytes.size(); ++k) {
      distance = std::max(distance, std::abs(bytes[k] - expected[k % expected.size()]));
    }
  }
  return distance;
}

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FRAME_PICTURES_FOR_TEST_H_
