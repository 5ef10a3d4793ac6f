#include "video/encode_params.h"

#include <gtest/gtest.h>

namespace movra::video {
namespace {

TEST(EncodeParams, PrintsTheFieldsThatAreThereInTheirOrder) {
  EncodeParams params;
  EXPECT_EQ(params.ToString(), "EncodeParams{}");
  params.width = 1280;
  params.height = 720;
  params.frame_rate = 30;
  params.codec = VideoCodec::kH264;
  params.bitrate_bps = 1500000;
  params.max_bitrate_bps = 2000000;
  params.key_frame_interval_ms = 2000;
  params.threads = 1;
  params.preset = std::string("veryfast");
  params.frame_rate_numerator = 30000;
  params.frame_rate_denominator = 1001;
  EXPECT_EQ(params.ToString(),
            "EncodeParams{width:1280 height:720 frame_rate:30 codec:kH264 bitrate_bps:1500000 "
            "max_bitrate_bps:2000000 key_frame_interval_ms:2000 threads:1 preset:veryfast "
            "frame_rate_numerator:30000 frame_rate_denominator:1001}");
}

TEST(EncodeParams, CopyingMakesAbsentWhatIsAbsentInTheSource) {
  EncodeParams target;
  target.width = 1280;
  target.preset = std::string("veryfast");
  EncodeParams source;
  source.frame_rate = 15;
  target = source;
  EXPECT_EQ(target.ToString(), "EncodeParams{frame_rate:15}");
}

TEST(EncodeParams, OtherRecordsStartEmpty) {
  EXPECT_EQ(EncoderProperty(), (EncoderProperty{0, 0, ""}));
  EXPECT_EQ(EncodeAbility(), (EncodeAbility{0, 0, 0, 0}));
  EXPECT_EQ(RoiConfigInfo(), (RoiConfigInfo{0, 0, 0, 0, 0}));
}

}  // namespace
}  // namespace movra::video
