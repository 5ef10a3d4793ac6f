#include "media/camera/test_camera.h"

#include <cstring>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "media/camera/frame_marker.h"
#include "media/capture/camera_error.h"

namespace movra::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using ::testing::HasSubstr;
using video::CameraInfo;
using video::PixelFrame;
using video::Size;

class OpenTestCamera {
 public:
  explicit OpenTestCamera(const std::string& id) : camera(id), info(camera.Open({})) {}
  PixelFrame Next(const CaptureRequest& request = {}) {
    return std::get<SourceFrame>(camera.Read(request)).frame;
  }

  TestCamera camera;
  CameraInfo info;
};

bool SameLuma(const PixelFrame& a, const PixelFrame& b) {
  for (int y = 0; y < a.info().size.height; ++y) {
    const auto row = [y](const PixelFrame& frame) {
      const video::PixelPlane& plane = frame.info().planes[0];
      return plane.data + std::ptrdiff_t{y} * plane.stride;
    };
    if (std::memcmp(row(a), row(b), static_cast<std::size_t>(a.info().size.width)) != 0)
      return false;
  }
  return true;
}

TEST(TestCamera, IsLiveAndPacedAndWithoutEnd) {
  OpenTestCamera open("test:");
  EXPECT_EQ(open.info.error_code, 0);
  EXPECT_EQ(open.info.natural_size, (Size{1280, 720}));
  EXPECT_EQ(open.info.rate_numerator, 30);
  EXPECT_EQ(open.info.duration, nanoseconds(0));
  EXPECT_EQ(open.info.traits, (video::SourceTraits{.keeps_time = true}));
  EXPECT_EQ(open.camera.Policy().delivery, video::FrameDelivery::kLive);
  EXPECT_TRUE(open.camera.Policy().paced);
}

TEST(TestCamera, NumbersItsFramesInMarkerAndSequence) {
  OpenTestCamera open("test:");
  for (std::uint32_t number = 0; number < 40; ++number) {
    const PixelFrame frame = open.Next({.size = {320, 180}});
    EXPECT_EQ(ReadFrameMarker(frame), number);
    EXPECT_EQ(frame.info().sequence, number);
  }
}

TEST(TestCamera, SaysWhatColoursItHas) {
  const video::ColorDescription color = OpenTestCamera("test:").Next().info().color;
  EXPECT_EQ(color, (video::ColorDescription{.primaries = 1, .transfer = 1, .matrix = 1}));
}

TEST(TestCamera, DrawsWhateverSizeIsAsked) {
  OpenTestCamera open("test:");
  EXPECT_EQ(open.Next().info().size, (Size{1280, 720}));
  EXPECT_EQ(open.Next({.size = {720, 1280}}).info().size, (Size{720, 1280}));
  EXPECT_EQ(open.Next({.size = {321, 179}}).info().size, (Size{322, 180}));
  EXPECT_EQ(open.Next({.size = {1, 1}}).info().size, (Size{2, 2}));
  EXPECT_EQ(open.Next({.size = {640, 0}}).info().size, (Size{640, 360}));
  EXPECT_EQ(open.Next({.size = {2147483647, 2}}).info().size, (Size{8192, 2}));
}

TEST(TestCamera, WithASizeOfItsOwnFollowsTheRuleOfAllCameras) {
  OpenTestCamera open("test:?size=640x480");
  EXPECT_EQ(open.info.natural_size, (Size{640, 480}));
  EXPECT_EQ(open.Next({.size = {320, 180}}).info().size, (Size{320, 240}));
  EXPECT_EQ(open.Next({.size = {1280, 720}}).info().size, (Size{640, 480}));
}

TEST(TestCamera, StampsFramesExactlyToTheRateAlsoAcrossAChangeOfIt) {
  OpenTestCamera open("test:");
  EXPECT_EQ(open.Next().info().timestamp, nanoseconds(0));
  EXPECT_EQ(open.Next().info().timestamp, nanoseconds(33'333'333));
  EXPECT_EQ(open.Next().info().timestamp, nanoseconds(66'666'666));
  EXPECT_EQ(open.Next().info().timestamp, nanoseconds(100'000'000));
  EXPECT_EQ(open.Next({.frame_rate = 10}).info().timestamp, milliseconds(200));
  EXPECT_EQ(open.Next({.frame_rate = 10}).info().timestamp, milliseconds(300));
  EXPECT_EQ(open.Next({.frame_rate = 25}).info().timestamp, milliseconds(340));
}

TEST(TestCamera, IsNoFasterThanItsOwnRate) {
  OpenTestCamera open("test:?rate=10");
  EXPECT_EQ(open.info.rate_numerator, 10);
  const CaptureRequest request{.frame_rate = 50};
  static_cast<void>(open.Next(request));
  EXPECT_EQ(open.Next(request).info().timestamp, milliseconds(100));
}

TEST(TestCamera, EndsAfterTheFramesItHas) {
  OpenTestCamera open("test:?frames=2&rate=10&lossless");
  EXPECT_EQ(open.info.duration, milliseconds(200));
  EXPECT_EQ(open.camera.Policy().delivery, video::FrameDelivery::kLossless);
  EXPECT_FALSE(open.camera.Policy().paced);
  static_cast<void>(open.Next());
  static_cast<void>(open.Next());
  const SourceItem end = open.camera.Read({});
  ASSERT_TRUE(std::holds_alternative<video::StreamEnd>(end));
  EXPECT_EQ(std::get<video::StreamEnd>(end).error_code, 0);
}

TEST(TestCamera, DrawsTheSamePictureAgainForTheSameNumber) {
  OpenTestCamera first("test:");
  OpenTestCamera second("test:");
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(SameLuma(first.Next(), second.Next()));
  EXPECT_FALSE(SameLuma(first.Next(), first.Next()));
}

TEST(TestCamera, DrawsInEverySmallSize) {
  for (int width = 2; width < 70; width += 2) {
    for (int height = 2; height < 70; height += 2) {
      OpenTestCamera open("test:");
      static_cast<void>(open.Next({.size = {width, height}}));
      EXPECT_EQ(open.Next({.size = {width, height}}).info().size, (Size{width, height}));
    }
  }
}

TEST(TestCamera, RefusesOptionsThatItDoesNotKnow) {
  for (const char* const id :
       {"test:x", "test:?", "test:?frames=0", "test:?frames=x", "test:?size=641x480",
        "test:?size=640", "test:?size=0x0", "test:?rate=-1", "test:?rate=1000", "test:?fast",
        "test:?lossless&", "test:?lossless=1", "test:?frames=90,size=2x2"}) {
    TestCamera camera(id);
    const CameraInfo info = camera.Describe();
    EXPECT_EQ(info.error_code, static_cast<int>(CameraError::kUnsupported)) << id;
    EXPECT_THAT(info.error_text, HasSubstr(id));
  }
}

}  // namespace
}  // namespace movra::media
