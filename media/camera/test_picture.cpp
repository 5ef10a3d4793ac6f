#include "media/camera/test_picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>
#include <utility>

#include "media/camera/frame_marker.h"

namespace movra::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using video::Size;

constexpr int kPeriod = 256;  // The background repeats after so many luma columns.
constexpr int kPatch = 64;    // Grain comes in patches, so that both smooth and busy parts move.
constexpr int kGrain = 24;
constexpr double kTurn = 2 * std::numbers::pi / kPeriod;

// Where something is that crosses `range` pixels back and forth at `speed` pixels a second.
int Bounce(nanoseconds time, int speed, int range) {
  if (range <= 0) return 0;
  const std::int64_t way = std::chrono::duration_cast<milliseconds>(time).count() * speed / 1000;
  const auto at = static_cast<int>(way % (2 * range));
  return at < range ? at : 2 * range - at;
}

int Grain(int x, int y) {
  std::uint32_t hash =
      static_cast<std::uint32_t>(x) * 0x9E3779B1u ^ static_cast<std::uint32_t>(y) * 0x85EBCA77u;
  hash = (hash ^ hash >> 15) * 0x2C1B3C6Du;
  return static_cast<int>(hash >> 16) % kGrain - kGrain / 2;
}

void FillRows(std::uint8_t* plane, int stride, int left, int top, int right, int bottom,
              std::uint8_t value) {
  for (int y = top; y < bottom; ++y) {
    std::memset(plane + std::ptrdiff_t{y} * stride + left, value,
                static_cast<std::size_t>(right - left));
  }
}

// Takes the colour from a part of an I420 picture; left and top are even.
void FillGrey(WritableFrame& frame, int left, int top, int right, int bottom) {
  for (const std::size_t plane : {1U, 2U}) {
    FillRows(frame.plane(plane), frame.stride(plane), left / 2, top / 2, (right + 1) / 2,
             (bottom + 1) / 2, 128);
  }
}

void CopyPlane(const std::vector<std::uint8_t>& source, int source_stride, int offset,
               std::uint8_t* target, int target_stride, int width, int height) {
  const std::uint8_t* row = source.data() + offset;
  for (int y = 0; y < height; ++y, row += source_stride, target += target_stride) {
    std::memcpy(target, row, static_cast<std::size_t>(width));
  }
}

}  // namespace

TestPicture::TestPicture(Size size) : size_(size), text_(std::min(size.width, size.height) / 14) {
  DrawBackground();
}

void TestPicture::DrawBackground() {
  const int width = size_.width + kPeriod;
  luma_.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(size_.height));
  std::array<int, kPeriod> waves{};
  for (int x = 0; x < kPeriod; ++x) {
    waves[static_cast<std::size_t>(x)] = static_cast<int>(std::lround(30 * std::sin(x * kTurn)));
  }
  std::uint8_t* sample = luma_.data();
  for (int y = 0; y < size_.height; ++y) {
    const int slope = 80 + 90 * y / size_.height;
    for (int x = 0; x < width; ++x) {
      const int column = x % kPeriod;
      const bool grainy = (column / kPatch + y / kPatch) % 2 == 0;
      const int value =
          slope + waves[static_cast<std::size_t>(column)] + (grainy ? Grain(column, y) : 0);
      *sample++ = static_cast<std::uint8_t>(value);
    }
  }
  const int chroma_width = width / 2;
  const int chroma_height = size_.height / 2;
  chroma_u_.resize(static_cast<std::size_t>(chroma_width) *
                   static_cast<std::size_t>(chroma_height));
  chroma_v_.resize(chroma_u_.size());
  for (int x = 0; x < chroma_width; ++x) {
    const auto value =
        static_cast<std::uint8_t>(std::lround(128 + 40 * std::cos(2 * x % kPeriod * kTurn)));
    chroma_u_[static_cast<std::size_t>(x)] = value;
  }
  for (int y = 0; y < chroma_height; ++y) {
    const auto at = static_cast<std::size_t>(y) * static_cast<std::size_t>(chroma_width);
    std::memcpy(chroma_u_.data() + at, chroma_u_.data(), static_cast<std::size_t>(chroma_width));
    std::memset(chroma_v_.data() + at, 100 + 56 * y / chroma_height,
                static_cast<std::size_t>(chroma_width));
  }
}

