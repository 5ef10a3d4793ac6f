#include "media/camera/v4l2_mode.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <array>
#include <tuple>

namespace movra::media {
namespace {

using video::Size;

// In the order in which they are preferred: those that need least work first.
constexpr std::array<std::uint32_t, 4> kFormats{V4L2_PIX_FMT_YUV420, V4L2_PIX_FMT_NV12,
                                                V4L2_PIX_FMT_YUYV, V4L2_PIX_FMT_MJPEG};
constexpr std::array<Size, 6> kUsualSizes{
    {{320, 240}, {640, 360}, {640, 480}, {800, 600}, {1280, 720}, {1920, 1080}}};
constexpr double kSmoothRate = 24;
constexpr double kRateTolerance = 0.1;  // 29.97 is as good as 30.

Size MakeSize(std::uint32_t width, std::uint32_t height) {
  return {static_cast<std::int32_t>(width), static_cast<std::int32_t>(height)};
}

// The sizes of one pixel format.
std::vector<Size> ListSizes(V4l2Io& io, std::uint32_t fourcc) {
  std::vector<Size> sizes;
  for (std::uint32_t index = 0;; ++index) {
    v4l2_frmsizeenum entry{};
    entry.index = index;
    entry.pixel_format = fourcc;
    if (io.Control(VIDIOC_ENUM_FRAMESIZES, &entry) != 0) return sizes;
    if (entry.type == V4L2_FRMSIZE_TYPE_DISCRETE) {
      sizes.push_back(MakeSize(entry.discrete.width, entry.discrete.height));
      continue;
    }
    const v4l2_frmsize_stepwise& range = entry.stepwise;
    const Size largest = MakeSize(range.max_width, range.max_height);
    for (const Size& size : kUsualSizes) {
      const auto on_step = [](std::int32_t side, std::uint32_t least, std::uint32_t step) {
        return static_cast<std::uint32_t>(side) >= least &&
               (static_cast<std::uint32_t>(side) - least) % std::max(step, 1U) == 0;
      };
      if (size != largest && size.width <= largest.width && size.height <= largest.height &&
          on_step(size.width, range.min_width, range.step_width) &&
          on_step(size.height, range.min_height, range.step_height)) {
        sizes.push_back(size);
      }
    }
    sizes.push_back(largest);
    return sizes;
  }
}

void SetShortestInterval(V4l2Io& io, V4l2Mode& mode) {
  for (std::uint32_t index = 0;; ++index) {
    v4l2_frmivalenum entry{};
    entry.index = index;
    entry.pixel_format = mode.fourcc;
    entry.width = static_cast<std::uint32_t>(mode.size.width);
    entry.height = static_cast<std::uint32_t>(mode.size.height);
    if (io.Control(VIDIOC_ENUM_FRAMEINTERVALS, &entry) != 0) return;
    const bool discrete = entry.type == V4L2_FRMIVAL_TYPE_DISCRETE;
    const v4l2_fract& interval = discrete ? entry.discrete : entry.stepwise.min;
    V4l2Mode candidate = mode;
    candidate.interval_numerator = interval.numerator;
    candidate.interval_denominator = interval.denominator;
    if (candidate.rate() > mode.rate()) mode = candidate;
    if (!discrete) return;
  }
}

bool Covers(const Size& size, const Size& asked) {
  return std::max(size.width, size.height) >= std::max(asked.width, asked.height) &&
         std::min(size.width, size.height) >= std::min(asked.width, asked.height);
}

}  // namespace

bool IsReadable(std::uint32_t fourcc) {
  return std::find(kFormats.begin(), kFormats.end(), fourcc) != kFormats.end();
}

std::vector<V4l2Mode> ListModes(V4l2Io& io) {
  std::vector<V4l2Mode> modes;
  for (std::uint32_t index = 0;; ++index) {
    v4l2_fmtdesc format{};
    format.index = index;
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (io.Control(VIDIOC_ENUM_FMT, &format) != 0) return modes;
    if (!IsReadable(format.pixelformat)) continue;
    for (const Size& size : ListSizes(io, format.pixelformat)) {
      V4l2Mode mode;
      mode.fourcc = format.pixelformat;
      mode.size = size;
      SetShortestInterval(io, mode);
      modes.push_back(mode);
    }
  }
}

std::optional<V4l2Mode> ChooseMode(const std::vector<V4l2Mode>& modes,
                                   const CaptureRequest& request) {
  const bool sized = request.size.width > 0 || request.size.height > 0;
  const double rate = request.frame_rate > 0 ? request.frame_rate : kSmoothRate;
  const auto rank = [&](const V4l2Mode& mode) {
    const bool covers = Covers(mode.size, request.size);
    const bool fast = mode.interval_numerator == 0 || mode.rate() >= rate - kRateTolerance;
    const std::int64_t pixels = std::int64_t{mode.size.width} * mode.size.height;
    const auto preference = std::find(kFormats.begin(), kFormats.end(), mode.fourcc);
    return std::tuple(covers, fast, sized && covers ? -pixels : pixels,
                      -(preference - kFormats.begin()), mode.rate());
  };
  const auto best =
      std::max_element(modes.begin(), modes.end(),
                       [&rank](const V4l2Mode& a, const V4l2Mode& b) { return rank(a) < rank(b); });
  if (best == modes.end()) return std::nullopt;
  return *best;
}

}  // namespace movra::media
