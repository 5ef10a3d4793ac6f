#ifndef MOVRA_MEDIA_ENCODE_FRAME_ENCODER_H_
#define MOVRA_MEDIA_ENCODE_FRAME_ENCODER_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "media/encode/encoder_settings.h"
#include "media/result/result.h"
#include "video/pixel_frame.h"
#include "video/size.h"
#include "video/video_types.h"

// The seam between the encoder controller, which knows streams and threads, and the library that
// compresses pictures.

namespace movra::media {

// What cannot change while an encoder is open.
struct StreamFormat {
  video::Size size{};
  video::ColorDescription color{};

  friend bool operator==(const StreamFormat&, const StreamFormat&) = default;
};

using EncoderFailure = Failure<video::VideoEncoderError>;

// Belongs to the encoder and is valid until its next operation.
struct EncodedPicture {
  const std::uint8_t* data = nullptr;  // H.264: Annex B; key frames carry their parameter sets.
  std::size_t size_bytes = 0;
  bool key_frame = false;
  std::int64_t ticks = 0;           // Of the frame that it was made of.
  std::int32_t temporal_layer = 0;  // 0: the base, which every decoder takes.
  bool referenced = true;           // False: no other picture is made of it.
};

inline constexpr std::int64_t kEncoderTicksPerSecond = 90'000;

// An open encoder: frames are submitted, and each gives one picture sooner or later. Pictures may
// come with their frame, some frames later (look-ahead), or several at once; they come in the order
// in which a decoder takes them. One thread at a time.
//
//   Submit, then Take until nothing is ready; and again. Flush, then Take until nothing is ready.
//
// It may be closed at any time. After a failure that is done without another word, and what it had
// inside is lost.
class IFrameEncoder {
 public:
  virtual ~IFrameEncoder() = default;

  // Takes the settings over without a key frame, from the next frame on; frames that are inside
  // keep theirs. False if it cannot: then it is as it was, and takes frames with the settings that
  // it has, until another one is open that has the new ones.
  [[nodiscard]] virtual bool Reconfigure(const EncoderSettings& settings) = 0;

  // Whether another frame may be submitted. False, so that it is to be flushed and closed, if
  // settings that were taken over turn out to have had no effect, or behind a flush if the library
  // cannot begin anew.
  [[nodiscard]] virtual bool CanGoOn() const = 0;

  // Takes a frame of one of the formats in the encoder's row of the registry, of the size that it
  // was opened with; its samples are read during the call only. `ticks` is its time, more than that
  // of the frame before. What is inside comes out as it would have; a key frame, if asked for, is
  // this one, and the first frame gives one unasked. False on a failure, which `failure` tells.
  [[nodiscard]] virtual bool Submit(const video::PixelFrame& frame, std::int64_t ticks,
                                    bool key_frame, EncoderFailure& failure) = 0;

  // The next picture that is ready. Nothing if there is none, or on a failure, which `failure` then
  // tells.
  [[nodiscard]] virtual std::optional<EncodedPicture> Take(EncoderFailure& failure) = 0;

  // No frame follows for now: everything inside becomes ready, which may be nothing. False on a
  // failure.
  [[nodiscard]] virtual bool Flush(EncoderFailure& failure) = 0;

  // The library and what it was opened with, in words: "libx264 164, veryfast, 1 thread".
  [[nodiscard]] virtual std::string Describe() const = 0;
};

// Makes an open encoder, or null and the reason in `failure`.
using FrameEncoderFactory = std::function<std::unique_ptr<IFrameEncoder>(
    const EncoderSettings& settings, const StreamFormat& format, EncoderFailure& failure)>;

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_FRAME_ENCODER_H_
