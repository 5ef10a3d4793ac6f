#include "media/frame/convert_frame.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "libyuv/convert.h"
#include "libyuv/convert_argb.h"
#include "libyuv/convert_from.h"
#include "libyuv/convert_from_argb.h"
#include "libyuv/planar_functions.h"
#include "media/frame/color_matrix.h"
#include "media/frame/frame_layout.h"

namespace movra::media {
namespace {

using video::ColorDescription;
using video::PixelFormat;
using video::PixelFrame;
using video::PixelFrameInfo;

// libyuv names formats by their order in a little-endian word: its ARGB is our BGRA, its ABGR our
// RGBA. It counts strides of 16-bit planes in samples.
struct Source {
  explicit Source(const PixelFrameInfo& info)
      : y(info.planes[0].data),
        u(info.planes[1].data),
        v(info.planes[2].data),
        sy(info.planes[0].stride),
        su(info.planes[1].stride),
        sv(info.planes[2].stride),
        w(info.size.width),
        h(info.size.height) {}
  static const std::uint16_t* Wide(const std::uint8_t* plane) {
    return reinterpret_cast<const std::uint16_t*>(plane);
  }

  const std::uint8_t *y, *u, *v;
  int sy, su, sv, w, h;
};

struct Target {
  explicit Target(WritableFrame& frame)
      : y(frame.plane(0)),
        u(frame.plane(1)),
        v(frame.plane(2)),
        sy(frame.stride(0)),
        su(frame.stride(1)),
        sv(frame.stride(2)) {}

