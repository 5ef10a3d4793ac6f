#include "media/encode/encoder_controller.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "core/no_more_threads_for_test.h"
#include "logging/recording_sink_for_test.h"
#include "media/encode/encoder_controller_for_test.h"
#include "media/main_queue/off_the_main_queue_for_test.h"

namespace movra::media {
namespace {

using std::chrono::milliseconds;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using video::VideoStreamType;

class EncoderControllerTest : public EncoderControllerFixture {};

TEST_F(EncoderControllerTest, StopDrainsWhatWaitsInTheInputTrack) {
  for (int i = 0; i < 50; ++i) Write(i);
  controller_->Start();
  EXPECT_TRUE(controller_->IsStarted());
  controller_->Stop(kLongWaitMs);
  EXPECT_FALSE(controller_->IsStarted());
  EXPECT_THAT(recorder_->packets(), SizeIs(50));
  const video::EncoderStatsRecord record = controller_->GetStats().record;
  EXPECT_EQ(record.frames_in, 50U);
  EXPECT_EQ(record.frames_encoded, 50U);
  EXPECT_EQ(record.bytes_low, 250U);
  EXPECT_EQ(record.width, 64U);
  EXPECT_EQ(record.height, 48U);
}

TEST_F(EncoderControllerTest, AFrameThatComesWhileItWaitsIsEncoded) {
  controller_->Start();
  Write(0);
  recorder_->WaitForPackets(1);
  Write(1);
  recorder_->WaitForPackets(2);
  const auto packets = recorder_->packets();
  EXPECT_EQ(packets[1].frame.sequence, 1U);
  EXPECT_EQ(packets[1].frame.stream_type, VideoStreamType::kSmall);
  EXPECT_EQ(packets[1].frame.timestamp, std::chrono::nanoseconds(33'333'333));
  EXPECT_GT(packets[1].frame.capture_time.count(), 0);
}

TEST_F(EncoderControllerTest, TheEndMarkReachesTheWriterBehindTheLastFrame) {
  Write(0);
  track_->GetWriter()->WriteEnd({7, "broke off", 3});
  controller_->Start();
  recorder_->WaitForEnd();
  EXPECT_THAT(recorder_->packets(), SizeIs(1));
  ASSERT_THAT(recorder_->ends(), SizeIs(1));
  EXPECT_EQ(recorder_->ends()[0].error_code, 7);
  EXPECT_EQ(recorder_->ends()[0].reason, "broke off");
  EXPECT_EQ(recorder_->ends()[0].damaged_frames, 3U);
}

TEST_F(EncoderControllerTest, LiveFramesThatNewerOnesDisplacedAreCountedAsLate) {
  track_ = std::make_shared<BoundedTrack>(1);
  controller_->SetInputTrackReader(track_->GetReader());
  const auto live = [](video::PixelFrameInfo& info) {
    info.delivery = video::FrameDelivery::kLive;
  };
  for (int i = 0; i < 4; ++i) {
    track_->GetWriter()->Write(Redescribed(PaintFrame(kSmallSize, i), live));
  }
  controller_->Start();
  controller_->Stop(kLongWaitMs);
  EXPECT_EQ(controller_->GetStats().record.frames_dropped_late, 3U);
  track_ = std::make_shared<BoundedTrack>(1);
  controller_->SetInputTrackReader(track_->GetReader());
  for (int i = 0; i < 2; ++i) {
    track_->GetWriter()->Write(Redescribed(PaintFrame(kSmallSize, i), live));
  }
  EXPECT_EQ(controller_->GetStats().record.frames_dropped_late, 4U);
}

TEST_F(EncoderControllerTest, WhenTheWriterIsGoneFramesAreDrainedAndCounted) {
  controller_->Start();
  Write(0);
  recorder_->WaitForPackets(1);
  // The encoder may still hold the recorder for an instant; when it is gone, nobody does.
  const std::weak_ptr<PacketRecorder> gone = std::exchange(recorder_, nullptr);
  while (!gone.expired()) std::this_thread::yield();
  Write(1);
  Write(2);
  controller_->Stop(kLongWaitMs);
  EXPECT_EQ(controller_->GetStats().record.frames_in, 3U);
  EXPECT_EQ(controller_->GetStats().record.frames_encoded, 1U);
  EXPECT_EQ(controller_->GetStats().record.frames_failed, 2U);
}

TEST_F(EncoderControllerTest, AnotherWriterBeginsWithAKeyFrame) {
  controller_->Start();
  Write(0);
  Write(1);
  recorder_->WaitForPackets(2);
  const auto other = std::make_shared<PacketRecorder>();
  controller_->SetOutputTrackWriter(other);
  Write(2);
  other->WaitForPackets(1);
  EXPECT_THAT(recorder_->packets(), SizeIs(2));
  EXPECT_TRUE(other->packets()[0].frame.key_frame);
}

TEST_F(EncoderControllerTest, AnotherReaderIsReadFromThenOn) {
  controller_->Start();
  Write(0);
  recorder_->WaitForPackets(1);
  const auto other = std::make_shared<BoundedTrack>(10);
  other->GetWriter()->Write(PaintFrame(kSmallSize, 5));
  controller_->SetInputTrackReader(other->GetReader());
  recorder_->WaitForPackets(2);
  Write(1);  // Nobody reads this one.
  other->GetWriter()->Write(PaintFrame(kSmallSize, 6));
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 5, 6));
}

