#ifndef MOVRA_MEDIA_ENCODE_ENCODER_SETTINGS_H_
#define MOVRA_MEDIA_ENCODE_ENCODER_SETTINGS_H_

#include <chrono>
#include <string>
#include <vector>

#include "media/encode/frame_rate.h"
#include "video/encode_params.h"
#include "video/size.h"

namespace movra::media {

// Of a stream that was given none.
inline constexpr video::VideoCodec kDefaultCodec = video::VideoCodec::kH264;

// What an encoder is opened with: the stream's parameters with every absent or senseless one
// replaced by its default. Rates are in kilobits per second of 1000 bits, as encoders count.
struct EncoderSettings {
  video::VideoCodec codec = kDefaultCodec;
  std::string preset{};
  int threads = 1;                // 0: the encoder's own choice.
  FrameRate nominal_rate{30, 1};  // That the rate control expects at first.
  int bitrate_kbps = 0;
  int max_bitrate_kbps = 0;  // At least bitrate_kbps.
  int buffer_kbit = 0;       // How far the stream may run ahead of its highest rate.
  std::vector<video::RoiConfigInfo> regions{};

  friend bool operator==(const EncoderSettings&, const EncoderSettings&) = default;
};

inline constexpr std::chrono::milliseconds kDefaultKeyFrameInterval{2000};

// The settings for pictures of this size.
[[nodiscard]] EncoderSettings ResolveEncoderSettings(
    const video::EncodeParams& params, const std::vector<video::RoiConfigInfo>& regions,
    const video::Size& size);

// The bit rate of a stream that was given none: 1.5 Mb/s at 1280x720 and 30 frames per second, and
// less than proportionally more for larger pictures and higher rates, because neighbouring pixels
// and neighbouring frames repeat each other more.
[[nodiscard]] int DefaultBitrateBps(const video::Size& size, double frame_rate);

[[nodiscard]] std::chrono::milliseconds KeyFrameInterval(const video::EncodeParams& params);

// Overwrites the fields of `params` that are present in `change`. The three of the frame rate are
// one: who changes the whole number no longer means the exact rate of before.
void MergeEncodeParams(const video::EncodeParams& change, video::EncodeParams& params);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_ENCODER_SETTINGS_H_
