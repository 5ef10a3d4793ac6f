#include "app/stream_plan.h"

#include <algorithm>
#include <cmath>

#include "app/picture_text.h"
#include "media/encode/encoder_settings.h"
#include "video/resolution_decider_utils.h"

namespace movra::app {
namespace {

using video::Size;

constexpr Size kDefaultLimit{1280, 720};
constexpr std::int32_t kDefaultFrameRate = 30;

// The rate of the source as far as it is known; 0 if not.
double SourceFrameRate(const RunOptions& options, const video::CameraInfo& source) {
  const double own = source.rate_numerator > 0 && source.rate_denominator > 0
                         ? static_cast<double>(source.rate_numerator) / source.rate_denominator
                         : 0;
  if (!options.frame_rate) return own;
  const double asked = *options.frame_rate;
  // A device is set to the rate that it is asked for; a file has the rate that it has.
  return source.is_file && own > 0 ? std::min(asked, own) : asked;
}

double ExpectedFrameRate(std::int32_t limit, double source_rate) {
  return source_rate > 0 ? std::min<double>(limit, source_rate) : limit;
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
                      std::int32_t frame_rate, double source_rate) {
  StreamPlan plan;
  plan.type = type;
  plan.size = spec.size.value_or(size);
  plan.frame_rate = spec.frame_rate.value_or(frame_rate);
  plan.expected_frame_rate = ExpectedFrameRate(plan.frame_rate, source_rate);
  const auto whole_rate = static_cast<int>(std::lround(plan.expected_frame_rate));
  plan.bitrate_bps = spec.bitrate_bps.value_or(media::DefaultBitrateBps(plan.size, whole_rate));
  plan.target = spec.target;
  return plan;
}

// A file that is no faster than its streams is taken as it is, so that uneven time stamps cost no
// frame.
std::optional<std::int32_t> CaptureFrameRate(const RunOptions& options,
                                             const video::CameraInfo& source,
                                             const std::vector<StreamPlan>& streams,
                                             double source_rate) {
  if (options.frame_rate) return options.frame_rate;
  std::int32_t needed = 0;
  for (const StreamPlan& stream : streams) needed = std::max(needed, stream.frame_rate);
  if (source.is_file && source_rate <= needed) return std::nullopt;
  return needed;
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
  const double source_rate = SourceFrameRate(options, source);
  const StreamPlan big =
      PlanStream(video::VideoStreamType::kBig, options.big, DefaultBigSize(source.natural_size),
                 kDefaultFrameRate, source_rate);
  const auto half_rate = static_cast<std::int32_t>(std::ceil(big.expected_frame_rate / 2 - 1e-3));
  const StreamPlan small = PlanStream(video::VideoStreamType::kSmall, options.small,
                                      QuarterOf(big.size), std::max(half_rate, 1), source_rate);
  CapturePlan plan;
  if (!options.big.off) plan.streams.push_back(big);
  if (!options.small.off) plan.streams.push_back(small);
  plan.mode = options.mode.value_or(plan.mode);
  plan.size = options.size;
  if (!options.mode && source.is_file && NeedsWholePictures(plan.streams)) {
    plan.mode = video::ProducerMode::kOwnSize;
    plan.size = source.natural_size;
  }
  plan.frame_rate = CaptureFrameRate(options, source, plan.streams, source_rate);
  return plan;
}

}  // namespace movra::app
