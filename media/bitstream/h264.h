#ifndef MOVRA_MEDIA_BITSTREAM_H264_H_
#define MOVRA_MEDIA_BITSTREAM_H264_H_

#include <cstdint>
#include <span>
#include <string>
#include <vector>

// What containers and readers have to know of an H.264 byte stream (ITU-T H.264, Annex B). Pure
// functions of any bytes.

namespace movra::media::h264 {

// nal_unit_type of the units that matter here.
inline constexpr int kNalInstantRefreshSlice = 5;
inline constexpr int kNalSequenceParameterSet = 7;
inline constexpr int kNalPictureParameterSet = 8;

// The unit's nal_unit_type; 0 for an empty unit.
[[nodiscard]] int NalUnitType(std::span<const std::uint8_t> unit);

// The sequence and picture parameter sets of a byte stream, as a byte stream of their own. Empty
// unless there is at least one of each.
[[nodiscard]] std::vector<std::uint8_t> ParameterSets(std::span<const std::uint8_t> stream);

// Whether a decoder can begin with this picture, once it has the parameter sets.
[[nodiscard]] bool IsKeyFrame(std::span<const std::uint8_t> stream);

// The stream in a word, as RFC 6381 has it: "avc1.64001F", the profile, its constraints and the
// level of the first sequence parameter set. Empty if there is none.
[[nodiscard]] std::string CodecsString(std::span<const std::uint8_t> stream);

}  // namespace movra::media::h264

#endif  // MOVRA_MEDIA_BITSTREAM_H264_H_
