#include "media/camera/test_camera.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <utility>

#include "media/capture/camera_error.h"
#include "media/capture/camera_failure.h"
#include "media/capture/picture_size.h"
#include "media/capture/source_id.h"

namespace movra::media {
namespace {

using std::chrono::nanoseconds;
using video::CameraInfo;
using video::Size;

constexpr std::string_view kPrefix = "test:";
constexpr Size kDefaultSize{1280, 720};
constexpr std::int32_t kDefaultRate = 30;
constexpr std::int32_t kHighestRate = 240;
constexpr std::int32_t kLongestSide = 8192;
constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

std::int32_t RoundedUpToEven(std::int32_t side) {
  return (std::min(side, kLongestSide) + 1) / 2 * 2;
}

template <class T>
std::optional<T> ParseNumber(std::string_view text, T least, T most) {
  T value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  if (value < least || value > most) return std::nullopt;
  return value;
}

std::optional<Size> ParseSize(std::string_view text) {
  const std::size_t cross = text.find('x');
  if (cross == std::string_view::npos) return std::nullopt;
  const auto width = ParseNumber<std::int32_t>(text.substr(0, cross), 2, kLongestSide);
  const auto height = ParseNumber<std::int32_t>(text.substr(cross + 1), 2, kLongestSide);
  if (!width || !height || *width % 2 != 0 || *height % 2 != 0) return std::nullopt;
  return Size{*width, *height};
}

// Whether the option is known and well formed.
bool Take(const SourceOption& option, TestCameraOptions& options) {
  const std::string_view name = option.name;
  if (!option.value) {
    options.lossless = true;
    return name == "lossless";
  }
  const std::string_view value = *option.value;
  if (name == "frames") {
    options.frames = ParseNumber<std::uint64_t>(value, 1, 1'000'000'000);
    return options.frames.has_value();
  }
  if (name == "size") {
    options.size = ParseSize(value);
    return options.size.has_value();
  }
  if (name == "rate") {
    options.rate = ParseNumber<std::int32_t>(value, 1, kHighestRate);
    return options.rate.has_value();
  }
  return false;
}

}  // namespace

std::variant<TestCameraOptions, std::string> ParseTestCameraId(const std::string& camera_id) {
  TestCameraOptions options;
  const SourceId id = ParseSourceId(std::string_view(camera_id).substr(kPrefix.size()));
  const bool is_valid =
      id.address.empty() && std::all_of(id.options.begin(), id.options.end(),
                                        [&](const SourceOption& o) { return Take(o, options); });
  if (is_valid) return options;
  return "'" + camera_id +
         "' is no test camera: use test: alone or with options, as in "
         "test:?frames=90&size=640x360&rate=30&lossless (even sizes)";
}

TestCamera::TestCamera(std::string camera_id) : camera_id_(std::move(camera_id)) {}

CameraInfo TestCamera::Describe() {
  CameraInfo info;
  auto parsed = ParseTestCameraId(camera_id_);
  if (auto* const error = std::get_if<std::string>(&parsed)) {
    return CameraFailure(CameraError::kUnsupported, std::move(*error));
  }
  options_ = std::get<TestCameraOptions>(parsed);
  info.natural_size = SizeFor({});
  info.rate_numerator = options_.rate.value_or(kDefaultRate);
  info.traits.has_end = options_.frames.has_value();
  info.traits.keeps_time = !options_.lossless;
  if (options_.frames) {
    info.duration = nanoseconds(static_cast<std::int64_t>(*options_.frames) *
                                kNanosecondsPerSecond / info.rate_numerator);
  }
  return info;
}

CameraInfo TestCamera::Open(const CaptureRequest& /*request*/) { return Describe(); }

SourcePolicy TestCamera::Policy() const {
  if (options_.lossless) return {.delivery = video::FrameDelivery::kLossless, .paced = false};
  return {.delivery = video::FrameDelivery::kLive, .paced = true};
}

SourceItem TestCamera::Read(const CaptureRequest& request) {
  if (options_.frames && next_number_ >= *options_.frames) return video::StreamEnd{};
  const Size size = SizeFor(request.size);
  if (picture_ == nullptr || picture_->size() != size) {
    picture_ = std::make_unique<TestPicture>(size);
  }
  std::int32_t rate =
      request.frame_rate > 0 ? request.frame_rate : options_.rate.value_or(kDefaultRate);
  rate = std::min(rate, options_.rate.value_or(kHighestRate));
  const nanoseconds timestamp = NextTimestamp(rate);
  return SourceFrame{picture_->Draw(next_number_++, timestamp, pool_), size};
}

Size TestCamera::SizeFor(Size asked) const {
  if (options_.size) return CoveringSize(*options_.size, asked);
  if (asked.width <= 0 || asked.height <= 0) return CoveringSize(kDefaultSize, asked);
  return {RoundedUpToEven(asked.width), RoundedUpToEven(asked.height)};
}

nanoseconds TestCamera::NextTimestamp(std::int32_t rate) {
  const auto after = [this](std::int64_t intervals) {
    const std::int64_t seconds = intervals / rate_;
    const std::int64_t rest = intervals % rate_;
    return rate_since_ +
           nanoseconds(seconds * kNanosecondsPerSecond + rest * kNanosecondsPerSecond / rate_);
  };
  if (rate_ == 0) {
    rate_ = rate;
    return rate_since_;
  }
  if (rate != rate_) {
    rate_since_ = after(intervals_);
    rate_ = rate;
    intervals_ = 0;
  }
  return after(++intervals_);
}

}  // namespace movra::media
