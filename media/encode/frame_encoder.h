#ifndef MOVRA_MEDIA_ENCODE_FRAME_ENCODER_H_
#define MOVRA_MEDIA_ENCODE_FRAME_ENCODER_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "media/encode/encoder_settings.h"
#include "video/pixel_frame.h"
#include "video/size.h"
#include "video/video_types.h"

// The seam between the encoder controller, which knows streams and threads, and the library that
// compresses pictures.

namespace movra::media {

// What cannot change while an encoder is open.
struct StreamFormat {
  video::Size size;
  video::ColorDescription color;

  friend bool operator==(const StreamFormat&, const StreamFormat&) = default;
};

struct EncoderFailure {
  video::VideoEncoderError error = video::VideoEncoderError::kNone;
  std::string text;  // For people: what was wrong.
};

// Belongs to the encoder and is valid until its next operation.
struct EncodedPicture {
  const std::uint8_t* data = nullptr;  // Annex B; key frames carry their parameter sets.
  std::size_t size_bytes = 0;
  bool key_frame = false;
};

inline constexpr std::int64_t kEncoderTicksPerSecond = 90'000;

// An open encoder: one picture in, one picture out. One thread at a time.
class IFrameEncoder {
 public:
  virtual ~IFrameEncoder() = default;

  // Takes the settings over without a key frame, from the next picture on. False if it cannot: then
  // it is to be closed and another one opened.
  [[nodiscard]] virtual bool Reconfigure(const EncoderSettings& settings) = 0;

  // Whether what was taken over has taken effect, as far as that can be told yet. False: as above.
  [[nodiscard]] virtual bool HasSettings() const = 0;

  // Encodes an I420 or NV12 frame in memory, of the size that the encoder was opened with; its
  // samples are read during the call only. `ticks` is its time, more than that of the frame before.
  // Nothing on a failure, which `failure` tells.
  [[nodiscard]] virtual std::optional<EncodedPicture> Encode(const video::PixelFrame& frame,
                                                             std::int64_t ticks, bool key_frame,
                                                             EncoderFailure& failure) = 0;

  // The library and what it was opened with, in words: "libx264 164, veryfast, 1 thread".
  [[nodiscard]] virtual std::string Describe() const = 0;
};

// Makes an open encoder, or null and the reason in `failure`.
using FrameEncoderFactory = std::function<std::unique_ptr<IFrameEncoder>(
    const EncoderSettings& settings, const StreamFormat& format, EncoderFailure& failure)>;

// The factory for H.264 of this build; one without an encoder library fails with kUnavailable.
[[nodiscard]] std::unique_ptr<IFrameEncoder> OpenH264Encoder(const EncoderSettings& settings,
                                                             const StreamFormat& format,
                                                             EncoderFailure& failure);

[[nodiscard]] bool HasH264Encoder();

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_FRAME_ENCODER_H_
