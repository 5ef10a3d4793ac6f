// Times as people type and read them.

#ifndef MOVRA_APP_DURATION_TEXT_H_
#define MOVRA_APP_DURATION_TEXT_H_

#include <chrono>
#include <string>
#include <string_view>

#include "app/result.h"

namespace movra::app {

// Reads "10s", "1m30s", "1h", "500ms" or "1.5s": numbers with their units, the larger unit first,
// each unit at most once. More than 0 and at most 1000 hours.
[[nodiscard]] Result<std::chrono::nanoseconds> ParseDuration(std::string_view text);

// "0:07.4", "12:00.0", "1:02:03.5": hours only where there are any, tenths cut rather than rounded.
[[nodiscard]] std::string ClockText(std::chrono::nanoseconds duration);

}  // namespace movra::app

#endif  // MOVRA_APP_DURATION_TEXT_H_
