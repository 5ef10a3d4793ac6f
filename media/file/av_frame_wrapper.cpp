#include "media/file/av_frame_wrapper.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "media/ffmpeg/code_of.h"
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

std::uint8_t Blend(int sample, int black, int alpha) {
  return static_cast<std::uint8_t>(black + (sample - black) * alpha / 255);
}

// The scaler may write behind the end of a row.
std::ptrdiff_t AlphaStride(int width) { return (width + 63) / 64 * 64; }

// Mixes an I420 picture with black. `alpha` has a sample for each of luma.
void ShowOverBlack(WritableFrame& frame, const std::vector<std::uint8_t>& alpha) {
  constexpr int kNoColour = 128;
  const int black = frame.info().color.full_range ? 0 : 16;
  const video::Size size = frame.info().size;
  const auto at = [&](int x, int y) {
    const std::uint8_t* const row =
        alpha.data() + AlphaStride(size.width) * std::min(y, size.height - 1);
    return int{row[std::min(x, size.width - 1)]};
  };
  for (int y = 0; y < size.height; ++y) {
    std::uint8_t* const luma = frame.plane(0) + std::ptrdiff_t{y} * frame.stride(0);
    for (int x = 0; x < size.width; ++x) luma[x] = Blend(luma[x], black, at(x, y));
  }
  for (const std::size_t plane : {1U, 2U}) {
    for (int y = 0; y < (size.height + 1) / 2; ++y) {
      std::uint8_t* const row = frame.plane(plane) + std::ptrdiff_t{y} * frame.stride(plane);
      for (int x = 0; x < (size.width + 1) / 2; ++x) {
        const int four = at(2 * x, 2 * y) + at(2 * x + 1, 2 * y) + at(2 * x, 2 * y + 1) +
                         at(2 * x + 1, 2 * y + 1);
        row[x] = Blend(row[x], kNoColour, four / 4);
      }
    }
  }
}

ColorDescription ColorOf(const AVFrame& frame) {
  const auto format = static_cast<AVPixelFormat>(frame.format);
  ColorDescription color;
  color.primaries = CodeOf(frame.color_primaries, AVCOL_PRI_NB, AVCOL_PRI_UNSPECIFIED);
  color.transfer = CodeOf(frame.color_trc, AVCOL_TRC_NB, AVCOL_TRC_UNSPECIFIED);
  color.matrix = CodeOf(frame.colorspace, AVCOL_SPC_NB, AVCOL_SPC_UNSPECIFIED);
  const int range = CodeOf(frame.color_range, AVCOL_RANGE_NB, AVCOL_RANGE_UNSPECIFIED);
  color.full_range = range == AVCOL_RANGE_JPEG || WithoutRange(format) != format ||
                     (format == AV_PIX_FMT_GRAY8 && range != AVCOL_RANGE_MPEG);
  return color;
}

// Whether samples mean the same; how bright and how far apart the colours are is not looked at.
bool IsSameCode(const ColorDescription& a, const ColorDescription& b) {
  return a.matrix == b.matrix && a.full_range == b.full_range;
}

}  // namespace

bool HasAlpha(int av_format) {
  const AVPixFmtDescriptor* const descriptor =
      av_pix_fmt_desc_get(static_cast<AVPixelFormat>(av_format));
  return descriptor != nullptr && (descriptor->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
}

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
      nullptr, size.width, size.height, format, size.width, size.height,
      HasAlpha(format) ? AV_PIX_FMT_YUVA420P : AV_PIX_FMT_YUV420P,
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
  const bool has_alpha = HasAlpha(frame.format);
  if (has_alpha) {
    alpha_.resize(static_cast<std::size_t>(AlphaStride(size.width) * size.height));
  }
  const std::array<std::uint8_t*, 4> planes{target.plane(0), target.plane(1), target.plane(2),
                                            has_alpha ? alpha_.data() : nullptr};
  const std::array<int, 4> strides{target.stride(0), target.stride(1), target.stride(2),
                                   has_alpha ? static_cast<int>(AlphaStride(size.width)) : 0};
  const int rows = sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height,
                             planes.data(), strides.data());
  if (rows != frame.height) return {};
  if (has_alpha) ShowOverBlack(target, alpha_);
  return std::move(target).Finish();
}

}  // namespace movra::media
