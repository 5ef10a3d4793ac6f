#ifndef MOVRA_MEDIA_BITSTREAM_CODEC_BITSTREAM_H_
#define MOVRA_MEDIA_BITSTREAM_CODEC_BITSTREAM_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "video/video_types.h"

namespace movra::media {

// What is particular to the bitstream of one codec, for those who put any of them into containers
// and onto wires. The functions are pure and take the bytes of one encoded frame, whatever they
// are.
struct CodecBitstream {
  video::VideoCodec codec;
  const char* name;  // For people: "H.264".

  // Whether its pictures stand in Annex B's byte stream, which needs no container.
  bool has_annex_b;

  // What a decoder needs before the first picture, out of a key frame; empty if it is not all
  // there. Null for a codec of which a decoder needs nothing but the key frame; see
  // ParameterSetsOf.
  std::vector<std::uint8_t> (*parameter_sets)(std::span<const std::uint8_t> frame);
  // Whether a decoder can begin with the frame.
  bool (*is_key_frame)(std::span<const std::uint8_t> frame);
  // The value of a `codecs=` parameter (RFC 6381), out of a key frame or its parameter sets; empty
  // if they do not tell.
  std::string (*codecs_string)(std::span<const std::uint8_t> frame);
};

// What a container has to hold of the codec before the first picture, which may be nothing. Absent
// if the codec has something, and it is not all in the key frame.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> ParameterSetsOf(
    const CodecBitstream& bitstream, std::span<const std::uint8_t> key_frame);

// Null for a codec of which nothing is known.
[[nodiscard]] const CodecBitstream* FindCodecBitstream(video::VideoCodec codec);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_BITSTREAM_CODEC_BITSTREAM_H_
