#include "app/picture_text.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <optional>

#include "media/text/number_text.h"

namespace movra::app {
namespace {

std::string Quoted(std::string_view text) { return "'" + std::string(text) + "'"; }

std::string RightSides() {
  return "both sides must be even, from " + std::to_string(kLeastSide) + " to " +
         std::to_string(kGreatestSide) + ", as in 1280x720";
}

// Why a side of a picture cannot be, if it cannot.
std::optional<Failure> SideFailure(std::string_view size, const char* name, std::int64_t side) {
  const std::string what = Quoted(size) + ": the " + name + " is ";
  if (side == 0) return Failure{ExitCode::kZero, what + "0; " + RightSides()};
  if (side < kLeastSide || side > kGreatestSide) {
    return Failure{ExitCode::kOutOfRange, what + "out of range; " + RightSides()};
  }
  if (side % 2 != 0) return Failure{ExitCode::kOutOfRange, what + "odd; " + RightSides()};
  return std::nullopt;
}

}  // namespace

bool LooksLikeSize(std::string_view text) {
  const std::size_t cross = text.find_first_of("xX");
  return cross != std::string_view::npos && media::ParseWhole(text.substr(0, cross)) &&
         media::ParseWhole(text.substr(cross + 1));
}

Result<video::Size> ParseSize(std::string_view text) {
  if (!LooksLikeSize(text)) {
    return Failure{ExitCode::kMalformed, Quoted(text) + " is not a size; write 1280x720"};
  }
  const std::size_t cross = text.find_first_of("xX");
  const std::int64_t width = *media::ParseWhole(text.substr(0, cross));
  const std::int64_t height = *media::ParseWhole(text.substr(cross + 1));
  if (const auto failure = SideFailure(text, "width", width)) return *failure;
  if (const auto failure = SideFailure(text, "height", height)) return *failure;
  return video::Size{static_cast<std::int32_t>(width), static_cast<std::int32_t>(height)};
}

bool LooksLikeBitrate(std::string_view text) {
  if (!text.empty() && std::string_view("kKmM").find(text.back()) != std::string_view::npos) {
    text.remove_suffix(1);
  }
  return media::ParseDecimal(text).has_value();
}

Result<std::int32_t> ParseBitrate(std::string_view text) {
  if (!LooksLikeBitrate(text)) {
    return Failure{ExitCode::kMalformed,
                   Quoted(text) + " is not a bit rate; write 1500k, 1.5M or 1500000"};
  }
  const char unit = text.back();
  const double factor = unit == 'k' || unit == 'K' ? 1e3 : unit == 'm' || unit == 'M' ? 1e6 : 1;
  const double number = *media::ParseDecimal(factor == 1 ? text : text.substr(0, text.size() - 1));
  const std::string right = "; a bit rate is 10k to 500M, as in 1500k";
  if (number == 0) return Failure{ExitCode::kZero, "the bit rate is 0" + right};
  const double bitrate = std::round(number * factor);
  if (bitrate < kLeastBitrateBps || bitrate > kGreatestBitrateBps) {
    return Failure{ExitCode::kOutOfRange,
                   "the bit rate " + std::string(text) + " is out of range" + right};
  }
  return static_cast<std::int32_t>(bitrate);
}

std::string SizeText(const video::Size& size) {
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

std::string BitrateText(double bits_per_second) {
  char text[48];
  std::snprintf(text, sizeof text, "%.0f kb/s", bits_per_second / 1000);
  return text;
}

std::string BytesText(std::uint64_t bytes) {
  if (bytes < 1000) return std::to_string(bytes) + " B";
  constexpr std::array kUnits{"kB", "MB", "GB", "TB"};
  double number = static_cast<double>(bytes) / 1000;
  std::size_t unit = 0;
  for (; number >= 999.95 && unit + 1 < kUnits.size(); ++unit) number /= 1000;
  char text[48];
  std::snprintf(text, sizeof text, "%.1f %s", number, kUnits[unit]);
  return text;
}

}  // namespace movra::app
