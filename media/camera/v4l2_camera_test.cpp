#include "media/camera/v4l2_camera.h"

#include <linux/videodev2.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "media/camera/frame_marker.h"
#include "media/camera/simulated_v4l2_for_test.h"
#include "media/camera/test_picture.h"
#include "media/capture/camera_error.h"
#include "media/file/clip_for_test.h"

namespace movra::media {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using video::CameraInfo;
using video::PixelFrame;
using video::Size;
using video::StreamEnd;

constexpr Size kSize{320, 180};

int Code(CameraError error) { return static_cast<int>(error); }

// Test picture `number` in a device's format; each line is followed by `padding` bytes.
std::string Bytes(std::uint32_t fourcc, std::uint32_t number, int padding = 0) {
  FramePool pool;
  const PixelFrame picture = TestPicture(kSize).Draw(number, {}, pool);
  const auto at = [&picture](std::size_t plane, int x, int y) {
    const video::PixelPlane& p = picture.info().planes[plane];
    return static_cast<char>(p.data[std::ptrdiff_t{y} * p.stride + x]);
  };
  const auto pad = static_cast<std::size_t>(padding);
  std::string bytes;
  for (int y = 0; y < kSize.height; ++y) {
    for (int x = 0; x < kSize.width; ++x) {
      bytes += at(0, x, y);
      if (fourcc == V4L2_PIX_FMT_YUYV) bytes += at(x % 2 == 0 ? 1 : 2, x / 2, y / 2);
    }
    bytes.append(pad, '\0');
  }
  if (fourcc == V4L2_PIX_FMT_YUYV) return bytes;
  if (fourcc == V4L2_PIX_FMT_NV12) {
    for (int y = 0; y < kSize.height / 2; ++y) {
      for (int x = 0; x < kSize.width; ++x) bytes += at(x % 2 == 0 ? 1 : 2, x / 2, y);
      bytes.append(pad, '\0');
    }
    return bytes;
  }
  for (const std::size_t plane : {1U, 2U}) {
    for (int y = 0; y < kSize.height / 2; ++y) {
      for (int x = 0; x < kSize.width / 2; ++x) bytes += at(plane, x, y);
      bytes.append(pad / 2, '\0');
    }
  }
  return bytes;
}

class V4l2CameraTest : public ::testing::Test {
 protected:
  V4l2CameraTest() { Offer(V4L2_PIX_FMT_YUYV); }

  void Offer(std::uint32_t fourcc) {
    device_->modes = {
        {.fourcc = fourcc, .size = kSize, .interval_numerator = 1, .interval_denominator = 30}};
  }

  CameraInfo Open(const CaptureRequest& request = {}) { return MakeCamera().Open(request); }

  V4l2Camera& MakeCamera() {
    camera_ =
        std::make_unique<V4l2Camera>("/dev/video7", std::make_unique<SimulatedV4l2Io>(device_));
    return *camera_;
  }

  void Push(std::uint32_t number, std::int64_t time_us = 0) {
    device_->Push({.error = 0,
                   .bytes = Bytes(device_->modes[0].fourcc, number, device_->padding),
                   .sequence = number,
                   .flags = 0,
                   .microseconds = time_us});
  }

  void PushError(int error) { device_->Push({.error = error, .bytes = {}}); }

  PixelFrame ReadFrame() { return std::get<SourceFrame>(camera_->Read({})).frame; }
  bool ReadNothing() { return std::holds_alternative<std::monostate>(camera_->Read({})); }
  StreamEnd ReadEnd() { return std::get<StreamEnd>(camera_->Read({})); }

