// Capture from a track that the application feeds.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "video/producer/capture_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CustomCapture : public CaptureTest {
 protected:
  [[nodiscard]] std::shared_ptr<testing::FrameReaderDouble> MakeReader(
      const std::string& name = "reader") {
    return env().Make<testing::FrameReaderDouble>(name);
  }
  // A producer that captures from the application.
  [[nodiscard]] std::shared_ptr<VideoProducer2Impl> MakeCustomProducer() {
    auto producer = MakeProducer();
    producer->EnableCustomCapturing(true);
    return producer;
  }
  static void ExpectState(VideoProducer2Impl& producer, bool is_capturing, VideoSourceType source) {
    EXPECT_EQ(producer.IsCapturing(), is_capturing);
    EXPECT_EQ(producer.GetCurrentSourceType(), source);
  }
};

TEST_F(CustomCapture, TearsEverythingDownAndStartsProcessingWithoutAnInput) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->EnableCustomCapturing(true); }),
              ElementsAre("main_queue.IsCurrent()", Info("Enable custom capture."),
                          "main_queue.IsCurrent()", "main_queue.IsCurrent()",
                          "MakeService<ICameraService>()", "camera_service.Init()",
                          "camera_service.GetSelf()", "main_queue.IsCurrent()",
                          kUnsubscribeDeviceState, kUnsubscribeAutoFocus, "main_queue.IsCurrent()",
                          "screen_sharing.Stop()", "main_queue.IsCurrent()", Info("Already stop."),
                          "preprocessor.StopProcessing()", "preprocessor.StartProcessing()"));
  ExpectState(*producer, true, VideoSourceType::kCustom);
  EXPECT_THAT(OriginsOfLogLines(), ElementsAre(OriginIn("EnableCustomCapturing"),
                                               OriginIn("StopVirtualCameraInternal")));
}

TEST_F(CustomCapture, EnabledTwiceSaysSoAndChangesNothing) {
  const auto producer = MakeCustomProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->EnableCustomCapturing(true); }),
              ElementsAre("main_queue.IsCurrent()", Info("Enable custom capture."),
                          Info("Custom capture already start!")));
  ExpectState(*producer, true, VideoSourceType::kCustom);
  EXPECT_THAT(OriginsOfLogLines(), Contains(OriginIn("EnableCustomCapturing")).Times(3));
}

TEST_F(CustomCapture, EnabledWhilePausedStartsAgain) {
  const auto producer = MakeCustomProducer();
  producer->PauseCapture();
  EXPECT_THAT(EntriesOf([&] { producer->EnableCustomCapturing(true); }),
              ElementsAre(Info("Enable custom capture."), "camera_service.GetSelf()",
                          "screen_sharing.Stop()", "camera_service.GetSelf()",
                          "preprocessor.StopProcessing()", "preprocessor.StartProcessing()"));
  ExpectState(*producer, true, VideoSourceType::kCustom);
}

TEST_F(CustomCapture, StopsACameraWithoutACallbackFirst) {
  const auto producer = MakeCapturingProducer();
  EXPECT_THAT(EntriesOf([&] { producer->EnableCustomCapturing(true); }),
              ElementsAre(Info("Enable custom capture."), "camera_service.GetSelf()",
                          "camera_service.StopCapture({cam-1 0x0}, CameraOutputTrack.writer, "
                          "null)",
                          "screen_sharing.RemoveOutputWriter(CameraOutputTrack.writer)",
                          "screen_sharing.Stop()", "camera_service.GetSelf()",
                          "CameraOutputTrack.Reset()", "~CameraOutputTrack",
                          "preprocessor.StopProcessing()", "preprocessor.StartProcessing()"));
  ExpectState(*producer, true, VideoSourceType::kCustom);
  EXPECT_EQ(CountDeviceObservers(), 0u);
  EXPECT_EQ(CountFocusObservers(), 0u);
}

TEST_F(CustomCapture, StopsAScreenFirstAndForgetsIt) {
  const auto producer = MakeProducer();
  producer->StartCapture(Mobile());
  EXPECT_THAT(EntriesOf([&] { producer->EnableCustomCapturing(true); }),
              ElementsAre(Info("Enable custom capture."), "MakeService<ICameraService>()",
                          "camera_service.Init()", "camera_service.GetSelf()",
                          "screen_sharing.RemoveOutputWriter(ScreenOutputTrack.writer)",
                          "screen_sharing.Stop()", "camera_service.GetSelf()",
                          "ScreenOutputTrack.Reset()", "~ScreenOutputTrack",
                          "preprocessor.StopProcessing()", "preprocessor.StartProcessing()"));
  producer->EnableCustomCapturing(false);
  EXPECT_THAT(EntriesOf([&] { producer->StartCapture(Desktop()); }),
              Contains("screen_sharing.StartDesktopCapture(" + testing::Describe(Desktop()) + ")"));
}

