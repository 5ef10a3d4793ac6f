#include "media/text/time_text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "media/text/number_text.h"

namespace movra::media {
namespace {

using std::chrono::nanoseconds;

constexpr nanoseconds kTooLong = kLongestTime + nanoseconds(1);

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
    if (length > static_cast<double>(nanoseconds(kLongestTime).count())) return kTooLong;
    return nanoseconds(std::llround(length));
  }
  return std::nullopt;
}

}  // namespace

std::optional<nanoseconds> ParseTime(std::string_view text) {
  if (text.empty()) return std::nullopt;
  nanoseconds sum{0};
  std::size_t next_unit = 0;
  while (!text.empty()) {
    const std::optional<nanoseconds> piece = TakePiece(text, next_unit);
    if (!piece) return std::nullopt;
    sum += *piece;
  }
  return std::min(sum, kTooLong);
}

std::string TimeText(nanoseconds time) {
  constexpr std::int64_t kSecond = 1'000'000'000;
  std::string text = std::to_string(time.count() / kSecond);
  if (const std::int64_t rest = time.count() % kSecond; rest != 0) {
    std::string fraction = std::to_string(kSecond + rest);  // Ten digits, whose first is dropped.
    fraction.erase(fraction.find_last_not_of('0') + 1);
    text += "." + fraction.substr(1);
  }
  return text + "s";
}

}  // namespace movra::media
