#include "media/bitstream/codec_bitstream.h"

#include "media/bitstream/h264.h"

namespace movra::media {
namespace {

// One row for each codec.
constexpr CodecBitstream kBitstreams[] = {
    {video::VideoCodec::kH264, "H.264", &h264::ParameterSets, &h264::IsKeyFrame,
     &h264::CodecsString},
};

}  // namespace

const CodecBitstream* FindCodecBitstream(video::VideoCodec codec) {
  for (const CodecBitstream& bitstream : kBitstreams) {
    if (bitstream.codec == codec) return &bitstream;
  }
  return nullptr;
}

}  // namespace movra::media
