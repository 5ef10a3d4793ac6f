#include "media/text/number_text.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

namespace movra::media {

std::optional<std::int64_t> ParseWhole(std::string_view text) {
  const bool digits =
      std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
  if (text.empty() || !digits) return std::nullopt;
  std::int64_t number = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
  if (parsed.ec == std::errc::result_out_of_range) return std::numeric_limits<std::int64_t>::max();
  return number;
}

std::optional<double> ParseDecimal(std::string_view text) {
  // from_chars would also take "inf", "nan", a sign and an exponent.
  if (text.find_first_not_of("0123456789.") != std::string_view::npos) return std::nullopt;
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  if (parsed.ec == std::errc::result_out_of_range) return std::numeric_limits<double>::max();
  if (parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
  return number;
}

}  // namespace movra::media
