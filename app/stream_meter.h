// The program's last look at an encoded stream on its way into the file.

#ifndef MOVRA_APP_STREAM_METER_H_
#define MOVRA_APP_STREAM_METER_H_

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "app/latency_histogram.h"
#include "media/output/encoded_sink.h"
#include "media/output/time_line.h"
#include "media/output/time_origin.h"
#include "video/video_frame_track.h"

namespace movra::app {

struct StreamFigures {
  std::uint64_t packets = 0;  // That the encoder gave, those beyond the limit too.
  std::uint64_t packets_beyond_limit = 0;
  std::uint64_t frames = 0;
  std::uint64_t key_frames = 0;
  std::uint64_t bytes = 0;                   // Of the pictures.
  std::uint64_t file_bytes = 0;              // With the container; known at the end alone.
  std::uint64_t damaged_frames = 0;          // In the source, up to the last frame.
  std::chrono::nanoseconds begin{0};         // Of the first frame, on the source's time line.
  std::chrono::nanoseconds media_time{0};    // From the first frame to the end of the last.
  std::chrono::nanoseconds longest_wait{0};  // From one frame to the next in the file.
  DurationSummary encode_time;
  DurationSummary latency;  // From the capture until the frame is encoded.
  DurationSummary road;     // The latency without the encode time.
  // How far the captures are from where the time stamps put them, reckoned from the first one.
  DurationSummary pacing_error;
  // When the first frame came, on std::chrono::steady_clock.
  std::optional<std::chrono::steady_clock::time_point> first_frame;

  // What is written is known by whoever wrote it.
  void TakeWritten(const media::WrittenFigures& written);
};

// Counts frames and passes them on, up to a limit of media time. What stands on the limit or behind
// it is swallowed, and nothing that is passed on lasts beyond it, so a stream of so many seconds
// has exactly the frames of these seconds. How long the last of them stands is told to whoever
// closes the file.
//
// Write and WriteEnd run on the encoder's thread, Figures on any.
class StreamMeter : public video::IVideoFrameTrackWriter {
 public:
  struct Callbacks {
    // Both run once at most, on the encoder's thread.
    std::function<void()> on_first_frame;
    std::function<void()> on_limit;  // The source has got to the limit or beyond it.
  };

  // `next` gets the frames. The limit counts from the origin, which the streams of one run share,
  // so that they end together; null: from the stream's own first frame.
  StreamMeter(std::shared_ptr<video::IVideoFrameTrackWriter> next,
              std::shared_ptr<media::TimeOrigin> origin,
              std::optional<std::chrono::nanoseconds> limit, Callbacks callbacks);

  void Write(const video::EncodedFrame& frame) override;
  void WriteEnd(const video::StreamEnd& end) override;

  [[nodiscard]] StreamFigures Figures() const;

 private:
  // Sources round their time stamps; a place so close below the limit is meant to be on it.
  [[nodiscard]] bool IsAtLimit(std::chrono::nanoseconds place) const;
  void ReachLimit();
  void CountPacket();
  void CountBeyondLimit();
  void Count(const video::EncodedFrame& frame, std::chrono::nanoseconds place,
             std::chrono::steady_clock::time_point arrival);

  const std::shared_ptr<video::IVideoFrameTrackWriter> next_;
  const std::optional<std::chrono::nanoseconds> limit_;
  const Callbacks callbacks_;

  // The encoder's thread alone.
  media::TimeLine time_line_;
  std::chrono::nanoseconds first_place_{0};
  std::chrono::nanoseconds first_timestamp_{0};
  std::chrono::nanoseconds first_capture_{0};
  bool limit_reached_ = false;

  mutable std::mutex mutex_;
  // All guarded by mutex_.
  StreamFigures figures_;
  LatencyHistogram encode_times_;
  LatencyHistogram latencies_;
  LatencyHistogram roads_;
  LatencyHistogram pacing_errors_;
};

}  // namespace movra::app

#endif  // MOVRA_APP_STREAM_METER_H_
