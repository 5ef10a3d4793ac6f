// Times as people type them.

#ifndef MOVRA_MEDIA_TEXT_TIME_TEXT_H_
#define MOVRA_MEDIA_TEXT_TIME_TEXT_H_

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace movra::media {

inline constexpr std::chrono::hours kLongestTime{1000};

// Reads "10s", "1m30s", "1h", "500ms" or "1.5s": numbers with their units, the larger unit first,
// each unit at most once. Absent if it is none; more than kLongestTime is a nanosecond more.
[[nodiscard]] std::optional<std::chrono::nanoseconds> ParseTime(std::string_view text);

// What ParseTime reads as the same time, down to the nanosecond: "90s", "1.5s".
[[nodiscard]] std::string TimeText(std::chrono::nanoseconds time);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_TEXT_TIME_TEXT_H_
