#ifndef MOVRA_VIDEO_ENCODE_PARAMS_H_
#define MOVRA_VIDEO_ENCODE_PARAMS_H_

#include <cstdint>
#include <string>
#include <type_traits>

#include "base/optional.h"
#include "video/video_types.h"

namespace movra::video {

// What a stream's encoder is asked for. An absent field means the encoder's default at a start and
// "unchanged" afterwards. Numbers without a sense (a rate of 0, anything negative) count as absent
// at a start; a running encoder refuses a change that has one, or that it cannot take otherwise.
struct EncodeParams {
  movra_base::Optional<std::int32_t> width{};   // Pixels, even.
  movra_base::Optional<std::int32_t> height{};  // Pixels, even.
  // Highest rate of the stream in frames per second. Frames above it are dropped evenly by their
  // time stamps; none is duplicated, so a rate above the source's gives the source's. The capture
  // follows it: a rate that is no whole number stands here rounded up, and exactly below.
  movra_base::Optional<std::int32_t> frame_rate{};
  // The fields below are read by the encoder alone; the producer passes them through.
  movra_base::Optional<VideoCodec> codec{};
  movra_base::Optional<std::int32_t> bitrate_bps{};
  movra_base::Optional<std::int32_t> max_bitrate_bps{};  // Absent: the bit rate itself.
  movra_base::Optional<std::int32_t> key_frame_interval_ms{};
  movra_base::Optional<std::int32_t> threads{};  // Absent: one. 0: the encoder's own choice.
  movra_base::Optional<std::string> preset{};    // The encoder's name for speed against quality.
  // The highest rate exactly, as a fraction: 25/2, 30000/1001. Both or none; both above 0. Where
  // they are present the encoder keeps to them. A change of `frame_rate` alone takes them away.
  movra_base::Optional<std::int32_t> frame_rate_numerator{};
  movra_base::Optional<std::int32_t> frame_rate_denominator{};

  [[nodiscard]] std::string ToString() const;
};

// What a stream's encoder turned out to be, reported with property changes.
struct EncoderProperty {
  std::int64_t codec = 0;        // A VideoCodec.
  std::int64_t size = 0;         // Width in the upper, height in the lower 32 bits.
  std::string implementation{};  // The library and its settings in words.

  friend bool operator==(const EncoderProperty&, const EncoderProperty&) = default;
};

// What the process can encode. Four flags in one 32-bit quantity, first field in the lowest byte.
struct EncodeAbility {
  std::uint8_t roi = 0;
  std::uint8_t reference_selection = 0;
  std::uint8_t software_encoder = 0;
  std::uint8_t hardware_encoder = 0;

  friend bool operator==(const EncodeAbility&, const EncodeAbility&) = default;
};
static_assert(sizeof(EncodeAbility) == 4);

// An acknowledgement from the far end for reference picture selection. Only the two fields after
// the leading one go to the encoder.
struct RpsAck {
  std::uint64_t receive_time_ms = 0;
  std::int32_t ack_value = 0;
  std::uint16_t ack_flag = 0;
};

// One region of interest in pixels of the encoded picture.
struct RoiConfigInfo {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::int32_t qp_delta = 0;  // Negative: better than the rest of the picture.

  friend bool operator==(const RoiConfigInfo&, const RoiConfigInfo&) = default;
};
static_assert(sizeof(RoiConfigInfo) == 20 && std::is_trivially_copyable_v<RoiConfigInfo>);

}  // namespace movra::video

#endif  // MOVRA_VIDEO_ENCODE_PARAMS_H_
