#include "app/frame_rate.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>

#include "media/text/number_text.h"

namespace movra::app {
namespace {

constexpr std::int32_t kDecimals = 1'000'000;  // What is kept of a decimal.

std::string Quoted(std::string_view text) { return "'" + std::string(text) + "'"; }

// The rate of television that the decimal stands for, if it does: the one that is written so when
// it is rounded to as many digits.
std::optional<FrameRate> TelevisionRate(double number, std::size_t digits) {
  // One digit is too little to tell 23.976 from 24.
  if (digits < 2) return std::nullopt;
  const double whole = std::ceil(number);
  const double scale = std::pow(10, static_cast<double>(digits));
  const bool is_whole = whole == number;
  if (is_whole || std::llround(whole / 1.001 * scale) != std::llround(number * scale)) {
    return std::nullopt;
  }
  return media::MakeFrameRate(static_cast<std::int32_t>(whole) * 1000, 1001);
}

std::optional<FrameRate> ReadDecimal(std::string_view text) {
  const std::optional<double> number = media::ParseDecimal(text);
  if (!number) return std::nullopt;
  // Whatever it is exactly, it is out of range.
  if (*number > kGreatestFrameRate) return FrameRate{kGreatestFrameRate + 1, 1};
  const std::size_t point = text.find('.');
  const std::size_t digits = point == std::string_view::npos ? 0 : text.size() - point - 1;
  if (const auto rate = TelevisionRate(*number, digits)) return rate;
  return media::MakeFrameRate(static_cast<std::int32_t>(std::lround(*number * kDecimals)),
                              kDecimals);
}

std::optional<FrameRate> ReadRate(std::string_view text) {
  const std::size_t slash = text.find('/');
  if (slash == std::string_view::npos) return ReadDecimal(text);
  const auto numerator = media::ParseWhole(text.substr(0, slash));
  const auto denominator = media::ParseWhole(text.substr(slash + 1));
  constexpr std::int64_t kGreatest = std::numeric_limits<std::int32_t>::max();
  if (!numerator || !denominator || *denominator == 0) return std::nullopt;
  if (std::max(*numerator, *denominator) > kGreatest) return std::nullopt;
  return media::MakeFrameRate(static_cast<std::int32_t>(*numerator),
                              static_cast<std::int32_t>(*denominator));
}

}  // namespace

bool IsWhole(const FrameRate& rate) { return rate.denominator == 1; }

std::int32_t RoundedUp(const FrameRate& rate) {
  return rate.numerator / rate.denominator + (IsWhole(rate) ? 0 : 1);
}

FrameRate Half(const FrameRate& rate) {
  constexpr std::int32_t kGreatest = std::numeric_limits<std::int32_t>::max();
  const bool fits = rate.numerator % 2 != 0 && rate.denominator <= kGreatest / 2;
  return fits ? FrameRate{rate.numerator, 2 * rate.denominator}
              : media::MakeFrameRate(rate.numerator / 2, rate.denominator);
}

FrameRate Slower(const FrameRate& a, const FrameRate& b) {
  const bool is_a =
      std::int64_t{a.numerator} * b.denominator < std::int64_t{b.numerator} * a.denominator;
  return is_a ? a : b;
}

FrameRate Faster(const FrameRate& a, const FrameRate& b) { return Slower(a, b) == a ? b : a; }

Result<FrameRate> ParseFrameRate(std::string_view text) {
  const std::string right = "; a rate is 0.1 to " + std::to_string(kGreatestFrameRate) +
                            " frames per second, as in 30, 12.5 or 30000/1001";
  const std::optional<FrameRate> rate = ReadRate(text);
  if (!rate) return Failure{ExitCode::kMalformed, Quoted(text) + " is not a rate" + right};
  if (rate->IsNone()) return Failure{ExitCode::kZero, "the rate is 0" + right};
  const double number = rate->PerSecond();
  if (number < kLeastFrameRate || number > kGreatestFrameRate) {
    const char* const what = number < kLeastFrameRate ? " is too low" : " is too high";
    return Failure{ExitCode::kOutOfRange, "the rate " + std::string(text) + what + right};
  }
  return *rate;
}

std::string FrameRateText(double frames_per_second) {
  char text[32];
  const double whole = std::round(frames_per_second);
  const bool is_whole = std::abs(frames_per_second - whole) < 0.005;
  std::snprintf(text, sizeof text, is_whole ? "%.0f" : "%.2f", frames_per_second);
  return text;
}

}  // namespace movra::app
