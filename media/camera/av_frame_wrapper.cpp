#include "media/camera/av_frame_wrapper.h"

#include <array>
#include <cstddef>
#include <utility>

#include "media/ffmpeg/ffmpeg_api.h"
#include "media/frame/color_matrix.h"
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

// Whether samples mean the same; how bright and how far apart the colours are is not looked at.
bool IsSameCode(const ColorDescription& a, const ColorDescription& b) {
  return a.matrix == b.matrix && a.full_range == b.full_range;
}

}  // namespace

PixelFrame AvFrameWrapper::Wrap(AvFramePtr frame) {
  PixelFrameInfo info;
  info.format = SameFormat(frame->format);
  info.size = {frame->width, frame->height};
  info.color = ColorOf(*frame);
  const auto av_format = static_cast<AVPixelFormat>(frame->format);
  ColorDescription target = info.color;
  if (IsRgb(av_format)) {
    target.matrix = kMatrixBt709;
    target.full_range = false;
  } else {
    info.color.matrix = target.matrix = MatrixOf(info);
  }
  if (!first_color_) first_color_ = target;
  target.matrix = first_color_->matrix;
  target.full_range = first_color_->full_range;

  const std::size_t planes = PlaneCount(info.format);
  bool wrappable = planes > 0 && IsSameCode(info.color, target);
  for (std::size_t i = 0; i < planes; ++i) {
    info.planes[i] = {frame->data[i], frame->linesize[i]};
    // Pictures that lie upside down in memory have negative strides.
    wrappable = wrappable && frame->data[i] != nullptr && frame->linesize[i] > 0;
  }
  if (!wrappable) return Convert(*frame, info.color, target);
  return {info, std::shared_ptr<const AVFrame>(std::move(frame))};
}

bool AvFrameWrapper::Prepare(const Conversion& conversion) {
  if (scaler_ != nullptr && conversion == conversion_) return true;
  conversion_ = conversion;
  const video::Size& size = conversion.size;
  const auto format = static_cast<AVPixelFormat>(conversion.av_format);
  scaler_.reset(sws_getCachedContext(
      nullptr, size.width, size.height, format, size.width, size.height, AV_PIX_FMT_YUV420P,
      SWS_BILINEAR | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP, nullptr, nullptr, nullptr));
  if (scaler_ == nullptr) return false;
  // Where only the range differs, one table for both sides keeps the matrices out of it.
  const bool source_full_range = IsRgb(format) || conversion.from.full_range;
  const int* const target = sws_getCoefficients(conversion.to.matrix);
  const int* const source = IsRgb(format) ? target : sws_getCoefficients(conversion.from.matrix);
  sws_setColorspaceDetails(scaler_.get(), source, source_full_range ? 1 : 0, target,
                           conversion.to.full_range ? 1 : 0, 0, 1 << 16, 1 << 16);
  return true;
}

PixelFrame AvFrameWrapper::Convert(const AVFrame& frame, const ColorDescription& from,
                                   const ColorDescription& to) {
  const video::Size size{frame.width, frame.height};
  if (!Prepare({WithoutRange(static_cast<AVPixelFormat>(frame.format)), size, from, to})) return {};
  PixelFrameInfo like;
  like.color = to;
  WritableFrame target = pool_.Allocate(PixelFormat::kI420, size, like);
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
