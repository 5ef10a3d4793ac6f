#include "video/to_string.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace movra::video {
namespace {

// The text of every value from the first to the last, and of those around them, which have none.
template <class Enum>
void ExpectTexts(std::string (*to_string)(Enum), const std::string& type, int first,
                 const std::vector<std::string>& texts) {
  int value = first;
  EXPECT_EQ(to_string(Enum{value - 1}), type + "(" + std::to_string(value - 1) + ")");
  for (const std::string& text : texts) EXPECT_EQ(to_string(Enum{value++}), text);
  EXPECT_EQ(to_string(Enum{value}), type + "(" + std::to_string(value) + ")");
}

TEST(ToString, VideoSourceType) {
  ExpectTexts(&VideoSourceTypeToString, "VideoSourceType", 0,
              {"kNone", "kCamera", "kScreen", "kVirtualCamera", "kCustom", "kMirroredScreen"});
}

TEST(ToString, VideoStreamType) {
  ExpectTexts(&VideoStreamTypeToString, "VideoStreamType", 0, {"kBig", "kSmall"});
}

TEST(ToString, PixelFormat) {
  ExpectTexts(&PixelFormatToString, "PixelFormat", -1,
              {"kNone", "kI420", "kNV12", "kBGRA", "kRGBA", "kI422", "kI444", "kGray", "kI010"});
}

TEST(ToString, BufferType) {
  ExpectTexts(&BufferTypeToString, "BufferType", 0, {"kMemory", "kTexture"});
}

TEST(ToString, MirrorMode) {
  ExpectTexts(&MirrorModeToString, "MirrorMode", 0, {"kAuto", "kEnabled", "kDisabled"});
}

TEST(ToString, VideoRotation) {
  ExpectTexts(&VideoRotationToString, "VideoRotation", 0, {"k0"});
  ExpectTexts(&VideoRotationToString, "VideoRotation", 90, {"k90"});
  ExpectTexts(&VideoRotationToString, "VideoRotation", 180, {"k180"});
  ExpectTexts(&VideoRotationToString, "VideoRotation", 270, {"k270"});
}

TEST(ToString, FillMode) {
  ExpectTexts(&FillModeToString, "FillMode", 0, {"kFill", "kFit", "kStretch"});
}

TEST(ToString, GSensorMode) {
  ExpectTexts(&GSensorModeToString, "GSensorMode", 0,
              {"kDisabled", "kRotateToDevice", "kFollowLayout"});
}

TEST(ToString, FrameAdaptiveMode) {
  ExpectTexts(&FrameAdaptiveModeToString, "FrameAdaptiveMode", 0, {"kCrop", "kStretch", "kFit"});
}

TEST(ToString, ProducerMode) {
  ExpectTexts(&ProducerModeToString, "ProducerMode", 0,
              {"kDefault", "kEncodeSize", "kLimitedSize", "kOwnSize"});
}

TEST(ToString, InterceptPosition) {
  ExpectTexts(&InterceptPositionToString, "InterceptPosition", 0,
              {"kCaptured", "kBeautified", "kCustomProcessing", "kPreview", "kPreviewWithWatermark",
               "kEncoder"});
}

TEST(ToString, VideoCodec) { ExpectTexts(&VideoCodecToString, "VideoCodec", 1, {"kH264"}); }

TEST(ToString, VideoEncoderError) {
  ExpectTexts(&VideoEncoderErrorToString, "VideoEncoderError", 0,
              {"kNone", "kOpenFailed", "kEncodeFailed", "kInputUnsupported", "kReconfigureFailed",
               "kUnavailable"});
}

TEST(ToString, ExtremeValuesPrintAsTheyAre) {
  EXPECT_EQ(MirrorModeToString(MirrorMode{2147483647}), "MirrorMode(2147483647)");
  EXPECT_EQ(PixelFormatToString(PixelFormat{-2147483647 - 1}), "PixelFormat(-2147483648)");
}

template <class Enum>
std::vector<std::string> Names() {
  std::vector<std::string> names;
  for (const NamedValue<Enum>& named : NamedValues<Enum>()) {
    names.push_back(std::string(named.name) + "=" + std::to_string(static_cast<int>(named.value)));
  }
  return names;
}

using Texts = std::vector<std::string>;

TEST(NamedValues, OfEnumerationsWithoutATextFunction) {
  EXPECT_EQ(Names<VideoProducerType>(), Texts({"kDefault=0"}));
  EXPECT_EQ(Names<SnapshotSourceType>(), Texts({"kPreprocessor=0", "kLocalRenderer=1"}));
  EXPECT_EQ(Names<BeautyStyle>(), Texts({"kSmooth=0", "kNatural=1", "kClear=2"}));
  EXPECT_EQ(Names<CapturerMode>(),
            Texts({"kUnknown=0", "kDisplay=1", "kWindow=2", "kRegion=3", "kComposed=4"}));
  EXPECT_EQ(Names<VideoRenderError>(), Texts({"kNone=0", "kNoDisplay=1", "kViewLost=2"}));
  EXPECT_EQ(Names<VideoScreenSharingError>(),
            Texts({"kNone=0", "kUnavailable=1", "kSourceNotFound=2", "kCaptureFailed=3",
                   "kNoDisplay=4", "kNotPermitted=5"}));
  EXPECT_EQ(Names<VideoScreenSharingStoppedReason>(),
            Texts({"kByRequest=0", "kSourceClosed=1", "kFailed=2", "kMonitorGone=3"}));
  EXPECT_EQ(Names<VideoScreenSharingPausedReason>(), Texts({"kByRequest=0", "kMinimised=1"}));
  EXPECT_EQ(Names<VideoScreenSharingResumedReason>(), Texts({"kByRequest=0", "kRestored=1"}));
}

}  // namespace
}  // namespace movra::video