TEST_F(CustomCapture, StopsAVirtualCameraFirst) {
  const auto producer = MakeCapturingProducer(Camera("virtual:1"));
  EXPECT_THAT(EntriesOf([&] { producer->EnableCustomCapturing(true); }),
              Contains("camera_service.StopCapture({virtual:1}, "
                       "VirtualCaptureOutputTrack.writer, null)"));
}

TEST_F(CustomCapture, IsEndedByAStopOfTheCapture) {
  const auto producer = MakeCustomProducer();
  EXPECT_THAT(EntriesOf([&] { producer->StopCapture(env().Callback<void()>("on_stopped")); }),
              ElementsAre(Info("Stop capture with source type:kCustom"), "camera_service.GetSelf()",
                          "screen_sharing.Stop()", "camera_service.GetSelf()",
                          "preprocessor.StopProcessing()", "~on_stopped"));
  ExpectState(*producer, false, VideoSourceType::kNone);
}

TEST_F(CustomCapture, KeepsItsSourceWhilePausedAndWhenResumed) {
  const auto producer = MakeCustomProducer();
  producer->PauseCapture();
  ExpectState(*producer, false, VideoSourceType::kCustom);
  producer->ResumeCapture();
  ExpectState(*producer, true, VideoSourceType::kCustom);
}

// Disabling.

TEST_F(CustomCapture, DisabledStopsProcessingAndNothingElse) {
  const auto producer = MakeCustomProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->EnableCustomCapturing(false); }),
              ElementsAre("main_queue.IsCurrent()", Info("Disable custom capture."),
                          "preprocessor.StopProcessing()"));
  ExpectState(*producer, false, VideoSourceType::kNone);
  EXPECT_EQ(OriginsOfLogLines().back(), OriginIn("EnableCustomCapturing"));
}

TEST_F(CustomCapture, DisabledWhileStoppedStopsProcessingAllTheSame) {
  const auto producer = MakeProducer();
  EXPECT_THAT(EntriesOf([&] { producer->EnableCustomCapturing(false); }),
              ElementsAre(Info("Disable custom capture."), "preprocessor.StopProcessing()"));
  ExpectState(*producer, false, VideoSourceType::kNone);
}

TEST_F(CustomCapture, DisabledWhileACameraRunsLeavesTheCameraRunning) {
  const auto producer = MakeProducer();
  producer->StartCapture(Camera(), env().Callback<void(int, int)>("on_started"));
  EXPECT_THAT(EntriesOf([&] { producer->EnableCustomCapturing(false); }),
              ElementsAre(Info("Disable custom capture."), "preprocessor.StopProcessing()"));
  ExpectState(*producer, false, VideoSourceType::kNone);
  EXPECT_EQ(camera_service().captures().size(), 1u);
  EXPECT_EQ(camera_service().waiting_starts(), 1u);
  EXPECT_EQ(CountDeviceObservers(), 1u);
  // A stop finds nothing to stop.
  EXPECT_THAT(EntriesOf([&] { producer->StopCapture({}); }),
              ElementsAre(Info("Stop capture with source type:kNone"), Info("Already stop.")));
}

TEST_F(CustomCapture, DisabledWhilePausedIsStopped) {
  const auto producer = MakeCustomProducer();
  producer->PauseCapture();
  producer->EnableCustomCapturing(false);
  EXPECT_EQ(EntriesOf([&] { producer->StopCapture({}); }).back(), Info("Already stop."));
}

// The application's input.

TEST_F(CustomCapture, ConnectsAnInputThatIsSetAfterEnabling) {
  const auto producer = MakeCustomProducer();
  const auto reader = MakeReader();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->SetCustomCaptureInputTrack(reader); }),
              ElementsAre("main_queue.IsCurrent()", "preprocessor.SetInputTrackReader(reader)"));
  producer->PauseCapture();
  EXPECT_THAT(EntriesOf([&] { producer->SetCustomCaptureInputTrack(nullptr); }),
              ElementsAre("main_queue.IsCurrent()", "preprocessor.SetInputTrackReader(null)"));
}

TEST_F(CustomCapture, StoresAnInputThatIsSetBeforeEnablingAndDoesNotConnectIt) {
  const auto producer = MakeProducer();
  const auto reader = MakeReader();
  reader->capture_stat = 25;
  EXPECT_THAT(EntriesOf([&] { producer->SetCustomCaptureInputTrack(reader); }), IsEmpty());
  producer->EnableCustomCapturing(true);
  EXPECT_EQ(journal().Count("preprocessor.SetInputTrackReader(reader)"), 0u);
  // Stored it is, because the statistics ask it.
  EXPECT_EQ(producer->GetStats(VideoStreamType::kBig).capture_stat, 25u);
  EXPECT_THAT(EntriesOf([&] { producer->SetCustomCaptureInputTrack(reader); }),
              ElementsAre("preprocessor.SetInputTrackReader(reader)"));
}

