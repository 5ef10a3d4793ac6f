#include "media/bitstream/h264.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace movra::media::h264 {
namespace {

using ::testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;

TEST(H264, TheTypeIsInTheLowFiveBits) {
  const Bytes unit{0x67};
  EXPECT_EQ(NalUnitType(unit), kNalSequenceParameterSet);
  EXPECT_EQ(NalUnitType({}), 0);
}

TEST(H264, ParameterSetsAreTakenOutOfAKeyFrame) {
  EXPECT_EQ(ParameterSets(Bytes{0, 0, 1, 0x67, 1, 0, 0, 1, 0x68, 2, 0, 0, 1, 6, 9, 0, 0, 1, 0x65}),
            (Bytes{0, 0, 0, 1, 0x67, 1, 0, 0, 0, 1, 0x68, 2}));
}

TEST(H264, OneKindOfParameterSetAloneIsNoSet) {
  EXPECT_THAT(ParameterSets(Bytes{0, 0, 1, 0x67, 1, 0, 0, 1, 0x65, 2}), IsEmpty());
  EXPECT_THAT(ParameterSets(Bytes{0, 0, 1, 0x68, 1, 0, 0, 1, 0x65, 2}), IsEmpty());
}

TEST(H264, AKeyFrameHasASliceOfAnInstantRefreshWhereverItStands) {
  EXPECT_TRUE(IsKeyFrame(Bytes{0, 0, 1, 0x67, 1, 0, 0, 1, 0x68, 2, 0, 0, 1, 0x65, 3}));
  EXPECT_TRUE(IsKeyFrame(Bytes{0, 0, 1, 0x25}));
  EXPECT_FALSE(IsKeyFrame(Bytes{0, 0, 1, 0x67, 1, 0, 0, 1, 0x68, 2, 0, 0, 1, 0x41, 3}));
  EXPECT_FALSE(IsKeyFrame({}));
}

TEST(H264, TheCodecsStringIsProfileConstraintsAndLevelInSixDigits) {
  EXPECT_EQ(CodecsString(Bytes{0, 0, 1, 0x68, 2, 0, 0, 0, 1, 0x67, 0x64, 0x00, 0x1F, 0xAC}),
            "avc1.64001F");
  EXPECT_EQ(CodecsString(Bytes{0, 0, 1, 0x67, 0x4D, 0x40, 0x0A}), "avc1.4D400A");
}

TEST(H264, WithoutAWholeSequenceParameterSetThereIsNoCodecsString) {
  EXPECT_EQ(CodecsString(Bytes{0, 0, 1, 0x67, 0x64, 0x01}), "");
  EXPECT_EQ(CodecsString(Bytes{0, 0, 1, 0x65, 0x64, 0x00, 0x1F, 0xAC}), "");
  EXPECT_EQ(CodecsString({}), "");
}

}  // namespace
}  // namespace movra::media::h264
