#include "media/camera/clock_text.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <memory>

#include "media/dynamic/cairo_api.h"

namespace movra::media {
namespace {

constexpr std::string_view kCharacters = "0123456789:.# ";
constexpr int kBlack = 16;
constexpr int kWhite = 235;

struct CairoDeleter {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_t* context) const { cairo_destroy(context); }
};

}  // namespace

ClockText::ClockText(int height) {
  glyph_ = {std::max(height, 8), std::max(height, 8)};
  // Without Cairo the boxes stay empty: a picture without its clock is still a picture.
  if (LoadCairo().empty()) DrawGlyphs();
  const auto pixels =
      static_cast<std::size_t>(glyph_.width) * static_cast<std::size_t>(glyph_.height);
  samples_.resize(pixels * kCharacters.size(), kBlack);
}

void ClockText::DrawGlyphs() {
  const int count = static_cast<int>(kCharacters.size());
  const double font_size = glyph_.height * 0.9;
  // Wide enough for any font's digits; the box is cut to the widest glyph below.
  const std::unique_ptr<cairo_surface_t, CairoDeleter> surface(
      cairo_image_surface_create(CAIRO_FORMAT_A8, glyph_.height * 2, glyph_.height * count));
  const std::unique_ptr<cairo_t, CairoDeleter> context(cairo_create(surface.get()));
  cairo_select_font_face(context.get(), "monospace", CAIRO_FONT_SLANT_NORMAL,
                         CAIRO_FONT_WEIGHT_BOLD);
  cairo_set_font_size(context.get(), font_size);
  cairo_font_extents_t font;
  cairo_font_extents(context.get(), &font);
  const int baseline =
      static_cast<int>(std::lround((glyph_.height + font.ascent - font.descent) / 2));
  double widest = 1;
  for (int i = 0; i < count; ++i) {
    const char text[] = {kCharacters[static_cast<std::size_t>(i)], '\0'};
    cairo_text_extents_t extents;
    cairo_text_extents(context.get(), text, &extents);
    widest = std::max(widest, extents.x_advance);
    cairo_move_to(context.get(), 0, i * glyph_.height + baseline);
    cairo_show_text(context.get(), text);
  }
  cairo_surface_flush(surface.get());
  glyph_.width = std::min(static_cast<int>(std::ceil(widest)), glyph_.height * 2);

  const unsigned char* const coverage = cairo_image_surface_get_data(surface.get());
  const int stride = cairo_image_surface_get_stride(surface.get());
  if (coverage == nullptr) return;
  for (int y = 0; y < glyph_.height * count; ++y) {
    for (int x = 0; x < glyph_.width; ++x) {
      const int share = coverage[std::ptrdiff_t{y} * stride + x];
      samples_.push_back(static_cast<std::uint8_t>(kBlack + (kWhite - kBlack) * share / 255));
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
