#include "media/file/y4m_header.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "media/frame/frame_layout.h"

namespace movra::media {
namespace {

constexpr std::string_view kMagic = "YUV4MPEG2";

std::optional<std::int32_t> ParseNumber(std::string_view text) {
  std::int32_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end || number < 0) return std::nullopt;
  return number;
}

// "30000:1001"
bool ParseRatio(std::string_view text, std::int32_t& numerator, std::int32_t& denominator) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return false;
  const auto first = ParseNumber(text.substr(0, colon));
  const auto second = ParseNumber(text.substr(colon + 1));
  if (!first || !second) return false;
  numerator = *first;
  denominator = *second;
  return true;
}

// They differ in where chroma lies between the luma samples, which nothing here looks at.
bool IsPlain420(std::string_view layout) {
  constexpr std::array<std::string_view, 4> kLayouts{"420", "420jpeg", "420mpeg2", "420paldv"};
  return std::find(kLayouts.begin(), kLayouts.end(), layout) != kLayouts.end();
}

struct Reading {
  Y4mHeader header;
  bool has_layout = false;
  bool has_layout_in_comment = false;  // Where old writers put it.
};

void ReadComment(std::string_view comment, Reading& reading) {
  constexpr std::string_view kRange = "COLORRANGE=";
  if (comment.starts_with("YSCSS=")) reading.has_layout_in_comment = true;
  if (comment.starts_with(kRange)) {
    reading.header.full_range = comment.substr(kRange.size()) == "FULL";
  }
}

// False for what a word may say and nothing here can do.
bool ReadWord(std::string_view word, Reading& reading) {
  Y4mHeader& header = reading.header;
  const std::string_view value = word.substr(1);
  switch (word.front()) {
    case 'W':
      header.size.width = ParseNumber(value).value_or(0);
      return true;
    case 'H':
      header.size.height = ParseNumber(value).value_or(0);
      return true;
    case 'F':
      return ParseRatio(value, header.rate_numerator, header.rate_denominator);
    case 'A':
      return ParseRatio(value, header.aspect_numerator, header.aspect_denominator);
    case 'I':
      return value == "p" || value == "?";
    case 'C':
      reading.has_layout = true;
      return IsPlain420(value);
    case 'X':
      ReadComment(value, reading);
      return true;
    default:
      return true;
  }
}

}  // namespace

std::optional<Y4mHeader> ParseY4mHeader(std::string_view line) {
  if (!line.starts_with(kMagic)) return std::nullopt;
  line.remove_prefix(kMagic.size());
  Reading reading;
  while (!line.empty()) {
    if (line.front() != ' ') return std::nullopt;
    line.remove_prefix(1);
    const std::string_view word = line.substr(0, line.find(' '));
    line.remove_prefix(word.size());
    if (!word.empty() && !ReadWord(word, reading)) return std::nullopt;
  }
  const Y4mHeader& header = reading.header;
  if (reading.has_layout_in_comment && !reading.has_layout) return std::nullopt;
  const bool is_complete = IsAllocatable(video::PixelFormat::kI420, header.size) &&
                           header.rate_numerator > 0 && header.rate_denominator > 0;
  return is_complete ? std::optional(header) : std::nullopt;
}

}  // namespace movra::media