  std::shared_ptr<SimulatedDevice> device_ = std::make_shared<SimulatedDevice>();
  std::unique_ptr<V4l2Camera> camera_;
};

TEST_F(V4l2CameraTest, ReadsPicturesOfEachUncompressedFormatWithAndWithoutPadding) {
  for (const std::uint32_t fourcc : {V4L2_PIX_FMT_YUYV, V4L2_PIX_FMT_NV12, V4L2_PIX_FMT_YUV420}) {
    for (const int padding : {0, 64}) {
      device_ = std::make_shared<SimulatedDevice>();
      device_->padding = padding;
      Offer(fourcc);
      ASSERT_EQ(Open().error_code, 0);
      Push(5);
      const PixelFrame frame = ReadFrame();
      FramePool pool;
      const PixelFrame expected = TestPicture(kSize).Draw(5, {}, pool);
      EXPECT_EQ(frame.info().size, kSize);
      EXPECT_EQ(ReadFrameMarker(frame), 5u);
      for (const std::size_t plane : {0U, 1U, 2U}) {
        const video::PixelPlane& got = frame.info().planes[plane];
        const video::PixelPlane& want = expected.info().planes[plane];
        EXPECT_EQ(got.data[20 * got.stride + 30], want.data[20 * want.stride + 30]);
        EXPECT_EQ(got.data[89 * got.stride + 159], want.data[89 * want.stride + 159]);
      }
    }
  }
}

TEST_F(V4l2CameraTest, RunsTheModeThatSuitsTheRequest) {
  device_->modes.push_back({.fourcc = V4L2_PIX_FMT_YUYV,
                            .size = {1280, 720},
                            .interval_numerator = 1,
                            .interval_denominator = 25});
  EXPECT_EQ(Open({.size = {200, 100}}).natural_size, kSize);
  EXPECT_EQ(device_->running.size, kSize);
  const CameraInfo info = Open({.size = {640, 360}});
  EXPECT_EQ(info.natural_size, (Size{1280, 720}));
  EXPECT_EQ(info.rate_numerator, 25);
  EXPECT_EQ(device_->running.interval_denominator, 25u);
  EXPECT_TRUE(device_->streaming);
}

TEST_F(V4l2CameraTest, DescribesItselfWithoutRunning) {
  const CameraInfo info = MakeCamera().Describe();
  EXPECT_EQ(info.error_code, 0);
  EXPECT_EQ(info.natural_size, kSize);
  EXPECT_EQ(info.rate_numerator, 30);
  EXPECT_EQ(info.traits, (video::SourceTraits{.keeps_time = true}));
  EXPECT_FALSE(device_->streaming);
}

TEST_F(V4l2CameraTest, IsLiveAndPacesItself) {
  ASSERT_EQ(Open().error_code, 0);
  EXPECT_EQ(camera_->Policy().delivery, video::FrameDelivery::kLive);
  EXPECT_FALSE(camera_->Policy().paced);
}

TEST_F(V4l2CameraTest, TakesTimesFromTheDriverAndCountsItsLosses) {
  ASSERT_EQ(Open().error_code, 0);
  Push(10, 5'000'000);
  Push(11, 5'033'000);
  Push(14, 5'133'000);
  const PixelFrame first = ReadFrame();
  EXPECT_EQ(first.info().timestamp, milliseconds(0));
  EXPECT_EQ(first.info().capture_time, microseconds(5'000'000));
  EXPECT_EQ(first.info().sequence, 0u);
  const PixelFrame second = ReadFrame();
  EXPECT_EQ(second.info().timestamp, milliseconds(33));
  EXPECT_EQ(second.info().sequence, 1u);
  const PixelFrame third = ReadFrame();
  EXPECT_EQ(third.info().timestamp, milliseconds(133));
  EXPECT_EQ(third.info().sequence, 4u);
}

TEST_F(V4l2CameraTest, TakesTimesFromItsOwnClockWhereTheDriverHasNone) {
  device_->timestamp_flags = 0;
  ASSERT_EQ(Open().error_code, 0);
  Push(1, 77);
  const auto before = std::chrono::steady_clock::now().time_since_epoch();
  EXPECT_GE(ReadFrame().info().capture_time, before);
}

TEST_F(V4l2CameraTest, GivesItsBuffersBackToTheDriver) {
  ASSERT_EQ(Open().error_code, 0);
  for (std::uint32_t number = 0; number < 20; ++number) {
    Push(number);
    EXPECT_EQ(ReadFrameMarker(ReadFrame()), number);
  }
  EXPECT_EQ(device_->queued.size(), 3u);
}

TEST_F(V4l2CameraTest, CountsFramesThatArriveDamaged) {
  ASSERT_EQ(Open().error_code, 0);
  Push(0);
  device_->Push({.error = 0,
                 .bytes = Bytes(V4L2_PIX_FMT_YUYV, 1),
                 .sequence = 1,
                 .flags = V4L2_BUF_FLAG_ERROR});
  device_->Push({.error = 0, .bytes = "short", .sequence = 2});
  PushError(EIO);
  Push(3);
  PushError(ENODEV);
  EXPECT_EQ(ReadFrame().info().sequence, 0u);
  EXPECT_TRUE(ReadNothing());
  EXPECT_TRUE(ReadNothing());
  EXPECT_TRUE(ReadNothing());
  const video::PixelFrameInfo last = ReadFrame().info();
  EXPECT_EQ(last.sequence, 3u);
  EXPECT_EQ(last.damaged_frames, 3u);
  EXPECT_EQ(ReadEnd().damaged_frames, 3u);
}

TEST_F(V4l2CameraTest, EndsWhenTheDeviceGoes) {
  ASSERT_EQ(Open().error_code, 0);
  PushError(ENODEV);
  const StreamEnd end = ReadEnd();
  EXPECT_EQ(end.error_code, Code(CameraError::kDeviceLost));
  EXPECT_EQ(end.reason, "/dev/video7 is gone");
}

TEST_F(V4l2CameraTest, EndsWhenTheDeviceFailsAgainAndAgain) {
  ASSERT_EQ(Open().error_code, 0);
  for (int i = 0; i < 40; ++i) PushError(EIO);
  int nothing = 0;
  SourceItem item = camera_->Read({});
  for (; std::holds_alternative<std::monostate>(item); item = camera_->Read({})) ++nothing;
  EXPECT_EQ(nothing, 29);
  EXPECT_EQ(std::get<StreamEnd>(item).error_code, Code(CameraError::kReadFailed));
}

TEST_F(V4l2CameraTest, GoesOnAsLongAsFramesComeBetweenTheFailures) {
  ASSERT_EQ(Open().error_code, 0);
  for (int i = 0; i < 20; ++i) PushError(EIO);
  Push(0);
  for (int i = 0; i < 20; ++i) PushError(EIO);
  Push(1);
  std::vector<std::uint32_t> numbers;
  while (numbers.size() < 2) {
    const SourceItem item = camera_->Read({});
    ASSERT_FALSE(std::holds_alternative<StreamEnd>(item)) << numbers.size();
    const auto* const source = std::get_if<SourceFrame>(&item);
    if (source != nullptr) numbers.push_back(ReadFrameMarker(source->frame).value_or(99));
  }
  EXPECT_THAT(numbers, ElementsAre(0u, 1u));
}

TEST_F(V4l2CameraTest, IsInterruptedWhileItWaitsForAFrame) {
  ASSERT_EQ(Open().error_code, 0);
  std::thread interrupter([this] { camera_->Interrupt(); });
  EXPECT_TRUE(ReadNothing());
  interrupter.join();
}

TEST_F(V4l2CameraTest, LeavesTheDeviceStoppedAndUnmapped) {
  ASSERT_EQ(Open().error_code, 0);
  EXPECT_EQ(device_->mapped, 3);
  camera_.reset();
  EXPECT_EQ(device_->mapped, 0);
  EXPECT_FALSE(device_->streaming);
}

TEST_F(V4l2CameraTest, SaysInClearWordsWhyItCannotStart) {
  for (const auto& [error, code, words] : std::vector<std::tuple<int, CameraError, std::string>>{
           {ENOENT, CameraError::kNoSuchCamera, "there is no camera /dev/video7"},
           {ENODEV, CameraError::kNoSuchCamera, "there is no camera /dev/video7"},
           {EACCES, CameraError::kNoPermission, "group 'video'"},
           {EBUSY, CameraError::kBusy, "in use"},
           {EIO, CameraError::kCannotOpen, "/dev/video7 cannot be started"}}) {
    device_->open_error = error;
    const CameraInfo info = Open();
    EXPECT_EQ(info.error_code, Code(code));
    EXPECT_THAT(info.error_text, HasSubstr(words));
  }
}

TEST_F(V4l2CameraTest, FailsToStartWhereAnyStepFails) {
  for (const unsigned long request :
       {VIDIOC_S_FMT, VIDIOC_REQBUFS, VIDIOC_QUERYBUF, VIDIOC_QBUF, VIDIOC_STREAMON}) {
    device_->errors = {{request, EBUSY}};
    EXPECT_EQ(Open().error_code, Code(CameraError::kBusy));
    camera_.reset();
    EXPECT_EQ(device_->mapped, 0);
  }
  device_->errors = {{VIDIOC_S_PARM, EINVAL}};  // Not every driver has rates to choose from.
  EXPECT_EQ(Open().error_code, 0);
}

TEST_F(V4l2CameraTest, RefusesWhatIsNoCamera) {
  device_->errors = {{VIDIOC_QUERYCAP, ENOTTY}};
  EXPECT_EQ(Open().error_code, Code(CameraError::kUnsupported));
  EXPECT_THAT(MakeCamera().Describe().error_text, HasSubstr("is not a camera"));
}

TEST_F(V4l2CameraTest, RefusesFormatsThatItCannotRead) {
  Offer(V4L2_PIX_FMT_SBGGR8);
  EXPECT_EQ(Open().error_code, Code(CameraError::kUnsupported));
  Offer(V4L2_PIX_FMT_YUYV);
  device_->forced_fourcc = V4L2_PIX_FMT_SBGGR8;
  EXPECT_EQ(Open().error_code, Code(CameraError::kUnsupported));
}

// The same without its Huffman tables, which cameras leave out because they are always the same.
std::string WithoutHuffmanTables(std::string jpeg) {
  const std::string marker = "\xFF\xC4";
  for (std::size_t at = jpeg.find(marker); at != std::string::npos; at = jpeg.find(marker, at)) {
    const auto high = static_cast<unsigned char>(jpeg[at + 2]);
    const auto low = static_cast<unsigned char>(jpeg[at + 3]);
    jpeg.erase(at, 2 + high * 256U + low);
  }
  return jpeg;
}

TEST_F(V4l2CameraTest, DecodesMotionJpegWithAndWithoutTables) {
  const ClipDirectory clips;
  std::ifstream picture(clips.Make("picture.jpg", "-c:v mjpeg -q:v 3 -huffman default", 1),
                        std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(picture)),
                          std::istreambuf_iterator<char>());
  ASSERT_LT(WithoutHuffmanTables(bytes).size(), bytes.size());
  Offer(V4L2_PIX_FMT_MJPEG);
  ASSERT_EQ(Open().error_code, 0);
  for (const std::string& delivered : {bytes, WithoutHuffmanTables(bytes)}) {
    device_->Push({.error = 0, .bytes = delivered});
    const PixelFrame frame = ReadFrame();
    EXPECT_EQ(ReadFrameMarker(frame), 0u);
    EXPECT_TRUE(frame.info().color.full_range);
  }
}

TEST_F(V4l2CameraTest, LeavesOutMotionJpegThatIsNone) {
  Offer(V4L2_PIX_FMT_MJPEG);
  ASSERT_EQ(Open().error_code, 0);
  device_->Push({.error = 0, .bytes = "not a picture"});
  EXPECT_TRUE(ReadNothing());
}

}  // namespace
}  // namespace movra::media
