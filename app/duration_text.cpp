#include "app/duration_text.h"

#include <cstdint>
#include <cstdio>
#include <optional>

#include "media/text/time_text.h"

namespace movra::app {
namespace {

using std::chrono::nanoseconds;

Failure Malformed(std::string_view text) {
  return {ExitCode::kMalformed,
          "'" + std::string(text) + "' is not a time; write 10s, 1m30s, 1.5s or 500ms"};
}

}  // namespace

Result<nanoseconds> ParseDuration(std::string_view text) {
  const std::optional<nanoseconds> time = media::ParseTime(text);
  if (!time) return Malformed(text);
  const std::string quoted = "'" + std::string(text) + "'";
  if (time->count() == 0) return Failure{ExitCode::kZero, quoted + " is no time at all; write 10s"};
  if (*time > media::kLongestTime) {
    return Failure{ExitCode::kOutOfRange, quoted + " is too long; 1000h is the longest"};
  }
  return *time;
}

std::string ClockText(nanoseconds duration) {
  // Sums of rounded frame times stay nanoseconds short of what they mean.
  const nanoseconds meant = duration + std::chrono::microseconds(100);
  const std::int64_t tenths = duration.count() < 0 ? 0 : meant.count() / 100'000'000;
  const auto number = [](std::int64_t value) { return static_cast<long long>(value); };
  char text[48];
  if (tenths >= 36000) {
    std::snprintf(text, sizeof text, "%lld:%02lld:%02lld.%lld", number(tenths / 36000),
                  number(tenths / 600 % 60), number(tenths / 10 % 60), number(tenths % 10));
  } else {
    std::snprintf(text, sizeof text, "%lld:%02lld.%lld", number(tenths / 600),
                  number(tenths / 10 % 60), number(tenths % 10));
  }
  return text;
}

}  // namespace movra::app
