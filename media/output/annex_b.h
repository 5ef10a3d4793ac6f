#ifndef MOVRA_MEDIA_OUTPUT_ANNEX_B_H_
#define MOVRA_MEDIA_OUTPUT_ANNEX_B_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// Reading H.264 in the byte stream format of ITU-T H.264, Annex B. Pure functions of any bytes.

namespace movra::media {

// nal_unit_type of the units that matter to containers.
inline constexpr int kNalSequenceParameterSet = 7;
inline constexpr int kNalPictureParameterSet = 8;

// The NAL units of a byte stream, without start codes and trailing zeros, in order. They point into
// the stream.
[[nodiscard]] std::vector<std::span<const std::uint8_t>> NalUnits(
    std::span<const std::uint8_t> stream);

// The unit's nal_unit_type; 0 for an empty unit.
[[nodiscard]] int NalUnitType(std::span<const std::uint8_t> unit);

// The sequence and picture parameter sets of a byte stream, as a byte stream of their own. Empty
// unless there is at least one of each.
[[nodiscard]] std::vector<std::uint8_t> ParameterSets(std::span<const std::uint8_t> stream);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_ANNEX_B_H_
