#include "media/camera/frame_marker.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace movra::media {
namespace {

using video::Size;

constexpr int kColumns = 8;
constexpr int kRows = 4;
constexpr int kCells = kColumns * kRows;
constexpr int ColumnOf(int cell) { return cell % kColumns; }
constexpr int RowOf(int cell) { return cell / kColumns; }
constexpr double kCellsPerShortSide = 16;
constexpr double kFrameWidth = 0.5;  // In cells.
constexpr std::uint8_t kWhite = 235;
constexpr std::uint8_t kBlack = 16;
constexpr int kMinShortSide = 32;
constexpr double kMinContrast = 40;

// Turns small numbers into a mixture of black and white cells, so that a block read at a wrong
// scale never finds its frame among cells of one colour.
constexpr std::uint32_t kScramble = 0x5AC396;

// CRC-8 (polynomial x^8 + x^2 + x + 1) over the 24 bits. Started from ones and inverted, so that
// neither an all-white nor an all-black block checks.
std::uint8_t Checksum(std::uint32_t bits) {
  std::uint32_t crc = 0xFF;
  for (int shift = 16; shift >= 0; shift -= 8) {
    crc ^= (bits >> shift) & 0xFF;
    for (int i = 0; i < 8; ++i) crc = (crc & 0x80) ? ((crc << 1) ^ 0x07) & 0xFF : crc << 1;
  }
  return static_cast<std::uint8_t>(~crc);
}

// Where the block lies: its centre is the picture's; the two sides of a cell differ only after a
// stretch.
struct Geometry {
  double center_x;
  double center_y;
  double cell_width;
  double cell_height;

  // Pixel positions of the grid line `column` or `row`, which may be fractions.
  [[nodiscard]] double X(double column) const { return center_x + (column - 4) * cell_width; }
  [[nodiscard]] double Y(double row) const { return center_y + (row - 2) * cell_height; }
};

Geometry MakeGeometry(Size size, double cell_width, double cell_height) {
  return {size.width / 2.0, size.height / 2.0, cell_width, cell_height};
}

int ToPixel(double position) { return static_cast<int>(std::lround(position)); }

void FillCells(std::uint8_t* luma, int stride, const Geometry& at, double left, double top,
               double right, double bottom, std::uint8_t value) {
  const int x0 = ToPixel(at.X(left));
  const int x1 = ToPixel(at.X(right));
  const int y1 = ToPixel(at.Y(bottom));
  for (int y = ToPixel(at.Y(top)); y < y1; ++y) {
    std::memset(luma + std::ptrdiff_t{y} * stride + x0, value, static_cast<std::size_t>(x1 - x0));
  }
}

class MarkerReader {
 public:
  MarkerReader(const std::uint8_t* luma, int stride, Size size)
      : luma_(luma), stride_(stride), size_(size) {}

  std::optional<std::uint32_t> ReadAt(double cell_width, double cell_height) const {
    const Geometry at = MakeGeometry(size_, cell_width, cell_height);
    if (at.X(-kFrameWidth / 2) < 0 || at.Y(-kFrameWidth / 2) < 0) return std::nullopt;

    std::array<double, kCells> levels{};
    for (int i = 0; i < kCells; ++i) {
      levels[static_cast<std::size_t>(i)] = Mean(at, ColumnOf(i) + 0.25, RowOf(i) + 0.25, 0.5);
    }
    const auto [low, high] = std::minmax_element(levels.begin(), levels.end());
    if (*high - *low < kMinContrast) return std::nullopt;
    const double threshold = (*low + *high) / 2;
    if (!HasFrame(at, threshold)) return std::nullopt;

    std::uint32_t word = 0;
    for (int i = 0; i < kCells; ++i) {
      const bool white = levels[static_cast<std::size_t>(i)] > threshold;
      if (!IsUniform(at, i, threshold, white)) return std::nullopt;
      word = word << 1 | (white ? 1u : 0u);
    }
    const std::uint32_t bits = word >> 8;
    if ((word & 0xFF) != Checksum(bits)) return std::nullopt;
    return bits ^ kScramble;
  }

 private:
  // The mean of a square of `extent` cells whose top left corner is given in cells.
  [[nodiscard]] double Mean(const Geometry& at, double column, double row, double extent) const {
    const int x0 = std::clamp(static_cast<int>(at.X(column)), 0, size_.width - 1);
    const int y0 = std::clamp(static_cast<int>(at.Y(row)), 0, size_.height - 1);
    const int x1 = std::clamp(static_cast<int>(at.X(column + extent)), x0 + 1, size_.width);
    const int y1 = std::clamp(static_cast<int>(at.Y(row + extent)), y0 + 1, size_.height);
    std::int64_t sum = 0;
    for (int y = y0; y < y1; ++y) {
      const std::uint8_t* line = luma_ + std::ptrdiff_t{y} * stride_;
      for (int x = x0; x < x1; ++x) sum += line[x];
    }
    return static_cast<double>(sum) / static_cast<double>(std::int64_t{x1 - x0} * (y1 - y0));
  }

