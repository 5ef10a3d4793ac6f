#include "media/encode/encoder_settings.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace movra::media {
namespace {

using movra_base::Optional;

constexpr FrameRate kDefaultRate{30, 1};
constexpr FrameRate kHighestRate{1000, 1};
constexpr char kDefaultPreset[] = "veryfast";

// The buffer holds one second at the highest rate: short enough for a live stream's delay, long
// enough for a key frame not to be starved.
constexpr int kBufferSeconds = 1;

bool IsPositive(const Optional<std::int32_t>& value) { return value.value_or(0) > 0; }

int ToKbps(int bits_per_second) { return std::max(1, bits_per_second / 1000); }

FrameRate NominalRate(const video::EncodeParams& params) {
  const FrameRate rate = FrameRateOf(params);
  if (rate.IsNone()) return kDefaultRate;
  return rate.PerSecond() > kHighestRate.PerSecond() ? kHighestRate : rate;
}

template <class T>
void MergeField(const Optional<T>& change, Optional<T>& field) {
  if (change.has_value()) field = change;
}

}  // namespace

EncoderSettings ResolveEncoderSettings(const video::EncodeParams& params,
                                       const std::vector<video::RoiConfigInfo>& regions,
                                       const video::Size& size) {
  EncoderSettings settings;
  settings.codec = params.codec.value_or(settings.codec);
  settings.preset = params.preset.value_or(kDefaultPreset);
  settings.threads = std::max(0, params.threads.value_or(1));
  settings.nominal_rate = NominalRate(params);
  settings.bitrate_kbps = ToKbps(IsPositive(params.bitrate_bps)
                                     ? *params.bitrate_bps
                                     : DefaultBitrateBps(size, settings.nominal_rate.PerSecond()));
  settings.max_bitrate_kbps = settings.bitrate_kbps;
  if (IsPositive(params.max_bitrate_bps)) {
    settings.max_bitrate_kbps = std::max(settings.bitrate_kbps, ToKbps(*params.max_bitrate_bps));
  }
  settings.buffer_kbit = settings.max_bitrate_kbps * kBufferSeconds;
  settings.regions = regions;
  return settings;
}

int DefaultBitrateBps(const video::Size& size, double frame_rate) {
  constexpr double kReferenceBps = 1'500'000;
  constexpr double kReferencePixels = 1280.0 * 720.0;
  constexpr double kReferenceRate = 30;
  constexpr double kLowest = 32'000;
  constexpr double kHighest = 100'000'000;
  const double pixels = static_cast<double>(size.width) * size.height;
  const double rate = std::max(1.0, frame_rate);
  const double bps = kReferenceBps * std::pow(std::max(0.0, pixels) / kReferencePixels, 0.75) *
                     std::sqrt(rate / kReferenceRate);
  return static_cast<int>(std::lround(std::clamp(bps, kLowest, kHighest) / 1000)) * 1000;
}

std::chrono::milliseconds KeyFrameInterval(const video::EncodeParams& params) {
  return IsPositive(params.key_frame_interval_ms)
             ? std::chrono::milliseconds(*params.key_frame_interval_ms)
             : kDefaultKeyFrameInterval;
}

void MergeEncodeParams(const video::EncodeParams& change, video::EncodeParams& params) {
  MergeField(change.width, params.width);
  MergeField(change.height, params.height);
  if (change.frame_rate_numerator.has_value() || change.frame_rate_denominator.has_value() ||
      change.frame_rate.has_value()) {
    params.frame_rate_numerator = change.frame_rate_numerator;
    params.frame_rate_denominator = change.frame_rate_denominator;
  }
  MergeField(change.frame_rate, params.frame_rate);
  MergeField(change.codec, params.codec);
  MergeField(change.bitrate_bps, params.bitrate_bps);
  MergeField(change.max_bitrate_bps, params.max_bitrate_bps);
  MergeField(change.key_frame_interval_ms, params.key_frame_interval_ms);
  MergeField(change.threads, params.threads);
  MergeField(change.preset, params.preset);
}

}  // namespace movra::media
