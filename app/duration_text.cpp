#include "app/duration_text.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <optional>

#include "app/number_text.h"

namespace movra::app {
namespace {

using std::chrono::nanoseconds;

constexpr nanoseconds kLongest = std::chrono::hours(1000);

struct Unit {
  std::string_view name;
  nanoseconds length;
};

// The larger first, which is also the order in which they may be typed.
constexpr std::array kUnits{
    Unit{"h", std::chrono::hours(1)},
    Unit{"m", std::chrono::minutes(1)},
    Unit{"s", std::chrono::seconds(1)},
    Unit{"ms", std::chrono::milliseconds(1)},
};

Failure Malformed(std::string_view text) {
  return {ExitCode::kMalformed,
          "'" + std::string(text) + "' is not a time; write 10s, 1m30s, 1.5s or 500ms"};
}

// Takes "30s" off the front of the text; the unit must come after `next_unit` in the list.
std::optional<nanoseconds> TakePiece(std::string_view& text, std::size_t& next_unit) {
  const std::size_t number_end = text.find_first_not_of("0123456789.");
  if (number_end == 0 || number_end == std::string_view::npos) return std::nullopt;
  const std::optional<double> number = ParseDecimal(text.substr(0, number_end));
  const std::size_t unit_end = text.find_first_of("0123456789.", number_end);
  const std::string_view name = text.substr(number_end, unit_end - number_end);
  if (!number) return std::nullopt;
  for (; next_unit < kUnits.size(); ++next_unit) {
    const Unit& unit = kUnits[next_unit];
    if (name != unit.name) continue;
    ++next_unit;
    text.remove_prefix(unit_end == std::string_view::npos ? text.size() : unit_end);
    const double length = *number * static_cast<double>(unit.length.count());
    if (length > static_cast<double>(kLongest.count())) return kLongest + nanoseconds(1);
    return nanoseconds(std::llround(length));
  }
  return std::nullopt;
}

}  // namespace

Result<nanoseconds> ParseDuration(std::string_view text) {
  if (text.empty()) return Malformed(text);
  nanoseconds sum{0};
  std::size_t next_unit = 0;
  for (std::string_view rest = text; !rest.empty();) {
    const std::optional<nanoseconds> piece = TakePiece(rest, next_unit);
    if (!piece) return Malformed(text);
    sum += *piece;
  }
  const std::string quoted = "'" + std::string(text) + "'";
  if (sum.count() == 0) return Failure{ExitCode::kZero, quoted + " is no time at all; write 10s"};
  if (sum > kLongest) {
    return Failure{ExitCode::kOutOfRange, quoted + " is too long; 1000h is the longest"};
  }
  return sum;
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
