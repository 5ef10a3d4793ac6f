#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "media/camera/camera_error.h"
#include "media/camera/file_camera.h"

namespace movra::media {
namespace {

TEST(NoFileCamera, SaysThatThisBuildCannotPlayFilesAndWhatWould) {
  for (const video::CameraInfo& info :
       {MakeFileCamera("clip.mp4", {})->Describe(), MakeFileCamera("clip.mp4", {})->Open({})}) {
    EXPECT_EQ(info.error_code, static_cast<int>(CameraError::kUnavailable));
    EXPECT_THAT(info.error_text, ::testing::HasSubstr("MOVRA_WITH_GPL=ON"));
  }
}

}  // namespace
}  // namespace movra::media
