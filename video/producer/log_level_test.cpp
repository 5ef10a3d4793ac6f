// What logging takes: nothing while its level is off, and no filter but those of numbers.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "core/notification_center.h"
#include "logging/log_filter.h"
#include "logging/log_sink.h"
#include "video/producer/capture_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::ElementsAreArray;
using ::testing::SizeIs;

// A world of its own in which a producer does everything that it writes lines about. A second play
// begins where the first one did, but for the formats and sizes that a producer remembers.
class EveryLine : public CaptureTest {
 public:
  EveryLine() { world().answers.cameras = {{"cam-1", "", "", 0}}; }

  void Play() {
    PlayCamera();
    PlayOtherSources();
    PlayEncoder();
    PlayPicture();
  }

  // What a play adds to the journal.
  [[nodiscard]] std::vector<std::string> Entries() {
    return EntriesOf([this] { Play(); });
  }
  [[nodiscard]] std::vector<std::string> Lines() {
    std::vector<std::string> lines = Entries();
    std::erase_if(lines, [](const std::string& entry) { return !entry.starts_with("log("); });
    return lines;
  }
  // How many lines begin and texts are made in the last play, which goes on to the producer's end.
  [[nodiscard]] std::size_t CountLinesAndTexts() {
    journal().Clear();
    Play();
    producer_->Uninitialize();
    return journal().Count(testing::Journal::kText);
  }

 private:
  void PlayCamera() {
    producer_->Initialize();
    producer_->StopCapture({});
    producer_->PauseCapture();
    producer_->StopCapture({});
    producer_->StartCapture(CameraOfSize(320, 180), {});
    producer_->StartCapture(Camera(), {});
    SetBigEncodeSize(*producer_, 1280, 720);
    EncodeParams faster;
    faster.frame_rate = 60;
    producer_->SetEncoderParams(VideoStreamType::kBig, faster);
    core::NotificationCenter::GetInstance()
        .Publish<const CameraDeviceState&, const VideoDeviceInfo&>(
            kCameraDeviceStateNotification, "", CameraDeviceState::kAdded, VideoDeviceInfo{});
    camera_service().AnswerStart(-3, 120);
    producer_->ResumeCapture();
    producer_->StopCapture({});
    SetBigEncodeSize(*producer_, 640, 360);
    faster.frame_rate = 5;
    producer_->SetEncoderParams(VideoStreamType::kBig, faster);
  }

  void PlayOtherSources() {
    producer_->StartCapture(Desktop());
    producer_->StartCapture(Mobile());
    producer_->StartCapture(Desktop());
    producer_->StopCapture({});
    producer_->SetCoverImageParams(std::make_shared<VideoCoverImageParams>());
    producer_->EnableCustomCapturing(true);
    producer_->EnableCustomCapturing(true);
    producer_->EnableCustomCapturing(false);
  }

  void PlayEncoder() {
    EncodeParams params;
    params.width = 320;
    params.height = 180;
    producer_->StartEncoder(VideoStreamType::kSmall, params, encoded_);
    producer_->StartEncoder(VideoStreamType::kSmall, params, encoded_);
    producer_->OnEncoderNeededFormatChanged(VideoStreamType::kSmall, PixelFormat::kNV12,
                                            BufferType::kTexture);
    producer_->StopEncoder(VideoStreamType::kSmall, 250);
    params.width = 160;
    producer_->SetEncoderParams(VideoStreamType::kSmall, params);
  }

  void PlayPicture() {
    producer_->EnableCustomRendering(true, PixelFormat::kI420, BufferType::kMemory, frames_);
    producer_->EnableCustomRendering(false, PixelFormat::kNone, BufferType::kMemory, nullptr);
    producer_->SetRenderMirror(MirrorMode::kEnabled);
    producer_->SetRenderRotation(VideoRotation::k90);
    producer_->SetRenderBackgroundColor(0x112233);
    producer_->SetFillMode(FillMode::kFit);
    producer_->SetGSensorMode(GSensorMode::kRotateToDevice);
    producer_->SetOutputFrameAdaptiveMode(FrameAdaptiveMode::kFit, true);
    producer_->EnableCustomProcessing(true, PixelFormat::kI420, BufferType::kMemory, nullptr);
    producer_->AddVideoShuntTrack(InterceptPosition::kCaptured, PixelFormat::kI420,
                                  BufferType::kMemory, frames_);
    producer_->RemoveVideoShuntTrack(frames_);
  }

  void TestBody() override {}

  const std::shared_ptr<testing::EncodedWriterDouble> encoded_ =
      env().Make<testing::EncodedWriterDouble>("encoded");
  const std::shared_ptr<testing::FrameWriterDouble> frames_ =
      env().Make<testing::FrameWriterDouble>("frames");
  const std::shared_ptr<VideoProducer2Impl> producer_ = MakeProducer();
};

TEST(LogLevel, TakesLinesAwayAndChangesNothingElse) {
  std::vector<std::string> spoken = EveryLine().Entries();
  const auto lines =
      std::erase_if(spoken, [](const std::string& entry) { return entry.starts_with("log("); });
  EXPECT_GT(lines, 40U);

  EveryLine silent;
  movra_logging::SetMinLogLevel(movra_logging::kLogLevelOff);
  EXPECT_THAT(silent.Entries(), ElementsAreArray(spoken));
}

TEST(LogLevel, ThatIsOffLetsNoLineBeginAndLeavesItsTextsUnmade) {
  EXPECT_GT(EveryLine().CountLinesAndTexts(), 80U);

  EveryLine silent;
  movra_logging::SetMinLogLevel(movra_logging::kLogLevelOff);
  EXPECT_EQ(silent.CountLinesAndTexts(), 0U);
}

// A line with a number in it that does not change is written once.
bool PrintsANumber(const std::string& line) {
  constexpr std::array<const char*, 5> kPrinted = {
      "Invalid capture status:", "Error code:", "with waiting max time:", "frame rate:",
      "ground color:0x"};
  return std::any_of(kPrinted.begin(), kPrinted.end(),
                     [&](const char* text) { return line.find(text) != std::string::npos; });
}

TEST(LogFiltering, RepeatsEveryLineButThoseThatPrintANumber) {
  EveryLine world;
  world.Play();
  SetLogValueFiltering(true);
  std::vector<std::string> first = world.Lines();
  const std::vector<std::string> second = world.Lines();
  EXPECT_EQ(std::erase_if(first, PrintsANumber), 6U);
  EXPECT_THAT(second, ElementsAreArray(first));
}

}  // namespace
}  // namespace movra::video
