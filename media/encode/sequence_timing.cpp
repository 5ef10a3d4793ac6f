#include "media/encode/sequence_timing.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <optional>

#include "media/bitstream/h264.h"

namespace movra::media {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kBitsPerByte = 8;

// The unit without the bytes that keep start codes out of it (7.4.1).
Bytes Unescape(std::span<const std::uint8_t> unit) {
  Bytes raw;
  int zeros = 0;
  for (const std::uint8_t byte : unit) {
    const bool escape = zeros >= 2 && byte == 3;
    if (!escape) raw.push_back(byte);
    zeros = byte == 0 ? zeros + 1 : 0;
  }
  return raw;
}

Bytes Escape(const Bytes& raw) {
  Bytes unit;
  int zeros = 0;
  for (const std::uint8_t byte : raw) {
    if (zeros >= 2 && byte <= 3) {
      unit.push_back(3);
      zeros = 0;
    }
    unit.push_back(byte);
    zeros = byte == 0 ? zeros + 1 : 0;
  }
  return unit;
}

// Behind the end there are zeros, and failed().
class BitReader {
 public:
  explicit BitReader(const Bytes& bytes) : bytes_(bytes) {}

  std::uint32_t Bits(std::size_t count) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i, ++position_) value = value << 1 | BitAt(position_);
    return value;
  }
  bool Flag() { return Bits(1) != 0; }
  // ue(v) and, where only the length matters, se(v).
  std::uint32_t Golomb() {
    std::size_t zeros = 0;
    while (!failed() && zeros < 32 && !Flag()) ++zeros;
    return (zeros < 32 ? std::uint32_t{1} << zeros : 0) - 1 + Bits(zeros);
  }
  void SkipGolombs(std::uint32_t count) {
    for (std::uint32_t i = 0; i < count && !failed(); ++i) Golomb();
  }

  [[nodiscard]] std::size_t position() const { return position_; }
  [[nodiscard]] bool failed() const { return position_ > bytes_.size() * kBitsPerByte; }
  [[nodiscard]] std::uint32_t BitAt(std::size_t position) const {
    const std::size_t byte = position / kBitsPerByte;
    return byte < bytes_.size() ? bytes_[byte] >> (7 - position % kBitsPerByte) & 1U : 0;
  }

 private:
  const Bytes& bytes_;
  std::size_t position_ = 0;
};

class BitWriter {
 public:
  void Bits(std::uint32_t value, std::size_t count) {
    for (std::size_t i = count; i > 0; --i, ++count_) {
      if (count_ % kBitsPerByte == 0) bytes_.push_back(0);
      const std::uint32_t bit = value >> (i - 1) & 1U;
      bytes_.back() = static_cast<std::uint8_t>(bytes_.back() | bit << (7 - count_ % kBitsPerByte));
    }
  }
  [[nodiscard]] const Bytes& bytes() const { return bytes_; }

 private:
  Bytes bytes_;
  std::size_t count_ = 0;
};

void SkipScalingLists(BitReader& bits, int lists) {
  constexpr int kSmallLists = 6;
  for (int i = 0; i < lists && !bits.failed(); ++i) {
    if (!bits.Flag()) continue;
    std::int64_t scale = 8;
    const int size = i < kSmallLists ? 16 : 64;
    for (int j = 0; j < size && scale != 0; ++j) {
      const std::int64_t code = bits.Golomb();
      scale = (scale + (code % 2 == 0 ? -code / 2 : (code + 1) / 2) + 256) % 256;
    }
  }
}

void SkipChroma(BitReader& bits) {
  const std::uint32_t chroma_format = bits.Golomb();
  if (chroma_format == 3) bits.Flag();
  bits.SkipGolombs(2);  // Bit depths.
  bits.Flag();
  if (bits.Flag()) SkipScalingLists(bits, chroma_format == 3 ? 12 : 8);
}

void SkipPictureOrder(BitReader& bits) {
  const std::uint32_t type = bits.Golomb();
  if (type == 0) bits.Golomb();
  if (type != 1) return;
  bits.Flag();
  bits.SkipGolombs(2);
  bits.SkipGolombs(bits.Golomb());
}