  // The left side alone is black, so a picture that is mirrored or turned has no such frame.
  [[nodiscard]] bool HasFrame(const Geometry& at, double threshold) const {
    constexpr double kOut =
        3 * kFrameWidth / 4;  // A quarter of the frame on each side is left out.
    constexpr double kExtent = kFrameWidth / 2;
    for (int column = 0; column < kColumns; ++column) {
      const double x = column + 0.5 - kExtent / 2;
      if (Mean(at, x, -kOut, kExtent) <= threshold) return false;
      if (Mean(at, x, kRows + kOut - kExtent, kExtent) <= threshold) return false;
    }
    for (int row = 0; row < kRows; ++row) {
      const double y = row + 0.5 - kExtent / 2;
      if (Mean(at, -kOut, y, kExtent) > threshold) return false;
      if (Mean(at, kColumns + kOut - kExtent, y, kExtent) <= threshold) return false;
    }
    return true;
  }

  // A cell of a block read at a wrong scale straddles others: its quarters disagree.
  [[nodiscard]] bool IsUniform(const Geometry& at, int cell, double threshold, bool white) const {
    for (int quarter = 0; quarter < 4; ++quarter) {
      const double column = ColumnOf(cell) + (quarter % 2 == 0 ? 0.25 : 0.5);
      const double row = RowOf(cell) + (quarter / 2 == 0 ? 0.25 : 0.5);
      if ((Mean(at, column, row, 0.25) > threshold) != white) return false;
    }
    return true;
  }

  const std::uint8_t* const luma_;
  const int stride_;
  const Size size_;
};

}  // namespace

void PaintFrameMarker(std::uint8_t* luma, int stride, Size size, std::uint32_t number) {
  const int short_side = std::min(size.width, size.height);
  if (short_side < kMinShortSide) return;
  const double cell = short_side / kCellsPerShortSide;
  const Geometry at = MakeGeometry(size, cell, cell);
  FillCells(luma, stride, at, -kFrameWidth, -kFrameWidth, kColumns + kFrameWidth,
            kRows + kFrameWidth, kWhite);
  FillCells(luma, stride, at, -kFrameWidth, 0, 0, kRows, kBlack);
  const std::uint32_t bits = (number % kFrameMarkerPeriod) ^ kScramble;
  const std::uint32_t word = bits << 8 | Checksum(bits);
  for (int i = 0; i < kCells; ++i) {
    if (word >> (kCells - 1 - i) & 1) continue;
    const int column = ColumnOf(i);
    const int row = RowOf(i);
    FillCells(luma, stride, at, column, row, column + 1, row + 1, kBlack);
  }
}

video::Region FrameMarkerRegion(Size size) {
  const int short_side = std::min(size.width, size.height);
  if (short_side < kMinShortSide) return {};
  const double cell = short_side / kCellsPerShortSide;
  const Geometry at = MakeGeometry(size, cell, cell);
  const int left = ToPixel(at.X(-kFrameWidth)) / 2 * 2;
  const int top = ToPixel(at.Y(-kFrameWidth)) / 2 * 2;
  const int right = (ToPixel(at.X(kColumns + kFrameWidth)) + 1) / 2 * 2;
  const int bottom = (ToPixel(at.Y(kRows + kFrameWidth)) + 1) / 2 * 2;
  return {left, top, right - left, bottom - top};
}

std::optional<std::uint32_t> ReadFrameMarker(const std::uint8_t* luma, int stride, Size size) {
  const int short_side = std::min(size.width, size.height);
  if (short_side < kMinShortSide) return std::nullopt;
  const MarkerReader reader(luma, stride, size);
  const double own_cell = short_side / kCellsPerShortSide;
  if (const auto number = reader.ReadAt(own_cell, own_cell)) return number;

  // A cell may be misjudged by about 6 % before the outermost cells are missed.
  constexpr double kStep = 1.04;
  const double largest = short_side / 3.0;
  for (double cell = largest; cell >= 2; cell /= kStep) {
    if (const auto number = reader.ReadAt(cell, cell)) return number;
  }
  for (double width = largest; width >= 2; width /= kStep) {
    for (double height = largest; height >= 2; height /= kStep) {
      if (const auto number = reader.ReadAt(width, height)) return number;
    }
  }
  return std::nullopt;
}

std::optional<std::uint32_t> ReadFrameMarker(const video::PixelFrame& frame) {
  const video::PixelFrameInfo& info = frame.info();
  switch (info.format) {
    case video::PixelFormat::kI420:
    case video::PixelFormat::kNV12:
    case video::PixelFormat::kI422:
    case video::PixelFormat::kI444:
    case video::PixelFormat::kGray:
      return ReadFrameMarker(info.planes[0].data, info.planes[0].stride, info.size);
    default:
      return std::nullopt;
  }
}

}  // namespace movra::media