video::PixelFrame TestPicture::Draw(std::uint64_t number, nanoseconds time, FramePool& pool) const {
  video::PixelFrameInfo info;
  info.timestamp = time;
  info.sequence = number;
  info.color = {.primaries = 1, .transfer = 1, .matrix = 1, .full_range = false};
  WritableFrame frame = pool.Allocate(video::PixelFormat::kI420, size_, info);
  if (!frame) return {};

  // 60 pixels a second, in steps of two because chroma moves along.
  const std::int64_t way = std::chrono::duration_cast<milliseconds>(time).count() * 60 / 1000;
  const auto shift = static_cast<int>(way % kPeriod / 2 * 2);
  const int stride = size_.width + kPeriod;
  CopyPlane(luma_, stride, shift, frame.plane(0), frame.stride(0), size_.width, size_.height);
  CopyPlane(chroma_u_, stride / 2, shift / 2, frame.plane(1), frame.stride(1), size_.width / 2,
            size_.height / 2);
  CopyPlane(chroma_v_, stride / 2, shift / 2, frame.plane(2), frame.stride(2), size_.width / 2,
            size_.height / 2);
  DrawDisc(frame, time);
  DrawFigures(frame, number, time);
  PaintFrameMarker(frame.plane(0), frame.stride(0), size_, static_cast<std::uint32_t>(number));
  const video::Region marker = FrameMarkerRegion(size_);
  FillGrey(frame, marker.x, marker.y, marker.x + marker.width, marker.y + marker.height);
  return std::move(frame).Finish();
}

void TestPicture::DrawDisc(WritableFrame& frame, nanoseconds time) const {
  const int radius = std::min(size_.width, size_.height) / 8;  // In luma pixels.
  const int x = radius + Bounce(time, size_.width / 4, size_.width - 2 * radius - 2);
  const int y = radius + Bounce(time, size_.height / 3, size_.height - 2 * radius - 2);
  for (int dy = -radius; dy <= radius; ++dy) {
    const auto half = static_cast<int>(std::sqrt(radius * radius - dy * dy));
    FillRows(frame.plane(0), frame.stride(0), x - half, y + dy, x + half, y + dy + 1, 190);
    if ((y + dy) % 2 != 0) continue;
    for (const auto& [plane, value] : {std::pair<std::size_t, std::uint8_t>{1, 70}, {2, 180}}) {
      FillRows(frame.plane(plane), frame.stride(plane), (x - half) / 2, (y + dy) / 2,
               (x + half) / 2, (y + dy) / 2 + 1, value);
    }
  }
}

void TestPicture::DrawFigures(WritableFrame& frame, std::uint64_t number, nanoseconds time) const {
  const std::int64_t ms = std::chrono::duration_cast<milliseconds>(time).count();
  std::array<char, 64> text{};
  const int length = std::snprintf(
      text.data(), text.size(), "%02lld:%02lld:%02lld.%03lld #%06llu",
      static_cast<long long>(ms / 3'600'000), static_cast<long long>(ms / 60'000 % 60),
      static_cast<long long>(ms / 1000 % 60), static_cast<long long>(ms % 1000),
      static_cast<unsigned long long>(number));
  const Size glyph = text_.glyph_size();
  const int width = std::min(length * glyph.width, size_.width) / 2 * 2;
  const int left = (size_.width - width) / 4 * 2;
  const int top = (size_.height - size_.height / 16 - glyph.height) / 2 * 2;
  if (top < 0) return;
  text_.Draw(frame.plane(0), frame.stride(0), size_, left, top,
             {text.data(), static_cast<std::size_t>(length)});
  FillGrey(frame, left, top, left + width, top + glyph.height);
}

}  // namespace movra::media
