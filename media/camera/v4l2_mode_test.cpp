#include "media/camera/v4l2_mode.h"

#include <linux/videodev2.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "media/camera/simulated_v4l2_for_test.h"

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using video::Size;

constexpr std::uint32_t kYuyv = V4L2_PIX_FMT_YUYV;
constexpr std::uint32_t kMjpeg = V4L2_PIX_FMT_MJPEG;

V4l2Mode Mode(std::uint32_t fourcc, Size size, std::uint32_t rate) {
  return {.fourcc = fourcc,
          .size = size,
          .interval_numerator = rate == 0 ? 0U : 1U,
          .interval_denominator = rate == 0 ? 1U : rate};
}

// What a usual webcam offers: uncompressed pictures are slow where they are large.
const std::vector<V4l2Mode> kWebcam{
    Mode(kYuyv, {640, 480}, 30),  Mode(kYuyv, {1280, 720}, 10),  Mode(kYuyv, {1920, 1080}, 5),
    Mode(kMjpeg, {640, 480}, 30), Mode(kMjpeg, {1280, 720}, 60), Mode(kMjpeg, {1920, 1080}, 30),
};

V4l2Mode Choose(Size size, int rate) {
  return ChooseMode(kWebcam, {.size = size, .frame_rate = rate}).value();
}

TEST(ChooseMode, TakesTheSmallestThatCoversWhatIsAsked) {
  EXPECT_EQ(Choose({640, 360}, 30), Mode(kYuyv, {640, 480}, 30));
  EXPECT_EQ(Choose({640, 500}, 10), Mode(kYuyv, {1280, 720}, 10));
  EXPECT_EQ(Choose({480, 640}, 30), Mode(kYuyv, {640, 480}, 30));
}

TEST(ChooseMode, PrefersOneThatIsFastEnough) {
  EXPECT_EQ(Choose({1280, 720}, 30), Mode(kMjpeg, {1280, 720}, 60));
  EXPECT_EQ(Choose({1280, 720}, 10), Mode(kYuyv, {1280, 720}, 10));
  EXPECT_EQ(Choose({1920, 1080}, 0), Mode(kMjpeg, {1920, 1080}, 30));
  EXPECT_EQ(Choose({1920, 1080}, 5), Mode(kYuyv, {1920, 1080}, 5));
}

TEST(ChooseMode, TakesTheLargestThatIsFastEnoughWhenNothingIsAsked) {
  EXPECT_EQ(Choose({0, 0}, 0), Mode(kMjpeg, {1920, 1080}, 30));
  EXPECT_EQ(Choose({0, 0}, 60), Mode(kMjpeg, {1280, 720}, 60));
}

TEST(ChooseMode, TakesTheLargestWhenNoneCovers) {
  EXPECT_EQ(Choose({3840, 2160}, 30), Mode(kMjpeg, {1920, 1080}, 30));
}

TEST(ChooseMode, PrefersUncompressedPictures) {
  const std::vector<V4l2Mode> modes{Mode(kMjpeg, {640, 480}, 30),
                                    Mode(V4L2_PIX_FMT_NV12, {640, 480}, 30),
                                    Mode(kYuyv, {640, 480}, 30)};
  EXPECT_EQ(ChooseMode(modes, {})->fourcc, static_cast<std::uint32_t>(V4L2_PIX_FMT_NV12));
}

TEST(ChooseMode, TakesNtscRatesForWhatTheyStandFor) {
  V4l2Mode ntsc = Mode(kYuyv, {1280, 720}, 0);
  ntsc.interval_numerator = 1001;
  ntsc.interval_denominator = 30000;
  const std::vector<V4l2Mode> modes{ntsc, Mode(kMjpeg, {1280, 720}, 30)};
  EXPECT_EQ(ChooseMode(modes, {.size = {1280, 720}, .frame_rate = 30}), ntsc);
}

TEST(ChooseMode, FindsNothingAmongNothing) { EXPECT_EQ(ChooseMode({}, {}), std::nullopt); }

TEST(ListModes, ListsReadableFormatsWithTheirHighestRates) {
  const auto device = std::make_shared<SimulatedDevice>();
  device->modes = {Mode(kYuyv, {640, 480}, 30), Mode(V4L2_PIX_FMT_SBGGR8, {640, 480}, 60),
                   Mode(kYuyv, {1280, 720}, 10), Mode(kMjpeg, {1280, 720}, 0)};
  SimulatedV4l2Io io(device);
  EXPECT_THAT(ListModes(io), ElementsAre(Mode(kYuyv, {640, 480}, 30), Mode(kYuyv, {1280, 720}, 10),
                                         Mode(kMjpeg, {1280, 720}, 0)));
}

TEST(ListModes, PicksUsualSizesAndTheLargestOutOfARange) {
  const auto device = std::make_shared<SimulatedDevice>();
  device->largest_of_range = {1600, 1200};
  SimulatedV4l2Io io(device);
  std::vector<Size> sizes;
  for (const V4l2Mode& mode : ListModes(io)) sizes.push_back(mode.size);
  // 640x360 and 800x600 do not lie on the range's steps of 16.
  EXPECT_THAT(sizes,
              ElementsAre(Size{320, 240}, Size{640, 480}, Size{1280, 720}, Size{1600, 1200}));
}

}  // namespace
}  // namespace movra::media
