#include "media/camera/clock_text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace movra::media {
namespace {

constexpr std::string_view kCharacters = "0123456789:.# ";
constexpr int kBlack = 16;
constexpr int kWhite = 235;

// Five columns and seven rows, the leftmost column in the highest bit. They are our own because a
// picture that takes them from a font is another one on each machine.
constexpr int kRows = 7;
constexpr int kColumns = 5;
using Glyph = std::array<std::uint8_t, kRows>;
constexpr std::array<Glyph, kCharacters.size()> kGlyphs{{
    {0b01110, 0b10001, 0b10011, 0b10101, 0b11001, 0b10001, 0b01110},
    {0b00100, 0b01100, 0b00100, 0b00100, 0b00100, 0b00100, 0b01110},
    {0b01110, 0b10001, 0b00001, 0b00010, 0b00100, 0b01000, 0b11111},
    {0b11111, 0b00010, 0b00100, 0b00010, 0b00001, 0b10001, 0b01110},
    {0b00010, 0b00110, 0b01010, 0b10010, 0b11111, 0b00010, 0b00010},
    {0b11111, 0b10000, 0b11110, 0b00001, 0b00001, 0b10001, 0b01110},
    {0b00110, 0b01000, 0b10000, 0b11110, 0b10001, 0b10001, 0b01110},
    {0b11111, 0b00001, 0b00010, 0b00100, 0b01000, 0b01000, 0b01000},
    {0b01110, 0b10001, 0b10001, 0b01110, 0b10001, 0b10001, 0b01110},
    {0b01110, 0b10001, 0b10001, 0b01111, 0b00001, 0b00010, 0b01100},
    {0b00000, 0b00100, 0b00100, 0b00000, 0b00100, 0b00100, 0b00000},
    {0b00000, 0b00000, 0b00000, 0b00000, 0b00000, 0b01100, 0b01100},
    {0b01010, 0b01010, 0b11111, 0b01010, 0b11111, 0b01010, 0b01010},
    {},
}};

// A box is a glyph with a row above it and one below, and a column behind it.
constexpr int kBoxRows = kRows + 2;
constexpr int kBoxColumns = kColumns + 1;
constexpr int kSubsamples = 4;  // To each side of a pixel; they smooth the edges.

bool IsLit(const Glyph& glyph, int row, int column) {
  if (row < 0 || row >= kRows || column >= kColumns) return false;
  return (glyph[static_cast<std::size_t>(row)] >> (kColumns - 1 - column) & 1) != 0;
}

std::uint8_t Sample(const Glyph& glyph, const video::Size& box, int x, int y) {
  int lit = 0;
  for (int part = 0; part < kSubsamples * kSubsamples; ++part) {
    const int row = (y * kSubsamples + part / kSubsamples) * kBoxRows;
    const int column = (x * kSubsamples + part % kSubsamples) * kBoxColumns;
    lit += IsLit(glyph, row / (box.height * kSubsamples) - 1, column / (box.width * kSubsamples))
               ? 1
               : 0;
  }
  return static_cast<std::uint8_t>(kBlack + (kWhite - kBlack) * lit / (kSubsamples * kSubsamples));
}

}  // namespace

ClockText::ClockText(int height) {
  glyph_.height = std::max(height, 8);
  glyph_.width = glyph_.height * kBoxColumns / kBoxRows;
  for (const Glyph& glyph : kGlyphs) {
    for (int y = 0; y < glyph_.height; ++y) {
      for (int x = 0; x < glyph_.width; ++x) samples_.push_back(Sample(glyph, glyph_, x, y));
    }
  }
}

void ClockText::Draw(std::uint8_t* luma, int stride, video::Size picture, int x, int y,
                     std::string_view text) const {
  if (y < 0 || y + glyph_.height > picture.height) return;
  for (const char character : text) {
    if (x >= 0 && x + glyph_.width <= picture.width) {
      const std::size_t index = std::min(kCharacters.find(character), kCharacters.size() - 1);
      const auto width = static_cast<std::size_t>(glyph_.width);
      const std::uint8_t* row =
          samples_.data() + index * width * static_cast<std::size_t>(glyph_.height);
      for (int line = 0; line < glyph_.height; ++line, row += width) {
        std::memcpy(luma + std::ptrdiff_t{y + line} * stride + x, row, width);
      }
    }
    x += glyph_.width;
  }
}

}  // namespace movra::media
