#include "media/camera/av_frame_wrapper.h"

#include <array>
#include <cstddef>
#include <utility>

#include "media/ffmpeg/ffmpeg_api.h"
#include "media/frame/frame_layout.h"

namespace movra::media {
namespace {

using video::ColorDescription;
using video::PixelFormat;
using video::PixelFrame;
using video::PixelFrameInfo;

PixelFormat SameFormat(int av_format) {
  switch (av_format) {
    case AV_PIX_FMT_YUV420P:
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVA420P:  // Nobody looks at the fourth plane.
      return PixelFormat::kI420;
    case AV_PIX_FMT_NV12:
      return PixelFormat::kNV12;
    case AV_PIX_FMT_YUV422P:
    case AV_PIX_FMT_YUVJ422P:
      return PixelFormat::kI422;
    case AV_PIX_FMT_YUV444P:
    case AV_PIX_FMT_YUVJ444P:
      return PixelFormat::kI444;
    case AV_PIX_FMT_GRAY8:
      return PixelFormat::kGray;
    case AV_PIX_FMT_YUV420P10LE:
      return PixelFormat::kI010;
    default:
      return PixelFormat::kNone;
  }
}

// The formats whose very name says that the range is full, and their plain counterparts.
AVPixelFormat WithoutRange(AVPixelFormat format) {
  switch (format) {
    case AV_PIX_FMT_YUVJ411P:
      return AV_PIX_FMT_YUV411P;
    case AV_PIX_FMT_YUVJ420P:
      return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
      return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ440P:
      return AV_PIX_FMT_YUV440P;
    case AV_PIX_FMT_YUVJ444P:
      return AV_PIX_FMT_YUV444P;
    default:
      return format;
  }
}

bool IsRgb(AVPixelFormat format) {
  const AVPixFmtDescriptor* const descriptor = av_pix_fmt_desc_get(format);
  return descriptor != nullptr && (descriptor->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL));
}

ColorDescription ColorOf(const AVFrame& frame) {
  const auto format = static_cast<AVPixelFormat>(frame.format);
  ColorDescription color;
  color.primaries = frame.color_primaries;
  color.transfer = frame.color_trc;
  color.matrix = frame.colorspace;
  color.full_range = frame.color_range == AVCOL_RANGE_JPEG || WithoutRange(format) != format ||
                     (format == AV_PIX_FMT_GRAY8 && frame.color_range != AVCOL_RANGE_MPEG);
  return color;
}

}  // namespace

PixelFrame AvFrameWrapper::Wrap(AvFramePtr frame) {
  PixelFrameInfo info;
  info.format = SameFormat(frame->format);
  info.size = {frame->width, frame->height};
  info.color = ColorOf(*frame);
  const std::size_t planes = PlaneCount(info.format);
  bool wrappable = planes > 0;
  for (std::size_t i = 0; i < planes; ++i) {
    info.planes[i] = {frame->data[i], frame->linesize[i]};
    // Pictures that lie upside down in memory have negative strides.
    wrappable = wrappable && frame->data[i] != nullptr && frame->linesize[i] > 0;
  }
  if (!wrappable) return Convert(*frame, info.color);
  return {info, std::shared_ptr<const AVFrame>(std::move(frame))};
}

PixelFrame AvFrameWrapper::Convert(const AVFrame& frame, ColorDescription color) {
  const auto format = WithoutRange(static_cast<AVPixelFormat>(frame.format));
  const bool is_rgb = IsRgb(format);
  const bool source_full_range = is_rgb || color.full_range;
  if (is_rgb) {
    color.matrix = AVCOL_SPC_BT709;
    color.full_range = false;
  }
  scaler_.reset(sws_getCachedContext(scaler_.release(), frame.width, frame.height, format,
                                     frame.width, frame.height, AV_PIX_FMT_YUV420P,
                                     SWS_BILINEAR | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP, nullptr,
                                     nullptr, nullptr));
  if (scaler_ == nullptr) return {};
  // One table for both sides, so that only RGB is multiplied by a matrix.
  const int* const table = sws_getCoefficients(is_rgb ? SWS_CS_ITU709 : SWS_CS_DEFAULT);
  sws_setColorspaceDetails(scaler_.get(), table, source_full_range ? 1 : 0, table,
                           color.full_range ? 1 : 0, 0, 1 << 16, 1 << 16);

  PixelFrameInfo like;
  like.color = color;
  WritableFrame target = pool_.Allocate(PixelFormat::kI420, {frame.width, frame.height}, like);
  if (!target) return {};
  const std::array<std::uint8_t*, 4> planes{target.plane(0), target.plane(1), target.plane(2),
                                            nullptr};
  const std::array<int, 4> strides{target.stride(0), target.stride(1), target.stride(2), 0};
  const int rows = sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height,
                             planes.data(), strides.data());
  if (rows != frame.height) return {};
  return std::move(target).Finish();
}

}  // namespace movra::media
