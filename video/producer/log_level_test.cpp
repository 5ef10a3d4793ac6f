#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "core/notification_center.h"
#include "logging/log_sink.h"
#include "video/producer/capture_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::ElementsAreArray;

// A world of its own in which captures of every kind begin, are refused and end.
class Captures : public CaptureTest {
 public:
  [[nodiscard]] std::vector<std::string> Entries() {
    world().answers.cameras = {{"cam-1", "", "", 0}};
    const auto producer = MakeProducer();
    return EntriesOf([&] {
      producer->StopCapture({});
      producer->StartCapture(CameraOfSize(320, 180), {});
      SetBigEncodeSize(*producer, 1280, 720);
      EncodeParams faster;
      faster.frame_rate = 60;
      producer->SetEncoderParams(VideoStreamType::kBig, faster);
      producer->StartCapture(Desktop());
      producer->StartCapture(Mobile());
      core::NotificationCenter::GetInstance()
          .Publish<const CameraDeviceState&, const VideoDeviceInfo&>(
              kCameraDeviceStateNotification, "", CameraDeviceState::kAdded, VideoDeviceInfo{});
      camera_service().AnswerStart(-3, 120);
      producer->ResumeCapture();
      producer->StopCapture({});
      producer->EnableCustomCapturing(true);
      producer->EnableCustomCapturing(true);
      producer->SetCoverImageParams(std::make_shared<VideoCoverImageParams>());
    });
  }

 private:
  void TestBody() override {}
};

TEST(LogLevel, TakesLinesAwayAndChangesNothingElse) {
  std::vector<std::string> spoken = Captures().Entries();
  const auto lines =
      std::erase_if(spoken, [](const std::string& entry) { return entry.starts_with("log("); });
  EXPECT_GT(lines, 0U);

  Captures silent;
  movra_logging::SetMinLogLevel(movra_logging::kLogLevelOff);
  EXPECT_THAT(silent.Entries(), ElementsAreArray(spoken));
}

}  // namespace
}  // namespace movra::video
