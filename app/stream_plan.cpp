#include "app/stream_plan.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "app/picture_text.h"
#include "media/capture/picture_size.h"
#include "media/encode/encoder_settings.h"
#include "video/resolution_decider_utils.h"

namespace movra::app {
namespace {

using video::Size;

constexpr Size kDefaultLimit{1280, 720};
constexpr FrameRate kDefaultFrameRate{30, 1};

FrameRate OwnFrameRate(const video::CameraInfo& source) {
  return media::MakeFrameRate(source.rate_numerator, source.rate_denominator);
}

// The rate of the source as far as it is known.
FrameRate SourceFrameRate(const RunOptions& options, const video::CameraInfo& source) {
  const FrameRate own = OwnFrameRate(source);
  if (!options.frame_rate) return own;
  // A device is set to the rate that it is asked for; a file has the rate that it has.
  const bool has_own = source.traits.rate_is_fixed && !own.IsNone();
  return has_own ? Slower(*options.frame_rate, own) : *options.frame_rate;
}

Size DefaultBigSize(const Size& natural) {
  if (natural.width <= 0 || natural.height <= 0) return kDefaultLimit;
  const Size size =
      video::resolution_decider_utils::CalculateSizeByLimitLandscapeSize(kDefaultLimit, natural);
  return {std::max(size.width, kLeastSide), std::max(size.height, kLeastSide)};
}

Size QuarterOf(const Size& size) {
  const auto quarter = [](std::int32_t side) { return std::max((side + 4) / 8 * 2, kLeastSide); };
  return {quarter(size.width), quarter(size.height)};
}

StreamPlan PlanStream(video::VideoStreamType type, const StreamSpec& spec, const Size& size,
                      const FrameRate& frame_rate, const RunOptions& options,
                      const FrameRate& source_rate) {
  StreamPlan plan;
  plan.type = type;
  plan.size = spec.size.value_or(size);
  plan.frame_rate = spec.frame_rate.value_or(frame_rate);
  if (options.frame_rate) plan.frame_rate = Slower(plan.frame_rate, *options.frame_rate);
  plan.expected_frame_rate =
      source_rate.IsNone() ? plan.frame_rate : Slower(plan.frame_rate, source_rate);
  plan.bitrate_bps = spec.bitrate_bps.value_or(
      media::DefaultBitrateBps(plan.size, plan.expected_frame_rate.PerSecond()));
  plan.target = spec.target;
  plan.also = spec.also;
  return plan;
}

// The least whole rate of which the needed one is a fraction without a rest, so that the encoder
// leaves out frames as evenly as if it had all of them.
std::optional<std::int32_t> WholeMultiple(const FrameRate& needed) {
  if (needed.numerator > kGreatestFrameRate) return std::nullopt;
  return needed.numerator;
}

std::optional<std::int32_t> CaptureFrameRate(const RunOptions& options,
                                             const video::CameraInfo& source,
                                             const std::vector<StreamPlan>& streams) {
  FrameRate needed;
  for (const StreamPlan& stream : streams) needed = Faster(needed, stream.frame_rate);
  const bool is_asked_whole = options.frame_rate && IsWhole(*options.frame_rate);
  if (is_asked_whole) needed = *options.frame_rate;
  const auto rate = WholeMultiple(needed);
  // A device gives what comes next; the encoder leaves out the rest.
  if (!source.traits.rate_is_fixed) return rate.value_or(RoundedUp(needed));
  if (is_asked_whole || !rate) return rate;
  // A file is thinned only in whole steps: to a share of its frames that leaves even gaps, and of
  // which each encoder takes a share that does. What is thinned twice otherwise has larger gaps
  // than it need have, and a file that is no faster may have uneven times.
  const double steps = OwnFrameRate(source).PerSecond() / *rate;
  const bool is_even = std::lround(steps) > 1 && std::abs(steps - std::round(steps)) < 0.01;
  const bool suits_all = std::all_of(streams.begin(), streams.end(), [&](const StreamPlan& stream) {
    return std::int64_t{*rate} * stream.frame_rate.denominator % stream.frame_rate.numerator == 0;
  });
  return is_even && suits_all ? rate : std::nullopt;
}

// A camera delivers what the big stream needs. A small one of more than half of that would lose by
// being scaled from a picture that was scaled already.
bool NeedsWholePictures(const std::vector<StreamPlan>& streams) {
  if (streams.size() < 2) return false;
  const Size& big = streams[0].size;
  const Size& small = streams[1].size;
  return small.width > big.width / 2 || small.height > big.height / 2;
}

}  // namespace

const char* StreamName(video::VideoStreamType type) {
  return type == video::VideoStreamType::kSmall ? "small" : "big";
}

CapturePlan PlanCapture(const RunOptions& options, const video::CameraInfo& source) {
  const FrameRate source_rate = SourceFrameRate(options, source);
  const StreamPlan big =
      PlanStream(video::VideoStreamType::kBig, options.big, DefaultBigSize(source.natural_size),
                 kDefaultFrameRate, options, source_rate);
  const StreamPlan small =
      PlanStream(video::VideoStreamType::kSmall, options.small, QuarterOf(big.size),
                 Half(big.expected_frame_rate), options, source_rate);
  CapturePlan plan;
  if (!options.big.off) plan.streams.push_back(big);
  if (!options.small.off) plan.streams.push_back(small);
  plan.mode = options.mode.value_or(plan.mode);
  plan.size = options.size;
  if (plan.mode == video::ProducerMode::kOwnSize && !plan.size) plan.size = media::kNaturalSize;
  if (!options.mode && source.traits.rate_is_fixed && NeedsWholePictures(plan.streams)) {
    plan.mode = video::ProducerMode::kOwnSize;
    plan.size = source.natural_size;
  }
  plan.frame_rate = CaptureFrameRate(options, source, plan.streams);
  return plan;
}

}  // namespace movra::app
