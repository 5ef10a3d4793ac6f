#include "gtest/gtest.h"
#include "video/platform.h"

namespace movra::video {
namespace {

TEST(IsVirtualCameraId, ThePrefixTells) {
  EXPECT_TRUE(IsVirtualCameraId("virtual:"));
  EXPECT_TRUE(IsVirtualCameraId("virtual:blue"));
  for (const char* const id :
       {"", "virtual", "Virtual:blue", "test:", "file:virtual:", "/dev/video0"}) {
    EXPECT_FALSE(IsVirtualCameraId(id)) << id;
  }
}

}  // namespace
}  // namespace movra::video
