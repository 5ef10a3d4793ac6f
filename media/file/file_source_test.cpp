#include "media/file/file_source.h"

#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/run_loop.h"
#include "media/camera/frame_marker.h"
#include "media/capture/camera_error.h"
#include "media/capture/capture_for_test.h"
#include "media/file/clip_for_test.h"
#include "media/sources/source_kinds.h"

namespace movra::media {
namespace {

using std::chrono::nanoseconds;
using ::testing::ElementsAre;
using ::testing::SizeIs;
using video::CameraParams;
using video::FrameDelivery;
using video::PixelFrame;
using video::Size;

constexpr char kFastH264[] = "-c:v libx264 -preset veryfast -crf 20";

// The camera service with file cameras in it.
class FileCameraTest : public ::testing::Test {
 protected:
  FileCameraTest() {
    core::SetMainQueue(loop_);
    service_ = std::make_shared<CameraServiceImpl>(DefaultCameraServiceParts());
  }
  ~FileCameraTest() override {
    service_.reset();
    core::SetMainQueue(nullptr);
  }

  static CameraParams Params(const std::string& path) {
    CameraParams params;
    params.camera_id = "file:" + path;
    return params;
  }

  void Start(const CameraParams& params, std::shared_ptr<CollectingWriter> writer) {
    service_->StartCapture(1, params, std::move(writer),
                           movra_base::BindOnce([this](int code, int /*elapsed_ms*/) {
                             answers_.push_back(code);
                             loop_->Quit();
                           }));
  }

  static std::vector<int> NumbersOf(const std::vector<PixelFrame>& frames) {
    std::vector<int> numbers;
    for (const PixelFrame& frame : frames) {
      const auto number = ReadFrameMarker(frame);
      numbers.push_back(number ? static_cast<int>(*number) : -1);
    }
    return numbers;
  }

