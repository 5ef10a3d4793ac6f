#ifndef MOVRA_MEDIA_FILE_AV_FRAME_WRAPPER_H_
#define MOVRA_MEDIA_FILE_AV_FRAME_WRAPPER_H_

#include <cstdint>
#include <optional>
#include <vector>

#include "media/ffmpeg/ffmpeg_ptr.h"
#include "media/frame/frame_pool.h"
#include "video/pixel_frame.h"

namespace movra::media {

// Whether pictures of that format may be transparent.
[[nodiscard]] bool HasAlpha(int av_format);

// Makes pixel frames of decoded frames.
//
// A frame in one of the formats of video::PixelFormat is wrapped: the pixel frame owns the decoded
// one, and no sample is copied. Any other (RGB, palettes, more than 10 bits, 10 bits with fuller
// chroma ...) is converted to I420, RGB as BT.709 with limited range.
//
// What is transparent in a frame is shown over black.
//
// Colours are described by the frame's own fields; grey that says nothing of its range has the full
// one, as is usual, and a matrix that is not stated is the one that the size stands for. The first
// frame decides on matrix and range: a later one that has others is converted, because a stream's
// header is written once and many players look nowhere else.
//
// One thread at a time; the frames may go anywhere.
class AvFrameWrapper {
 public:
  // Sets format, size, planes and colour, and leaves the rest for the caller. Empty if the frame
  // cannot be converted.
  [[nodiscard]] video::PixelFrame Wrap(AvFramePtr frame);

 private:
  struct Conversion {
    int av_format = -1;
    video::Size size;
    video::ColorDescription from;
    video::ColorDescription to;

    friend bool operator==(const Conversion&, const Conversion&) = default;
  };

  [[nodiscard]] video::PixelFrame Convert(const AVFrame& frame, const video::ColorDescription& from,
                                          const video::ColorDescription& to);
  // Makes the scaler fit; false if there can be none.
  [[nodiscard]] bool Prepare(const Conversion& conversion);

  std::optional<video::ColorDescription> first_color_;
  FramePool pool_;
  std::vector<std::uint8_t> alpha_;  // Of the frame that is being converted.
  SwsContextPtr scaler_;
  Conversion conversion_;  // That the scaler is for.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FILE_AV_FRAME_WRAPPER_H_
