#ifndef MOVRA_MEDIA_ENCODE_STREAM_ENCODER_H_
#define MOVRA_MEDIA_ENCODE_STREAM_ENCODER_H_

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "media/encode/encoder_counters.h"
#include "media/encode/encoder_events.h"
#include "media/encode/encoder_settings.h"
#include "media/encode/frame_encoder.h"
#include "media/encode/frame_rate_dropper.h"
#include "video/encode_params.h"
#include "video/pixel_frame.h"
#include "video/video_context.h"
#include "video/video_frame_track.h"

namespace movra::media {

// Turns the frames of one start into encoded frames: keeps to the stream's rate, opens the encoder
// at the first frame and again at a new size or colour, takes changed parameters over, and places
// key frames. After a failure it answers with nothing, frame after frame, until the format or the
// parameters change. One thread at a time.
class StreamEncoder {
 public:
  StreamEncoder(video::VideoContext context, video::VideoStreamType type,
                FrameEncoderFactory factory, std::shared_ptr<EncoderEvents> events,
                std::shared_ptr<EncoderCounters> counters);

  // Hold from the next frame on.
  void SetParams(const video::EncodeParams& params, std::vector<video::RoiConfigInfo> regions);
  void RequestKeyFrame() { key_frame_requested_ = true; }

  // Whether the frame is one that the stream keeps at its rate; counts it if not.
  [[nodiscard]] bool Keeps(const video::PixelFrame& frame);

  // Encodes a frame that is kept. Null, and counted as failed, if that cannot be done; otherwise
  // valid until the next operation.
  [[nodiscard]] const video::EncodedFrame* Encode(const video::PixelFrame& frame);

  // The next frame is the first of a new stream.
  void EndStream();

 private:
  [[nodiscard]] bool PrepareEncoder(const StreamFormat& format);
  [[nodiscard]] bool Open(const EncoderSettings& settings, const StreamFormat& format);
  // Closes the encoder and tells the client, once for each run of failures.
  void Fail(const EncoderFailure& failure);
  void PublishProperty(const StreamFormat& format);
  void CountEncoded(const video::PixelFrameInfo& info);

  [[nodiscard]] std::int64_t NextTicks(std::chrono::nanoseconds timestamp);
  [[nodiscard]] bool IsKeyFrameDue(std::chrono::nanoseconds timestamp) const;
  // The mean distance of the stream's frames so far, twice the last one at most; before two of them
  // what the rate says.
  [[nodiscard]] std::chrono::nanoseconds ExpectedDuration() const;

  const video::VideoContext context_;
  const video::VideoStreamType type_;
  const FrameEncoderFactory factory_;
  const std::shared_ptr<EncoderEvents> events_;
  const std::shared_ptr<EncoderCounters> counters_;

  video::EncodeParams params_;
  std::vector<video::RoiConfigInfo> regions_;
  FrameRateDropper dropper_;

  std::unique_ptr<IFrameEncoder> encoder_;
  EncoderSettings settings_;  // What the encoder has, or what opening it failed with.
  StreamFormat format_;       // Likewise.
  bool failed_ = false;       // With exactly these settings and this format.
  bool input_refused_ = false;
  video::EncoderProperty property_;

  bool key_frame_requested_ = false;
  std::chrono::nanoseconds last_key_frame_{0};

  // The stream's time line. Ticks go on where time stamps jump back.
  std::uint64_t frames_ = 0;
  std::chrono::nanoseconds first_timestamp_{0};
  std::chrono::nanoseconds last_timestamp_{0};
  std::chrono::nanoseconds last_distance_{0};  // To the frame before; 0 for the first.
  std::int64_t first_ticks_ = 0;
  std::int64_t last_ticks_ = 0;

  video::EncodedFrame encoded_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_STREAM_ENCODER_H_
