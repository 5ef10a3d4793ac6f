#ifndef MOVRA_MEDIA_BITSTREAM_ANNEX_B_H_
#define MOVRA_MEDIA_BITSTREAM_ANNEX_B_H_

#include <cstdint>
#include <span>
#include <vector>

// The byte stream format of ITU-T H.264, Annex B, which other codecs of NAL units share. Pure
// functions of any bytes.

namespace movra::media {

// The NAL units of a byte stream, without start codes and trailing zeros, in order. They point into
// the stream.
[[nodiscard]] std::vector<std::span<const std::uint8_t>> NalUnits(
    std::span<const std::uint8_t> stream);

// Adds the unit to the byte stream, behind a start code.
void AppendNalUnit(std::span<const std::uint8_t> unit, std::vector<std::uint8_t>& stream);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_BITSTREAM_ANNEX_B_H_
