// Frame rates as people type and read them, and what the program reckons with them.

#ifndef MOVRA_APP_FRAME_RATE_H_
#define MOVRA_APP_FRAME_RATE_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "app/result.h"
#include "media/encode/frame_rate.h"

namespace movra::app {

using media::FrameRate;

// What a person may ask for, in frames per second.
inline constexpr double kLeastFrameRate = 0.1;
inline constexpr std::int32_t kGreatestFrameRate = 240;

// Of rates that are known.
[[nodiscard]] bool IsWhole(const FrameRate& rate);
[[nodiscard]] std::int32_t RoundedUp(const FrameRate& rate);
[[nodiscard]] FrameRate Half(const FrameRate& rate);
[[nodiscard]] FrameRate Slower(const FrameRate& a, const FrameRate& b);
[[nodiscard]] FrameRate Faster(const FrameRate& a, const FrameRate& b);

// Reads "30", "12.5" or "30000/1001". A decimal that stands for a rate of television, as 29.97 and
// 23.976 do, is that rate, which is a whole one times 1000/1001.
[[nodiscard]] Result<FrameRate> ParseFrameRate(std::string_view text);

[[nodiscard]] std::string FrameRateText(double frames_per_second);  // "30", "29.97"

}  // namespace movra::app

#endif  // MOVRA_APP_FRAME_RATE_H_
