#include "media/frame/color_matrix.h"

#include <algorithm>

namespace movra::media {

std::int32_t MatrixOf(const video::PixelFrameInfo& info) {
  constexpr int kHighDefinitionLines = 720;
  switch (info.color.matrix) {
    case kMatrixIdentity:
    case kMatrixUnspecified:
    case kMatrixReserved:
      // A portrait picture is an upright one that lies on its side.
      return std::min(info.size.width, info.size.height) >= kHighDefinitionLines ? kMatrixBt709
                                                                                 : kMatrixBt601;
    default:
      return info.color.matrix;
  }
}

}  // namespace movra::media