  ClipDirectory clips_;
  std::shared_ptr<core::RunLoop> loop_ = std::make_shared<core::RunLoop>();
  std::shared_ptr<CameraServiceImpl> service_;
  std::shared_ptr<CollectingWriter> writer_ = std::make_shared<CollectingWriter>();
  std::vector<int> answers_;
};

TEST_F(FileCameraTest, DeliversEveryFrameOnceAndInOrderAndThenTheEnd) {
  const CameraParams params = Params(clips_.Make("a.mp4", kFastH264, 30));
  Start(params, writer_);
  EXPECT_EQ(writer_->WaitForEnd().error_code, 0);
  loop_->Run();
  EXPECT_THAT(answers_, ElementsAre(0));
  const std::vector<PixelFrame> frames = writer_->frames();
  ASSERT_THAT(frames, SizeIs(30));
  const std::vector<int> numbers = NumbersOf(frames);
  for (int i = 0; i < 30; ++i) EXPECT_EQ(numbers[static_cast<std::size_t>(i)], i);
  for (const PixelFrame& frame : frames) {
    EXPECT_EQ(frame.info().delivery, FrameDelivery::kLossless);
    EXPECT_EQ(frame.info().size, (Size{320, 180}));
  }
  EXPECT_EQ(service_->GetCaptureStat(params), 30u);
}

TEST_F(FileCameraTest, LosesNothingWhenFramesAreTakenOneByOne) {
  writer_ = std::make_shared<CollectingWriter>(0);
  Start(Params(clips_.Make("a.mp4", kFastH264, 12)), writer_);
  for (std::size_t i = 0; i < 12; ++i) {
    writer_->WaitUntilRefused();
    EXPECT_THAT(writer_->frames(), SizeIs(i));
    writer_->MakeRoom(1);
    writer_->WaitForFrames(i + 1);
  }
  writer_->WaitForEnd();
  EXPECT_THAT(NumbersOf(writer_->frames()), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11));
}

TEST_F(FileCameraTest, StopsWhileItWaitsForRoom) {
  writer_ = std::make_shared<CollectingWriter>(3);
  const CameraParams params = Params(clips_.Make("a.mp4", kFastH264, 12));
  Start(params, writer_);
  writer_->WaitUntilRefused();
  service_->StopCapture(params, writer_, {});
  writer_->MakeRoom(100);
  EXPECT_THAT(writer_->frames(), SizeIs(3));
  EXPECT_FALSE(writer_->end().has_value());
}

TEST_F(FileCameraTest, DeliversTheWholeUprightPictureInTheAskedSize) {
  CameraParams params = Params(clips_.MakeTurned("turned.mp4", 5, {640, 360}));
  video::CameraInfo info;
  service_->DescribeCamera(params.camera_id, movra_base::BindOnce([&](video::CameraInfo found) {
                             info = std::move(found);
                             loop_->Quit();
                           }));
  loop_->Run();
  EXPECT_EQ(info.natural_size, (Size{640, 360}));
  params.width = 320;
  params.height = 100;
  Start(params, writer_);
  writer_->WaitForEnd();
  for (const PixelFrame& frame : writer_->frames()) {
    EXPECT_EQ(frame.info().size, (Size{320, 180}));
    EXPECT_EQ(frame.info().rotation, video::VideoRotation::k0);
  }
  EXPECT_THAT(NumbersOf(writer_->frames()), ElementsAre(0, 1, 2, 3, 4));
}

TEST_F(FileCameraTest, DeliversAtMostTheAskedRate) {
  CameraParams params = Params(clips_.Make("a.mp4", kFastH264, 9));
  params.frame_rate = 10;
  Start(params, writer_);
  writer_->WaitForEnd();
  EXPECT_THAT(NumbersOf(writer_->frames()), ElementsAre(0, 3, 6));
}

TEST_F(FileCameraTest, PlaysOnAndOnWithGrowingTimeStamps) {
  CameraParams params = Params(clips_.Make("a.mp4", std::string(kFastH264) + " -bf 2", 5));
  params.camera_id += "?loop";
  writer_ = std::make_shared<CollectingWriter>(13);
  Start(params, writer_);
  writer_->WaitUntilRefused();
  service_->StopCapture(params, writer_, {});
  const std::vector<PixelFrame> frames = writer_->frames();
  EXPECT_THAT(NumbersOf(frames), ElementsAre(0, 1, 2, 3, 4, 0, 1, 2, 3, 4, 0, 1, 2));
  for (std::size_t i = 0; i < frames.size(); ++i) {
    EXPECT_NEAR(static_cast<double>(frames[i].info().timestamp.count()),
                static_cast<double>(i) * 1e9 / 30, 1e5);
    EXPECT_EQ(frames[i].info().sequence, i);
  }
}

TEST_F(FileCameraTest, IsLiveAndPacedInRealTime) {
  const auto source =
      MakeFileSource(clips_.Make("a.mp4", kFastH264, 2), {.loop = false, .realtime = true});
  ASSERT_EQ(source->Open({}).error_code, 0);
  EXPECT_EQ(source->Policy().delivery, FrameDelivery::kLive);
  EXPECT_TRUE(source->Policy().paced);
}

TEST_F(FileCameraTest, TellsOfDamageAtTheEnd) {
  const std::string whole =
      clips_.Make("whole.mp4", std::string(kFastH264) + " -g 15 -movflags +faststart", 60);
  Start(Params(clips_.MakeTruncated(whole, "cut.mp4", 0.6)), writer_);
  const video::StreamEnd end = writer_->WaitForEnd();
  EXPECT_EQ(end.error_code, static_cast<int>(CameraError::kBrokenOff));
  EXPECT_FALSE(writer_->frames().empty());
}

TEST_F(FileCameraTest, AnswersTheStartOfAFileThatIsNoVideoWithItsCode) {
  Start(Params(clips_.MakeText("note.txt", "Dear diary")), writer_);
  loop_->Run();
  EXPECT_THAT(answers_, ElementsAre(static_cast<int>(CameraError::kNotAVideo)));
}

TEST_F(FileCameraTest, PlaysTwoFilesAtOnce) {
  const auto other = std::make_shared<CollectingWriter>();
  Start(Params(clips_.Make("a.mp4", kFastH264, 20)), writer_);
  Start(Params(clips_.Make("b.mkv", kFastH264, 25)), other);
  writer_->WaitForEnd();
  other->WaitForEnd();
  EXPECT_THAT(NumbersOf(writer_->frames()), SizeIs(20));
  EXPECT_THAT(NumbersOf(other->frames()), SizeIs(25));
}

}  // namespace
}  // namespace movra::media
