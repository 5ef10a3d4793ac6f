#ifndef MOVRA_MEDIA_CAMERA_CLOCK_TEXT_H_
#define MOVRA_MEDIA_CAMERA_CLOCK_TEXT_H_

#include <cstdint>
#include <string_view>
#include <vector>

#include "video/size.h"

namespace movra::media {

// Draws digits and the signs ":", "." and "#" into luma, light on dark, each in a box of one size,
// and the same on every machine. The glyphs are drawn once; a line of text then costs a copy of
// some rows.
class ClockText {
 public:
  // The height of a box in pixels, at least 8.
  explicit ClockText(int height);

  [[nodiscard]] video::Size glyph_size() const { return glyph_; }

  // Draws the text with its top left corner at x, y; what does not fit into the picture is left
  // out, character by character. Other characters leave an empty box.
  void Draw(std::uint8_t* luma, int stride, video::Size picture, int x, int y,
            std::string_view text) const;

 private:
  video::Size glyph_;
  std::vector<std::uint8_t> samples_;  // The boxes below one another, without gaps.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAMERA_CLOCK_TEXT_H_
