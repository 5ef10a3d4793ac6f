// Colours as people write them.

#ifndef MOVRA_APP_COLOR_TEXT_H_
#define MOVRA_APP_COLOR_TEXT_H_

#include <cstdint>
#include <optional>
#include <string_view>

namespace movra::app {

struct ColorText {
  std::uint32_t rgb = 0;              // 0xRRGGBB.
  std::optional<std::uint8_t> alpha;  // 255: opaque. Absent if it was not written.

  friend bool operator==(const ColorText&, const ColorText&) = default;
};

// Reads "#rrggbb" and "#aarrggbb", in letters of either case. Absent if it is neither.
[[nodiscard]] std::optional<ColorText> ParseColor(std::string_view text);

}  // namespace movra::app

#endif  // MOVRA_APP_COLOR_TEXT_H_
