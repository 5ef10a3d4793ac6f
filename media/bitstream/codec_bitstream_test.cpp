#include "media/bitstream/codec_bitstream.h"

#include <gtest/gtest.h>

namespace movra::media {
namespace {

TEST(CodecBitstream, H264IsFoundByItsCodec) {
  const CodecBitstream* const bitstream = FindCodecBitstream(video::VideoCodec::kH264);
  ASSERT_NE(bitstream, nullptr);
  EXPECT_EQ(bitstream->codec, video::VideoCodec::kH264);
  EXPECT_STREQ(bitstream->name, "H.264");
  const std::vector<std::uint8_t> frame{0, 0, 0,    1, 0x67, 0x42, 0xC0, 0x1E, 0, 0,
                                        0, 1, 0x68, 2, 0,    0,    1,    0x65, 4};
  EXPECT_EQ(bitstream->parameter_sets(frame),
            (std::vector<std::uint8_t>(frame.begin(), frame.begin() + 14)));
  EXPECT_TRUE(bitstream->is_key_frame(frame));
  EXPECT_EQ(bitstream->codecs_string(frame), "avc1.42C01E");
}

TEST(CodecBitstream, H264HasItsParameterSetsInFrontAndAByteStream) {
  const CodecBitstream& h264 = *FindCodecBitstream(video::VideoCodec::kH264);
  EXPECT_TRUE(h264.has_annex_b);
  const std::vector<std::uint8_t> sets{0, 0, 0, 1, 0x67, 0x42, 0, 0, 0, 1, 0x68, 2};
  std::vector<std::uint8_t> key_frame = sets;
  key_frame.insert(key_frame.end(), {0, 0, 0, 1, 0x65, 4});
  EXPECT_EQ(ParameterSetsOf(h264, key_frame), sets);
  EXPECT_EQ(ParameterSetsOf(h264, std::span(key_frame).last(6)), std::nullopt);
}

TEST(CodecBitstream, ACodecMayNeedNothingBeforeItsFirstPicture) {
  CodecBitstream bitstream = *FindCodecBitstream(video::VideoCodec::kH264);
  bitstream.parameter_sets = nullptr;
  const std::vector<std::uint8_t> key_frame{1, 2, 3};
  EXPECT_EQ(ParameterSetsOf(bitstream, key_frame), std::vector<std::uint8_t>());
}

TEST(CodecBitstream, OfACodecThatNobodyKnowsThereIsNone) {
  EXPECT_EQ(FindCodecBitstream(static_cast<video::VideoCodec>(7)), nullptr);
}

}  // namespace
}  // namespace movra::media
