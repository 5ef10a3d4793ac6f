#ifndef MOVRA_MEDIA_FRAME_COLOR_MATRIX_H_
#define MOVRA_MEDIA_FRAME_COLOR_MATRIX_H_

#include <cstdint>

#include "video/pixel_frame.h"

namespace movra::media {

// The matrices that the sources name, as code points of ITU-T H.273.
inline constexpr std::int32_t kMatrixIdentity = 0;
inline constexpr std::int32_t kMatrixBt709 = 1;
inline constexpr std::int32_t kMatrixUnspecified = 2;
inline constexpr std::int32_t kMatrixReserved = 3;
inline constexpr std::int32_t kMatrixBt601 = 6;
inline constexpr std::int32_t kMatrixSmpte240 = 7;
inline constexpr std::int32_t kMatrixBt2020 = 9;
inline constexpr std::int32_t kMatrixBt2020Constant = 10;

// The matrix of a YUV picture: the one that it states, or, where it states none or one that YUV
// cannot have, what players assume then: BT.709 from 720 lines on and BT.601 below.
[[nodiscard]] std::int32_t MatrixOf(const video::PixelFrameInfo& info);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FRAME_COLOR_MATRIX_H_
