#include "app/color_text.h"

#include <charconv>
#include <system_error>

namespace movra::app {

std::optional<ColorText> ParseColor(std::string_view text) {
  const bool has_alpha = text.size() == 9;
  if ((text.size() != 7 && !has_alpha) || text[0] != '#') return std::nullopt;
  std::uint32_t number = 0;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data() + 1, end, number, 16);
  if (parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
  ColorText color{number & 0xFFFFFF, std::nullopt};
  if (has_alpha) color.alpha = static_cast<std::uint8_t>(number >> 24);
  return color;
}

}  // namespace movra::app
