#ifndef MOVRA_VIDEO_STATS_H_
#define MOVRA_VIDEO_STATS_H_

#include <cstdint>
#include <string>
#include <type_traits>

namespace movra::video {

// The plain figures of one encoder, counted since its controller was created. Copied bytewise into
// the producer's statistics, so its size and layout are part of the interface.
struct EncoderStatsRecord {
  std::uint32_t frames_in = 0;            // Frames read from the input track.
  std::uint32_t frames_encoded = 0;       // Frames handed to the output writer.
  std::uint32_t frames_dropped_rate = 0;  // Dropped to keep the stream's frame rate.
  std::uint32_t frames_dropped_late = 0;  // Live frames displaced by newer ones before encoding.
  std::uint32_t frames_failed = 0;        // Frames that could not be encoded.
  std::uint32_t key_frames = 0;
  std::uint32_t width = 0;   // Pixels, of the last encoded frame.
  std::uint32_t height = 0;  // Pixels, of the last encoded frame.
  std::uint32_t target_bitrate_bps = 0;
  std::uint32_t encode_time_mean_us = 0;
  std::uint32_t encode_time_max_us = 0;
  std::uint32_t latency_mean_us = 0;  // From capture to the packet.
  std::uint32_t latency_max_us = 0;
  std::uint32_t bytes_low = 0;   // Encoded bytes, lower 32 bits.
  std::uint32_t bytes_high = 0;  // Encoded bytes, upper 32 bits.
};
static_assert(sizeof(EncoderStatsRecord) == 60 && std::is_trivially_copyable_v<EncoderStatsRecord>);

// An encoder controller's own statistics: the plain record first, then what needs a destructor.
struct EncoderStats {
  EncoderStatsRecord record{};
  std::string implementation{};
};

// A renderer controller's own statistics; the producer reports the first field.
struct RendererStats {
  std::uint32_t frames_rendered = 0;
  std::uint32_t frames_dropped = 0;
  std::string driver{};
};

// What IVideoProducer2::GetStats answers. A figure whose source is missing keeps its last value,
// and both streams share the one encoder record: ask for the stream you mean right before reading.
struct VideoProducerStats2 {
  std::uint32_t capture_stat = 0;     // Frames that the capture source delivered.
  std::uint32_t preprocess_stat = 0;  // Frames that the preprocessor processed.
  EncoderStatsRecord encoder_stats{};
  std::uint32_t render_stat = 0;  // Frames that the renderer drew.
};
static_assert(sizeof(VideoProducerStats2) == 72);

}  // namespace movra::video

#endif  // MOVRA_VIDEO_STATS_H_
