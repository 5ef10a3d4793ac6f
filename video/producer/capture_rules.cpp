#include "video/producer/capture_rules.h"

#include <utility>

#include "video/resolution_decider_utils.h"

namespace movra::video {
namespace {

constexpr Size kLandscapeLimit{1920, 1080};

Size LimitEncodeSize(const Size& encode_size) {
  return resolution_decider_utils::CalculateSizeByLimitLandscapeSize(kLandscapeLimit, encode_size);
}

Size MakeLandscape(Size size) {
  if (size.width < size.height) std::swap(size.width, size.height);
  return size;
}

}  // namespace

Size CalculateCaptureSize(ProducerMode mode, const Size& input, const Size& encode_size) {
  switch (mode) {
    case ProducerMode::kDefault:
    case ProducerMode::kLimitedSize:
      return MakeLandscape(LimitEncodeSize(encode_size));
    case ProducerMode::kEncodeSize:
      return MakeLandscape(encode_size);
    case ProducerMode::kOwnSize:
      // Wanted: only this mode keeps a portrait size, and a single zero side is taken as it is.
      return input == Size{} ? LimitEncodeSize(encode_size) : input;
  }
  return Size{};
}

bool IsScreenSource(VideoSourceType source) {
  return source == VideoSourceType::kScreen || source == VideoSourceType::kMirroredScreen;
}

FrameAdaptiveMode CalculateFrameAdaptiveMode(
    const movra_base::Optional<FrameAdaptiveMode>& own_mode, VideoSourceType source) {
  if (own_mode.has_value()) return own_mode.value();
  return IsScreenSource(source) ? FrameAdaptiveMode::kFit : FrameAdaptiveMode::kCrop;
}

bool AreEncodeParamsUnchanged(const EncodeParams& params, const Size& encode_size,
                              std::int32_t encode_frame_rate) {
  const bool same_rate =
      !params.frame_rate.has_value() || params.frame_rate.value() == encode_frame_rate;
  const bool has_size = params.width.has_value() && params.height.has_value();
  return same_rate &&
         (!has_size || Size{params.width.value(), params.height.value()} == encode_size);
}

}  // namespace movra::video