bool HasChroma(std::uint32_t profile) {
  constexpr std::uint32_t kProfiles[] = {100, 110, 122, 244, 44,  83, 86,
                                         118, 128, 138, 139, 134, 135};
  return std::find(std::begin(kProfiles), std::end(kProfiles), profile) != std::end(kProfiles);
}

// Moves to timing_info_present_flag; false if the set has no such flag.
bool FindTiming(BitReader& bits) {
  if ((bits.Bits(8) & 0x1F) != h264::kNalSequenceParameterSet) return false;
  const std::uint32_t profile = bits.Bits(8);
  bits.Bits(16);  // Constraints, level.
  bits.Golomb();  // The set's own number.
  if (HasChroma(profile)) SkipChroma(bits);
  bits.Golomb();  // Frame numbers.
  SkipPictureOrder(bits);
  bits.Golomb();  // Reference frames.
  bits.Flag();
  bits.SkipGolombs(2);            // Size.
  if (!bits.Flag()) bits.Flag();  // Fields.
  bits.Flag();
  if (bits.Flag()) bits.SkipGolombs(4);  // Cropping.
  if (!bits.Flag()) return false;        // VUI, Annex E.
  constexpr std::uint32_t kExtendedAspect = 255;
  if (bits.Flag() && bits.Bits(8) == kExtendedAspect) bits.Bits(32);
  if (bits.Flag()) bits.Flag();  // Overscan.
  if (bits.Flag()) {             // Video signal.
    bits.Bits(4);
    if (bits.Flag()) bits.Bits(24);
  }
  if (bits.Flag()) bits.SkipGolombs(2);  // Chroma location.
  return !bits.failed();
}

struct Timing {
  std::uint32_t units_in_tick = 0;
  std::uint32_t ticks_per_second = 0;  // Two for a frame.
};

Bytes WithTiming(const Bytes& raw, std::size_t flag_at, std::size_t rest_at,
                 const std::optional<Timing>& timing) {
  const BitReader bits(raw);
  BitWriter out;
  for (std::size_t i = 0; i < flag_at; ++i) out.Bits(bits.BitAt(i), 1);
  out.Bits(timing.has_value() ? 1 : 0, 1);
  if (timing.has_value()) {
    out.Bits(timing->units_in_tick, 32);
    out.Bits(timing->ticks_per_second, 32);
    out.Bits(0, 1);
  }
  // Up to the stop bit, the last one that is set.
  std::size_t end = raw.size() * kBitsPerByte;
  while (end > rest_at && bits.BitAt(end - 1) == 0) --end;
  for (std::size_t i = rest_at; i < end; ++i) out.Bits(bits.BitAt(i), 1);
  return Escape(out.bytes());
}

}  // namespace

Bytes WithFrameRate(std::span<const std::uint8_t> unit, const FrameRate& rate) {
  const Bytes raw = Unescape(unit);
  BitReader bits(raw);
  if (!FindTiming(bits)) return {unit.begin(), unit.end()};
  const std::size_t flag_at = bits.position();
  if (bits.Flag()) {
    bits.Bits(32);
    bits.Bits(32);
    bits.Flag();
  }
  // The stop bit is still to come.
  if (bits.position() >= raw.size() * kBitsPerByte) return {unit.begin(), unit.end()};
  if (rate.IsNone()) return WithTiming(raw, flag_at, bits.position(), std::nullopt);

  // The fraction is expanded to numbers without rows of zeros, which would have to be escaped: so
  // all copies are as short as can be and equally long. Some readers keep them in 31 bits.
  constexpr std::int64_t kLargest = std::numeric_limits<std::int32_t>::max();
  constexpr std::int64_t kTries = 64;
  const std::int64_t ticks = std::int64_t{2} * rate.numerator;
  const std::int64_t most =
      std::max<std::int64_t>(kLargest / std::max<std::int64_t>(ticks, rate.denominator), 1);
  Bytes shortest;
  for (std::int64_t factor = most; factor > std::max<std::int64_t>(most - kTries, 0); --factor) {
    const Timing timing{static_cast<std::uint32_t>(factor * rate.denominator),
                        static_cast<std::uint32_t>(factor * ticks)};
    Bytes copy = WithTiming(raw, flag_at, bits.position(), timing);
    if (shortest.empty() || copy.size() < shortest.size()) shortest = std::move(copy);
  }
  return shortest;
}

}  // namespace movra::media
