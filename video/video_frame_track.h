#ifndef MOVRA_VIDEO_VIDEO_FRAME_TRACK_H_
#define MOVRA_VIDEO_VIDEO_FRAME_TRACK_H_

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "video/pixel_frame.h"
#include "video/size.h"
#include "video/video_types.h"

namespace movra::video {

// One encoded picture. The bytes belong to the encoder and are valid during Write only.
struct EncodedFrame {
  const std::uint8_t* data = nullptr;  // H.264: Annex B with start codes, see ITU-T H.264.
  std::size_t size_bytes = 0;
  VideoCodec codec = VideoCodec::kH264;
  VideoStreamType stream_type = VideoStreamType::kBig;
  bool key_frame = false;  // Carries its parameter sets in band.
  Size size{};             // Pixels of the encoded picture.
  ColorDescription color{};
  // On the source's time line. Without B-frames decode order is presentation order.
  std::chrono::nanoseconds timestamp{0};
  std::chrono::nanoseconds duration{0};      // Expected; 0 if the rate is not known.
  std::chrono::nanoseconds capture_time{0};  // Of the source frame, std::chrono::steady_clock.
  std::uint64_t sequence = 0;                // Of the source frame.
  std::uint64_t damaged_frames = 0;          // In the source, up to this frame.
  std::chrono::nanoseconds encode_time{0};   // That the encoder took for this picture.
  std::uint64_t number = 0;  // Of the pictures of its stream, in the order of encoding, from 0.
  std::int32_t temporal_layer = 0;  // A decoder of a layer needs none above it; 0 is the base.
  bool referenced = true;           // False: no other picture is made of it, so it may be left out.
};

// Where encoded frames go; implemented by the application, which keeps it alive. Both operations
// are called on the encoder's own thread, in stream order, and may block: that stalls its encoder
// and, for a lossless source, the source, but no queue and no other producer.
//
// No two threads are inside one writer at once: a start after a stop that did not wait for a slow
// Write waits for it before its own first one, and streams that share a writer take turns. A writer
// that throws is told of once, by a log line and an encoder error, and called no more by that
// start.
class IVideoFrameTrackWriter {
 public:
  virtual ~IVideoFrameTrackWriter() = default;

  virtual void Write(const EncodedFrame& frame) = 0;

  // The source has ended by itself, as a file does, and its last frame has been written: once for
  // each source that ends while the encoder runs; frames behind it are those of the next source.
  // Whoever stops a source or an encoder knows, and is not told here: behind StopEncoder nothing is
  // written any more, and what this writes to is the application's to finish. A live source has no
  // end of its own, so one that breaks off gives none either.
  virtual void WriteEnd(const StreamEnd& /*end*/) {}
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_VIDEO_FRAME_TRACK_H_