  std::uint8_t *y, *u, *v;
  int sy, su, sv;
};

const libyuv::YuvConstants* ConstantsFor(const PixelFrameInfo& info) {
  const bool full = info.color.full_range;
  switch (MatrixOf(info)) {
    case kMatrixBt709:
    case kMatrixSmpte240:
      return full ? &libyuv::kYuvF709Constants : &libyuv::kYuvH709Constants;
    case kMatrixBt2020:
    case kMatrixBt2020Constant:
      return full ? &libyuv::kYuvV2020Constants : &libyuv::kYuv2020Constants;
    default:
      return full ? &libyuv::kYuvJPEGConstants : &libyuv::kYuvI601Constants;
  }
}

ColorDescription ColorAfter(const ColorDescription& color, PixelFormat from, PixelFormat to) {
  if (IsRgb(from) == IsRgb(to)) return color;
  ColorDescription result = color;
  result.matrix = IsRgb(to) ? kMatrixIdentity : kMatrixBt601;
  result.full_range = IsRgb(to);
  return result;
}

// Ten bits to eight, to the nearest. libyuv cuts the last two off, which darkens by 3/8 of a level.
void NarrowPlane(const std::uint16_t* source, int source_stride, std::uint8_t* target, int stride,
                 int width, int height) {
  for (int y = 0; y < height; ++y, source += source_stride, target += stride) {
    for (int x = 0; x < width; ++x) {
      target[x] = static_cast<std::uint8_t>(std::min((source[x] + 2) >> 2, 255));
    }
  }
}

// Each of these answers whether it knows the way in one step.

bool ToI420(PixelFormat from, const Source& s, const Target& t) {
  switch (from) {
    case PixelFormat::kNV12:
      return 0 ==
             libyuv::NV12ToI420(s.y, s.sy, s.u, s.su, t.y, t.sy, t.u, t.su, t.v, t.sv, s.w, s.h);
    case PixelFormat::kI422:
      return 0 == libyuv::I422ToI420(s.y, s.sy, s.u, s.su, s.v, s.sv, t.y, t.sy, t.u, t.su, t.v,
                                     t.sv, s.w, s.h);
    case PixelFormat::kI444:
      return 0 == libyuv::I444ToI420(s.y, s.sy, s.u, s.su, s.v, s.sv, t.y, t.sy, t.u, t.su, t.v,
                                     t.sv, s.w, s.h);
    case PixelFormat::kGray:
      return 0 == libyuv::I400ToI420(s.y, s.sy, t.y, t.sy, t.u, t.su, t.v, t.sv, s.w, s.h);
    case PixelFormat::kBGRA:
      return 0 == libyuv::ARGBToI420(s.y, s.sy, t.y, t.sy, t.u, t.su, t.v, t.sv, s.w, s.h);
    case PixelFormat::kRGBA:
      return 0 == libyuv::ABGRToI420(s.y, s.sy, t.y, t.sy, t.u, t.su, t.v, t.sv, s.w, s.h);
    case PixelFormat::kI010: {
      const int half_w = (s.w + 1) / 2;
      const int half_h = (s.h + 1) / 2;
      NarrowPlane(Source::Wide(s.y), s.sy / 2, t.y, t.sy, s.w, s.h);
      NarrowPlane(Source::Wide(s.u), s.su / 2, t.u, t.su, half_w, half_h);
      NarrowPlane(Source::Wide(s.v), s.sv / 2, t.v, t.sv, half_w, half_h);
      return true;
    }
    default:
      return false;
  }
}

bool ToNV12(PixelFormat from, const Source& s, const Target& t) {
  switch (from) {
    case PixelFormat::kI420:
      return 0 ==
             libyuv::I420ToNV12(s.y, s.sy, s.u, s.su, s.v, s.sv, t.y, t.sy, t.u, t.su, s.w, s.h);
    case PixelFormat::kI444:
      return 0 ==
             libyuv::I444ToNV12(s.y, s.sy, s.u, s.su, s.v, s.sv, t.y, t.sy, t.u, t.su, s.w, s.h);
    case PixelFormat::kBGRA:
      return 0 == libyuv::ARGBToNV12(s.y, s.sy, t.y, t.sy, t.u, t.su, s.w, s.h);
    case PixelFormat::kRGBA:
      return 0 == libyuv::ABGRToNV12(s.y, s.sy, t.y, t.sy, t.u, t.su, s.w, s.h);
    default:
      return false;
  }
}

bool ToBGRA(const PixelFrameInfo& info, const Source& s, const Target& t) {
  const libyuv::YuvConstants* const constants = ConstantsFor(info);
  switch (info.format) {
    case PixelFormat::kI420:
      return 0 == libyuv::I420ToARGBMatrix(s.y, s.sy, s.u, s.su, s.v, s.sv, t.y, t.sy, constants,
                                           s.w, s.h);
    case PixelFormat::kNV12:
      return 0 == libyuv::NV12ToARGBMatrix(s.y, s.sy, s.u, s.su, t.y, t.sy, constants, s.w, s.h);
    case PixelFormat::kI422:
      return 0 == libyuv::I422ToARGBMatrix(s.y, s.sy, s.u, s.su, s.v, s.sv, t.y, t.sy, constants,
                                           s.w, s.h);
    case PixelFormat::kI444:
      return 0 == libyuv::I444ToARGBMatrix(s.y, s.sy, s.u, s.su, s.v, s.sv, t.y, t.sy, constants,
                                           s.w, s.h);
    case PixelFormat::kGray:
      return 0 == libyuv::I400ToARGBMatrix(s.y, s.sy, t.y, t.sy, constants, s.w, s.h);
    case PixelFormat::kI010:
      return 0 == libyuv::I010ToARGBMatrix(Source::Wide(s.y), s.sy / 2, Source::Wide(s.u), s.su / 2,
                                           Source::Wide(s.v), s.sv / 2, t.y, t.sy, constants, s.w,
                                           s.h);
    case PixelFormat::kRGBA:
      return 0 == libyuv::ABGRToARGB(s.y, s.sy, t.y, t.sy, s.w, s.h);
    default:
      return false;
  }
}

bool ToPlanar(PixelFormat from, PixelFormat to, const Source& s, const Target& t) {
  if (from == PixelFormat::kBGRA && to == PixelFormat::kI444) {
    return 0 == libyuv::ARGBToI444(s.y, s.sy, t.y, t.sy, t.u, t.su, t.v, t.sv, s.w, s.h);
  }
  if (from == PixelFormat::kBGRA && to == PixelFormat::kI422) {
    return 0 == libyuv::ARGBToI422(s.y, s.sy, t.y, t.sy, t.u, t.su, t.v, t.sv, s.w, s.h);
  }
  if (from == PixelFormat::kI422 && to == PixelFormat::kI444) {
    return 0 == libyuv::I422ToI444(s.y, s.sy, s.u, s.su, s.v, s.sv, t.y, t.sy, t.u, t.su, t.v, t.sv,
                                   s.w, s.h);
  }
  if (from != PixelFormat::kI420) return false;
  switch (to) {
    case PixelFormat::kI422:
      return 0 == libyuv::I420ToI422(s.y, s.sy, s.u, s.su, s.v, s.sv, t.y, t.sy, t.u, t.su, t.v,
                                     t.sv, s.w, s.h);
    case PixelFormat::kI444:
      return 0 == libyuv::I420ToI444(s.y, s.sy, s.u, s.su, s.v, s.sv, t.y, t.sy, t.u, t.su, t.v,
                                     t.sv, s.w, s.h);
    case PixelFormat::kI010: {
      const auto wide = [](std::uint8_t* plane) { return reinterpret_cast<std::uint16_t*>(plane); };
      return 0 == libyuv::I420ToI010(s.y, s.sy, s.u, s.su, s.v, s.sv, wide(t.y), t.sy / 2,
                                     wide(t.u), t.su / 2, wide(t.v), t.sv / 2, s.w, s.h);
    }
    default:
      return false;
  }
}

bool InOneStep(const PixelFrameInfo& info, PixelFormat format, const Target& target) {
  const Source source(info);
  switch (format) {
    case PixelFormat::kI420:
      return ToI420(info.format, source, target);
    case PixelFormat::kNV12:
      return ToNV12(info.format, source, target);
    case PixelFormat::kBGRA:
      return ToBGRA(info, source, target);
    case PixelFormat::kRGBA:
      return info.format == PixelFormat::kBGRA &&
             0 == libyuv::ARGBToABGR(source.y, source.sy, target.y, target.sy, source.w, source.h);
    default:
      return ToPlanar(info.format, format, source, target);
  }
}

// The format to go through when there is no way in one step.
PixelFormat StepTowards(PixelFormat from, PixelFormat to) {
  if (to == PixelFormat::kRGBA) return PixelFormat::kBGRA;
  const bool keeps_more_chroma = to == PixelFormat::kI422 || to == PixelFormat::kI444;
  if (from == PixelFormat::kRGBA && keeps_more_chroma) return PixelFormat::kBGRA;
  return PixelFormat::kI420;
}

PixelFrame LumaOf(const PixelFrame& frame) {
  PixelFrameInfo info = frame.info();
  info.format = PixelFormat::kGray;
  info.planes[1] = {};
  info.planes[2] = {};
  return frame.WithInfo(info);
}

}  // namespace

PixelFrame ConvertFrame(const PixelFrame& frame, PixelFormat format, FramePool& pool) {
  const PixelFrameInfo& info = frame.info();
  if (!frame || PlaneCount(info.format) == 0) return {};
  if (format == PixelFormat::kNone || format == info.format) return frame;
  if (PlaneCount(format) == 0) return {};
  if (format == PixelFormat::kGray) {
    const bool has_luma = !IsRgb(info.format) && info.format != PixelFormat::kI010;
    return LumaOf(has_luma ? frame : ConvertFrame(frame, PixelFormat::kI420, pool));
  }
  WritableFrame converted = pool.Allocate(format, info.size, info);
  if (!converted) return {};
  if (!InOneStep(info, format, Target(converted))) {
    const PixelFormat step = StepTowards(info.format, format);
    if (step == info.format || step == format) return {};
    return ConvertFrame(ConvertFrame(frame, step, pool), format, pool);
  }
  converted.set_color(ColorAfter(info.color, info.format, format));
  return std::move(converted).Finish();
}

}  // namespace movra::media
