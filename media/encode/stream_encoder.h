#ifndef MOVRA_MEDIA_ENCODE_STREAM_ENCODER_H_
#define MOVRA_MEDIA_ENCODE_STREAM_ENCODER_H_

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "media/encode/encoder_counters.h"
#include "media/encode/encoder_events.h"
#include "media/encode/encoder_registry.h"
#include "media/encode/encoder_settings.h"
#include "media/encode/frame_encoder.h"
#include "media/encode/frame_rate_dropper.h"
#include "video/encode_params.h"
#include "video/pixel_frame.h"
#include "video/video_context.h"
#include "video/video_frame_track.h"

namespace movra::media {

// Takes an encoded frame, which is valid during the call, and answers what became of it. Nobody
// wants another one after one that was stopped.
using EncodedFrameReceiver = std::function<FrameFate(const video::EncodedFrame&)>;

// Turns the frames of one start into encoded frames: keeps to the stream's rate, opens the encoder
// at the first frame and again at a new size or colour, takes changed parameters over, and places
// key frames. After a failure it answers with nothing, frame after frame, until the format or the
// parameters change. Parameters that the open encoder does not take, and no other one is opened
// with, are refused: it goes on with those of before. One thread at a time.
//
// An encoder may have frames inside. Each picture that comes out is matched to its frame by the
// time that the frame was submitted with. Before an encoder is closed for another one, what it has
// inside comes out; every frame is counted with what became of it, encoded or not.
class StreamEncoder {
 public:
  StreamEncoder(video::VideoContext context, video::VideoStreamType type, EncoderRegistry registry,
                EncoderEvents events, std::shared_ptr<EncoderCounters> counters);
  // Whatever is still inside is counted as stopped.
  ~StreamEncoder();
  StreamEncoder(const StreamEncoder&) = delete;
  StreamEncoder& operator=(const StreamEncoder&) = delete;

  // Hold from the next frame on.
  void SetParams(const video::EncodeParams& params, std::vector<video::RoiConfigInfo> regions);
  void RequestKeyFrame() { key_frame_requested_ = true; }

  // Whether the frame is one that the stream keeps at its rate; counts it if not. The first frame
  // of another source is kept and becomes a key frame.
  [[nodiscard]] bool Keeps(const video::PixelFrame& frame);

  // Gives a frame that is kept to the encoder, and to the receiver what comes out: mostly that
  // frame, but it may be none, or several of before, in the order in which they were encoded.
  void Encode(const video::PixelFrame& frame, const EncodedFrameReceiver& receiver);

  // Everything that is inside comes out.
  void Flush(const EncodedFrameReceiver& receiver);

  // Flushes; the next frame is the first of a new stream.
  void EndStream(const EncodedFrameReceiver& receiver);

 private:
  // A frame that was submitted and has not come out yet.
  struct Inside {
    std::int64_t ticks = 0;
    std::chrono::nanoseconds timestamp{0};
    std::chrono::nanoseconds duration{0};
    std::chrono::nanoseconds capture_time{0};
    std::uint64_t sequence = 0;
    std::uint64_t damaged_frames = 0;
    std::chrono::nanoseconds encode_time{0};  // So far.
  };

  void TakeParams(const video::EncodeParams& params, std::vector<video::RoiConfigInfo> regions);
  void BeginAnew();
  [[nodiscard]] bool Reads(const video::PixelFrameInfo& info);
  [[nodiscard]] bool PrepareEncoder(const StreamFormat& format,
                                    const EncodedFrameReceiver& receiver);
  // Makes the settings hold for pictures of the format that there is, with the encoder that is open
  // or another one; refuses them if neither takes them.
  void ChangeSettings(const EncoderSettings& settings, const EncodedFrameReceiver& receiver);
  [[nodiscard]] bool Open(const EncoderSettings& settings, const StreamFormat& format);
  void TakeSettings(const EncoderSettings& settings);
  void Install(std::unique_ptr<IFrameEncoder> encoder);
  // Closes the encoder, tells the client, once for each run of failures, and counts what was
  // inside.
  void Fail(const EncoderFailure& failure);
  // Closes the encoder because nobody wants what is inside.
  void Abandon();
  void PublishProperty(const StreamFormat& format);

  void Submit(const video::PixelFrame& frame, const EncodedFrameReceiver& receiver);
  // Hands over all that is ready.
  void TakePictures(const EncodedFrameReceiver& receiver);
  [[nodiscard]] FrameFate HandOver(const EncodedPicture& picture, const Inside& frame,
                                   const EncodedFrameReceiver& receiver);
  void CountEncoded(const video::EncodedFrame& encoded);

  [[nodiscard]] std::int64_t NextTicks(std::chrono::nanoseconds timestamp);
  [[nodiscard]] bool IsKeyFrameDue(std::chrono::nanoseconds timestamp) const;
  // The next one is due an interval behind it.
  void NoteKeyFrame(std::int64_t ticks, std::chrono::nanoseconds timestamp);
  // The mean distance of the stream's frames so far, twice the last one at most; before two of them
  // what the rate says.
  [[nodiscard]] std::chrono::nanoseconds ExpectedDuration() const;

  const video::VideoContext context_;
  const video::VideoStreamType type_;
  const EncoderRegistry registry_;
  const EncoderEvents events_;
  const std::shared_ptr<EncoderCounters> counters_;

  video::EncodeParams params_;
  std::vector<video::RoiConfigInfo> regions_;
  bool params_hold_ = false;  // The encoder has them.
  // Those that it had last; they are gone back to if it does not take the new ones.
  video::EncodeParams former_params_;
  std::vector<video::RoiConfigInfo> former_regions_;
  FrameRateDropper dropper_;

  const EncoderEntry* entry_ = nullptr;  // Of the codec that the parameters ask for.
  std::unique_ptr<IFrameEncoder> encoder_;
  bool is_new_ = false;       // The encoder has had no frame.
  EncoderSettings settings_;  // What the encoder has, or what opening it failed with.
  StreamFormat format_;       // Likewise.
  bool failed_ = false;       // With exactly these settings and this format.
  bool input_refused_ = false;
  video::EncoderProperty property_;

  // Which source the last frame was from.
  std::optional<std::uint64_t> source_run_;

  bool key_frame_requested_ = false;
  std::chrono::nanoseconds last_key_frame_{0};
  std::int64_t last_key_ticks_ = 0;

  // The stream's time line. Ticks go on where time stamps jump back.
  std::uint64_t frames_ = 0;
  std::chrono::nanoseconds first_timestamp_{0};
  std::chrono::nanoseconds last_timestamp_{0};
  std::chrono::nanoseconds last_distance_{0};  // To the frame before; 0 for the first.
  std::int64_t first_ticks_ = 0;
  std::int64_t last_ticks_ = 0;

  std::vector<Inside> inside_;  // In the order of submission; mostly none between two frames.
  std::uint64_t pictures_ = 0;  // Of the stream.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_STREAM_ENCODER_H_
