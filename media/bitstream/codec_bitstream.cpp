#include "media/bitstream/codec_bitstream.h"

#include <utility>

#include "media/bitstream/h264.h"

namespace movra::media {
namespace {

// One row for each codec.
constexpr CodecBitstream kBitstreams[] = {
    {video::VideoCodec::kH264, "H.264", true, &h264::ParameterSets, &h264::IsKeyFrame,
     &h264::CodecsString},
};

}  // namespace

std::optional<std::vector<std::uint8_t>> ParameterSetsOf(const CodecBitstream& bitstream,
                                                         std::span<const std::uint8_t> key_frame) {
  std::vector<std::uint8_t> sets;
  if (bitstream.parameter_sets == nullptr) return sets;
  sets = bitstream.parameter_sets(key_frame);
  return sets.empty() ? std::nullopt : std::optional(std::move(sets));
}

const CodecBitstream* FindCodecBitstream(video::VideoCodec codec) {
  for (const CodecBitstream& bitstream : kBitstreams) {
    if (bitstream.codec == codec) return &bitstream;
  }
  return nullptr;
}

}  // namespace movra::media
