#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "media/capture/camera_error.h"
#include "media/file/file_source.h"

namespace movra::media {
namespace {

TEST(NoFileCamera, SaysThatThisBuildCannotPlayFilesAndWhatWould) {
  for (const video::CameraInfo& info :
       {MakeFileSource("clip.mp4", {})->Describe(), MakeFileSource("clip.mp4", {})->Open({})}) {
    EXPECT_EQ(info.error_code, static_cast<int>(CameraError::kUnavailable));
    EXPECT_THAT(info.error_text, ::testing::HasSubstr("MOVRA_WITH_GPL=ON"));
  }
}

}  // namespace
}  // namespace movra::media
