#include "media/output/container_format.h"

#include <gtest/gtest.h>

namespace movra::media {
namespace {

TEST(ContainerFormat, FollowsFromTheEnding) {
  EXPECT_EQ(ContainerFormatForPath("a.mp4"), ContainerFormat::kMp4);
  EXPECT_EQ(ContainerFormatForPath("dir.ts/a.b.mkv"), ContainerFormat::kMkv);
  EXPECT_EQ(ContainerFormatForPath("/tmp/a.TS"), ContainerFormat::kMpegTs);
  EXPECT_EQ(ContainerFormatForPath("a.h264"), ContainerFormat::kAnnexB);
  EXPECT_EQ(ContainerFormatForPath("a.264"), ContainerFormat::kAnnexB);
}

TEST(ContainerFormat, OtherEndingsHaveNone) {
  for (const char* path : {"-", "", "mp4", "a", "a.mp", "a.mp4x", "a.mp4/b", ".mp4", "a."}) {
    EXPECT_EQ(ContainerFormatForPath(path), std::nullopt) << path;
  }
}

}  // namespace
}  // namespace movra::media