TEST_F(CustomCapture, DoesNotConnectAnInputWhileACameraRuns) {
  const auto producer = MakeCapturingProducer();
  EXPECT_THAT(EntriesOf([&] { producer->SetCustomCaptureInputTrack(MakeReader()); }),
              ElementsAre("~reader"));
}

TEST_F(CustomCapture, LeavesTheInputWithTheApplication) {
  const auto producer = MakeCustomProducer();
  auto reader = MakeReader();
  producer->SetCustomCaptureInputTrack(reader);
  EXPECT_THAT(EntriesOf([&] { reader.reset(); }), ElementsAre("~reader"));
  EXPECT_TRUE(world().preprocessors.Last().input().expired());
  EXPECT_EQ(producer->GetStats(VideoStreamType::kBig).capture_stat, 0u);
}

TEST_F(CustomCapture, TakesTheLastInputForTheStatistics) {
  const auto producer = MakeCustomProducer();
  const auto first = MakeReader("first");
  const auto second = MakeReader("second");
  second->capture_stat = 30;
  producer->SetCustomCaptureInputTrack(first);
  producer->SetCustomCaptureInputTrack(second);
  EXPECT_EQ(producer->GetStats(VideoStreamType::kBig).capture_stat, 30u);
}

TEST_F(CustomCapture, HasStoredAnInputBeforeItChecksTheMainQueue) {
  const auto producer = MakeCustomProducer();
  const auto reader = MakeReader();
  reader->capture_stat = 30;
  std::uint32_t seen = 0;
  journal().SetObserver([&](const std::string& entry) {
    if (entry != "main_queue.IsCurrent()") return;
    journal().SetObserver(nullptr);  // The statistics check too.
    seen = producer->GetStats(VideoStreamType::kBig).capture_stat;
  });
  producer->SetCustomCaptureInputTrack(reader);
  EXPECT_EQ(seen, 30u);
}

TEST_F(CustomCapture, IsInItsNewStateBeforeThePreprocessorHearsOfIt) {
  const auto producer = MakeProducer();
  std::vector<std::string> states;
  journal().SetObserver([&](const std::string& entry) {
    if (!entry.starts_with("preprocessor.")) return;
    const std::string capturing = producer->IsCapturing() ? ", capturing from " : ", stopped on ";
    states.push_back(entry + capturing + testing::Describe(producer->GetCurrentSourceType()));
  });
  producer->EnableCustomCapturing(true);
  producer->EnableCustomCapturing(false);
  journal().SetObserver(nullptr);
  EXPECT_THAT(states, ElementsAre("preprocessor.StopProcessing(), stopped on kNone",
                                  "preprocessor.StartProcessing(), capturing from kCustom",
                                  "preprocessor.StopProcessing(), stopped on kNone"));
}

// Queue and owner.

TEST_F(CustomCapture, ChecksTheMainQueueInEachStepAndIgnoresTheAnswer) {
  const auto producer = MakeProducer();
  env().main_queue().set_current(false);
  EXPECT_EQ(QueueChecksOf([&] { producer->EnableCustomCapturing(true); }), 6u);
  EXPECT_EQ(QueueChecksOf([&] { producer->SetCustomCaptureInputTrack(nullptr); }), 1u);
  EXPECT_EQ(QueueChecksOf([&] { producer->EnableCustomCapturing(true); }), 1u);
  EXPECT_EQ(QueueChecksOf([&] { producer->EnableCustomCapturing(false); }), 1u);
  EXPECT_EQ(QueueChecksOf([&] { producer->SetCustomCaptureInputTrack(nullptr); }), 1u);
  ExpectState(*producer, false, VideoSourceType::kNone);
}

TEST_F(CustomCapture, OfAProducerThatNobodyOwnsFailsAtTheEndOfTheCamerasStop) {
  VideoProducer2Impl producer(Context(), client(), VideoStreamType::kBig);
  const auto enable = [&] {
    EXPECT_THROW(producer.EnableCustomCapturing(true), std::bad_weak_ptr);
  };
  EXPECT_THAT(EntriesOf(enable),
              ElementsAre(Info("Enable custom capture."), "MakeService<ICameraService>()",
                          "camera_service.Init()", "camera_service.GetSelf()"));
  EXPECT_EQ(QueueChecksOf(enable), 4u);
  ExpectState(producer, false, VideoSourceType::kNone);
  EXPECT_NO_THROW(producer.EnableCustomCapturing(false));
  EXPECT_NO_THROW(producer.SetCustomCaptureInputTrack(MakeReader()));
}

}  // namespace
}  // namespace movra::video
