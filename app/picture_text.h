// Sizes and bit rates as people type and read them.

#ifndef MOVRA_APP_PICTURE_TEXT_H_
#define MOVRA_APP_PICTURE_TEXT_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "app/result.h"
#include "video/size.h"

namespace movra::app {

// What an encoded picture's side may measure, in pixels.
inline constexpr std::int32_t kLeastSide = 16;
inline constexpr std::int32_t kGreatestSide = 8192;
inline constexpr std::int32_t kLeastBitrateBps = 10'000;
inline constexpr std::int32_t kGreatestBitrateBps = 500'000'000;

// Reads "1280x720": even sides in the range above.
[[nodiscard]] Result<video::Size> ParseSize(std::string_view text);

// Reads "1500k", "1.5M" or "1500000" bits per second.
[[nodiscard]] Result<std::int32_t> ParseBitrate(std::string_view text);

// Whether the text is meant as a size, or as a bit rate, good or not.
[[nodiscard]] bool LooksLikeSize(std::string_view text);
[[nodiscard]] bool LooksLikeBitrate(std::string_view text);

[[nodiscard]] std::string SizeText(const video::Size& size);    // "1280x720"
[[nodiscard]] std::string BitrateText(double bits_per_second);  // "1500 kb/s"
[[nodiscard]] std::string BytesText(std::uint64_t bytes);       // "812 B", "1.9 MB"

}  // namespace movra::app

#endif  // MOVRA_APP_PICTURE_TEXT_H_
