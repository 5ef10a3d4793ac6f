#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "testing/environment.h"
#include "video/platform.h"
#include "video/resolution_decider_utils.h"
#include "video/video_codec_manager.h"

namespace movra::testing {
namespace {

using ::testing::ElementsAre;
using video::resolution_decider_utils::CalculateSizeByLimitLandscapeSize;

TEST(PlatformDouble, HasMetalWhenTheTestSaysSo) {
  Environment env;
  EXPECT_FALSE(video::IsMetalAvailable());
  env.world().answers.is_metal_available = true;
  EXPECT_TRUE(video::IsMetalAvailable());
  EXPECT_THAT(env.journal().Take(), ElementsAre("IsMetalAvailable()", "IsMetalAvailable()"));
}

TEST(PlatformDouble, KnowsVirtualCamerasByTheirPrefix) {
  Environment env;
  EXPECT_TRUE(video::IsVirtualCameraId("virtual:cover"));
  EXPECT_FALSE(video::IsVirtualCameraId("cam-1"));
  EXPECT_THAT(env.journal().Take(),
              ElementsAre("IsVirtualCameraId(virtual:cover)", "IsVirtualCameraId(cam-1)"));
}

TEST(ResolutionDeciderDouble, GivesTheSizeItWasGivenOrTheOneOfTheTest) {
  Environment env;
  EXPECT_EQ(CalculateSizeByLimitLandscapeSize({1920, 1080}, {3840, 2160}),
            (video::Size{3840, 2160}));
  env.world().answers.limited_size = video::Size{640, 360};
  EXPECT_EQ(CalculateSizeByLimitLandscapeSize({1920, 1080}, {3840, 2160}), (video::Size{640, 360}));
  EXPECT_THAT(env.journal().Take(),
              ElementsAre("CalculateSizeByLimitLandscapeSize(1920x1080, 3840x2160)",
                          "CalculateSizeByLimitLandscapeSize(1920x1080, 3840x2160)"));
}

TEST(CodecManagerDouble, AnswersWhatTheTestSays) {
  Environment env;
  env.world().answers.hardware_encoder = 1;
  env.world().answers.software_encoder = 2;
  env.world().answers.roi = 3;
  env.world().answers.reference_selection = 0x104;
  video::IVideoCodecManager& manager = video::IVideoCodecManager::GetInstance();
  EXPECT_EQ(manager.IsHardwareEncoderSupported(1), 1);
  EXPECT_EQ(manager.IsSoftwareEncoderSupported(2), 2);
  EXPECT_EQ(manager.IsRoiSupported(), 3);
  EXPECT_EQ(manager.IsReferenceSelectionSupported(), 0x104);
  EXPECT_EQ(&video::IVideoCodecManager::GetInstance(), &manager);
  EXPECT_THAT(env.journal().Take(), ElementsAre("codec_manager.IsHardwareEncoderSupported(1)",
                                                "codec_manager.IsSoftwareEncoderSupported(2)",
                                                "codec_manager.IsRoiSupported()",
                                                "codec_manager.IsReferenceSelectionSupported()"));
}

}  // namespace
}  // namespace movra::testing