TEST_F(EncoderControllerTest, StopReturnsWithinTheWaitWhenTheWriterBlocksAndNoNewWriteBegins) {
  recorder_->HoldNextWrite();
  for (int i = 0; i < 5; ++i) Write(i);
  controller_->Start();
  recorder_->WaitUntilHeld();
  const auto begin = std::chrono::steady_clock::now();
  controller_->Stop(50);
  const auto waited = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(waited, milliseconds(50));
  EXPECT_LT(waited, std::chrono::seconds(20));
  EXPECT_FALSE(controller_->IsStarted());
  controller_.reset();
  recorder_->Release();
  // The thread ends without another write; then nobody else holds the recorder.
  const std::weak_ptr<PacketRecorder> weak = recorder_;
  while (weak.use_count() > 1) std::this_thread::yield();
  EXPECT_THAT(recorder_->packets(), SizeIs(1));
}

TEST_F(EncoderControllerTest, AStartAfterABlockedStopWritesOnlyWhenTheOldWriteHasEnded) {
  recorder_->HoldNextWrite();
  Write(0);
  controller_->Start();
  recorder_->WaitUntilHeld();
  controller_->Stop(0);
  Write(1);
  controller_->Start();
  // Stopping and starting once more while all wait for the same writer.
  controller_->Stop(1);
  controller_->Start();
  EXPECT_THAT(WrittenSequences(), ElementsAre(0));
  recorder_->Release();
  recorder_->WaitForPackets(2);
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 1));
  controller_->Stop(kLongWaitMs);
}

TEST_F(EncoderControllerTest, AThreadThatCannotBeStartedIsAnErrorAndLeavesItStopped) {
  Write(0);
  {
    const core::NoMoreThreads none;
    controller_->Start();
    controller_->Start();
  }
  EXPECT_FALSE(controller_->IsStarted());
  main_loop_.RunPosted();
  ASSERT_THAT(client_->errors, SizeIs(2));
  EXPECT_EQ(client_->errors[0].error, video::VideoEncoderError::kOpenFailed);
  EXPECT_THAT(client_->errors[0].text, ::testing::HasSubstr("thread cannot be started"));
  controller_->RequestKeyFrame();
  controller_->Stop(kLongWaitMs);
  controller_->Start();
  EXPECT_TRUE(controller_->IsStarted());
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(WrittenSequences(), ElementsAre(0));
}

TEST_F(EncoderControllerTest, AFailedStartAfterABlockedStopStillWaitsForTheOldWriteLater) {
  recorder_->HoldNextWrite();
  Write(0);
  controller_->Start();
  recorder_->WaitUntilHeld();
  controller_->Stop(0);
  {
    const core::NoMoreThreads none;
    controller_->Start();
  }
  Write(1);
  controller_->Start();
  recorder_->Release();
  recorder_->WaitForPackets(2);
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 1));
  EXPECT_EQ(recorder_->most_inside(), 1);
}

TEST_F(EncoderControllerTest, AStoppedControllerStartsAgainWithAKeyFrame) {
  Write(0);
  controller_->Start();
  controller_->Stop(kLongWaitMs);
  EXPECT_EQ(controller_->GetProperty(), video::EncoderProperty());
  Write(1);
  controller_->Start();
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 1));
  EXPECT_TRUE(recorder_->packets()[1].frame.key_frame);
  EXPECT_EQ(controller_->GetStats().record.frames_encoded, 2U);
  EXPECT_EQ(controller_->GetStats().record.key_frames, 2U);
}

