#ifndef MOVRA_VIDEO_CUSTOM_PROCESS_PARAMS_H_
#define MOVRA_VIDEO_CUSTOM_PROCESS_PARAMS_H_

#include <cstdint>

#include "video/video_types.h"

namespace movra::video {

// What an interceptor or an output track wants to receive from the preprocessor.
struct CustomProcessParams {
  std::int32_t width = 0;   // Pixels; 0: as the frame is.
  std::int32_t height = 0;  // Pixels; 0: as the frame is.
  bool enabled = false;     // True for output tracks, false for the custom-processing interceptor.
  BufferType buffer_type = BufferType::kMemory;
  PixelFormat pixel_format = PixelFormat::kNone;  // kNone: as the frame is.
  std::int32_t reserved = 0;                      // Always 0.
  VideoStreamType stream_type = VideoStreamType::kBig;

  friend bool operator==(const CustomProcessParams&, const CustomProcessParams&) = default;
};
static_assert(sizeof(CustomProcessParams) == 28);

// The input format that an encoder wants. The two fields stand in the opposite order of the
// arguments elsewhere: assign by name.
struct PixelFrameFormat {
  BufferType buffer_type = BufferType::kMemory;
  PixelFormat pixel_format = PixelFormat::kNone;

  friend bool operator==(const PixelFrameFormat&, const PixelFrameFormat&) = default;
};
static_assert(sizeof(PixelFrameFormat) == 8);

}  // namespace movra::video

#endif  // MOVRA_VIDEO_CUSTOM_PROCESS_PARAMS_H_