TEST_F(EncoderControllerTest, EventsOfAStoppedStartAreDropped) {
  script_->open_fails = true;
  Write(0);
  controller_->Start();
  controller_->Stop(kLongWaitMs);
  controller_->Start();
  main_loop_.RunPosted();
  EXPECT_THAT(client_->errors, IsEmpty());
}

TEST_F(EncoderControllerTest, StartingTwiceAndStoppingTwiceChangeNothing) {
  controller_->Stop(kLongWaitMs);
  controller_->Start();
  controller_->Start();
  Write(0);
  controller_->Stop(kLongWaitMs);
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(WrittenSequences(), ElementsAre(0));
}

TEST_F(EncoderControllerTest, AStopWithTheLongestWaitIsAStop) {
  Write(0);
  controller_->Start();
  controller_->Stop(std::numeric_limits<std::uint64_t>::max());
  EXPECT_THAT(WrittenSequences(), ElementsAre(0));
}

TEST_F(EncoderControllerTest, AReleasedControllerLeavesItsInputTrackUsable) {
  controller_->Start();
  Write(0);
  recorder_->WaitForPackets(1);
  controller_.reset();
  Write(1);
  EXPECT_THAT(WrittenSequences(), ElementsAre(0));
}

TEST_F(EncoderControllerTest, AClientThatThrowsIsToldOnceAndTheNextStartReachesItAgain) {
  struct ThrowingClient final : RecordingClient {
    void OnEncoderPropertyChanged(VideoStreamType type, const video::EncoderProperty& from,
                                  const video::EncoderProperty& to) override {
      RecordingClient::OnEncoderPropertyChanged(type, from, to);
      throw std::runtime_error("broken");
    }
  };
  const auto client = std::make_shared<ThrowingClient>();
  controller_ = std::make_shared<EncoderController>(video::VideoContext(trace_, "[main]"),
                                                    VideoStreamType::kSmall, client,
                                                    ScriptedRegistry(script_));
  controller_->SetInputTrackReader(track_->GetReader());
  controller_->SetOutputTrackWriter(recorder_);
  movra_logging::RecordingSink log;
  controller_->Start();
  Write(0);
  Write(1, {32, 32});  // Another property.
  recorder_->WaitForPackets(2);
  main_loop_.RunPosted();
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(client->changes, SizeIs(1));
  EXPECT_THAT(log.texts(), Contains("The client of an encoder threw: broken").Times(1));
  controller_->Start();
  Write(2);
  recorder_->WaitForPackets(3);
  main_loop_.RunPosted();
  EXPECT_THAT(client->changes, SizeIs(2));
  controller_->Stop(kLongWaitMs);
}

TEST_F(EncoderControllerTest, EachOperationOffTheMainQueueIsTold) {
  using Controller = EncoderController;
  const std::vector<NamedOperation<Controller>> operations = {
      {"Start", [](Controller& c) { c.Start(); }},
      {"Stop", [](Controller& c) { c.Stop(kLongWaitMs); }},
      {"RequestKeyFrame", [](Controller& c) { c.RequestKeyFrame(); }},
      {"IsStarted", [](Controller& c) { static_cast<void>(c.IsStarted()); }},
      {"GetStats", [](Controller& c) { static_cast<void>(c.GetStats()); }},
      {"GetProperty", [](Controller& c) { static_cast<void>(c.GetProperty()); }},
      {"SetEncodeParams", [](Controller& c) { c.SetEncodeParams({}); }},
      {"SetInputTrackReader", [](Controller& c) { c.SetInputTrackReader({}); }},
      {"SetOutputTrackWriter", [](Controller& c) { c.SetOutputTrackWriter({}); }},
      {"SetRpsNearestRefSize", [](Controller& c) { c.SetRpsNearestRefSize(1); }},
      {"DeliverRpsAck", [](Controller& c) { c.DeliverRpsAck(1, 1); }},
      {"SetRoiConfig", [](Controller& c) { c.SetRoiConfig({}); }},
  };
  const auto make = [this] { return MakeController(); };
  ExpectToldOffTheMainQueue(operations, make, "an encoder controller");
}

TEST_F(EncoderControllerTest, ReleasedOnAnotherThreadIsToldNothing) {
  const movra_logging::RecordingSink log;
  controller_->Start();
  std::thread([this] { controller_.reset(); }).join();
  EXPECT_THAT(log.lines(), IsEmpty());
}

}  // namespace
}  // namespace movra::media
