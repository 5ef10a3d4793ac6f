// The producer as an object: what it makes, starts, stops and releases, and in which order.

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>

#include "core/thread_manager.h"
#include "logging/log_sink.h"
#include "video/producer/capture_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Values;

constexpr char kQueueCheck[] = "main_queue.IsCurrent()";

class Construction : public CaptureTest {};
class Initialize : public CaptureTest {};
class Uninitialize : public CaptureTest {
 protected:
  // A producer with both previews and both encoders; the camera is left to the test.
  [[nodiscard]] std::shared_ptr<VideoProducer2Impl> MakeBusyProducer() {
    auto producer = MakeProducer();
    producer->RequestKeyFrame(VideoStreamType::kSmall);
    producer->RequestKeyFrame(VideoStreamType::kBig);
    producer->EnableCustomRendering(true, PixelFormat::kI420, BufferType::kMemory, writer_);
    producer->SetRenderView(testing::MakeView("view"));
    return producer;
  }

 private:
  std::shared_ptr<testing::FrameWriterDouble> writer_ =
      env().Make<testing::FrameWriterDouble>("writer");
};
class Destruction : public Uninitialize {};
class SetClient : public CaptureTest {};

TEST_F(Construction, MakesThePreprocessorAndTheScreenCapturerAndNothingElse) {
  journal().Clear();
  journal().LeaveOut(0);
  const auto producer = MakeProducer();
  EXPECT_THAT(journal().Take(),
              ElementsAre("IsMetalAvailable()", "ThreadManager.GetTaskQueue(304, 0, absent)",
                          "IVideoPreprocessor2.Create({7 [call][main]}, queue304)",
                          "IScreenSharing.Create({7 [call][main]})"));
  EXPECT_EQ(CountDeviceObservers() + CountFocusObservers(), 0u);
}

// Collaborators are built against the layout of the object.
TEST_F(Construction, LaysTheBasesOutInTheirOrder) {
  const auto producer = MakeProducer();
  const auto offset_of = [&](const auto* base) {
    return reinterpret_cast<std::uintptr_t>(base) -
           reinterpret_cast<std::uintptr_t>(producer.get());
  };
  const std::uintptr_t offsets[] = {
      offset_of(static_cast<IVideoProducer2*>(producer.get())),
      offset_of(static_cast<IVideoRendererController::Client*>(producer.get())),
      offset_of(static_cast<IVideoEncoderController::Client*>(producer.get())),
      offset_of(static_cast<IScreenSharing::Client*>(producer.get())),
      offset_of(static_cast<std::enable_shared_from_this<VideoProducer2Impl>*>(producer.get())),
      offset_of(static_cast<VideoLoggable*>(producer.get()))};
  EXPECT_EQ(offsets[0], 0u);
  EXPECT_TRUE(std::is_sorted(std::begin(offsets), std::end(offsets)));
}

TEST_F(Construction, LeavesCaptureStoppedWithoutASource) {
  const auto producer = MakeProducer();
  EXPECT_FALSE(producer->IsCapturing());
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kNone);
}

TEST_F(Construction, GoesOnWhenItsFactoriesReturnNothing) {
  world().answers.makes_preprocessor = false;
  world().answers.makes_screen_sharing = false;
  const auto producer = MakeProducer();
  EXPECT_THAT(journal().Take(),
              ElementsAre("IsMetalAvailable()", "ThreadManager.GetTaskQueue(304, 0, absent)",
                          "IVideoPreprocessor2.Create({7 [call][main]}, queue304)",
                          "IScreenSharing.Create({7 [call][main]})"));
}

TEST_F(Construction, HoldsTheClientWeakly) {
  const auto producer = MakeProducer();
  EXPECT_THAT(EntriesOf([&] { ReleaseClient(); }), ElementsAre("~client"));
}

TEST_F(Construction, TagsItsOwnCopyOfTheContext) {
  const VideoContext context(InstanceTrace(8), "[room]");
  const auto producer =
      std::make_shared<VideoProducer2Impl>(context, client(), VideoStreamType::kBig);
  EXPECT_EQ(context.log_tag(), "[room]");
  EXPECT_EQ(producer->GetLogTag(), "[room][main]");
  EXPECT_EQ(producer->GetTraceId(), InstanceTrace(8));
}

TEST_F(Construction, TagsTheContextsOfLaterCollaborators) {
  const auto producer = MakeProducer(VideoStreamType::kSmall);
  producer->RequestKeyFrame(VideoStreamType::kBig);
  EXPECT_EQ(world().preprocessors.Last().context().log_tag(), "[call][sub]");
  EXPECT_EQ(world().screen_sharings.Last().context().log_tag(), "[call][sub]");
  EXPECT_EQ(world().big_encoders.Last().context().log_tag(), "[call][sub]");
}

class SubStream : public Construction, public ::testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(EveryTypeButNought, SubStream, Values(1, 2, -1, 0x7FFFFFFF));

TEST_P(SubStream, LogsWithTheTagOfASubStream) {
  const auto producer = MakeProducer(static_cast<VideoStreamType>(GetParam()));
  EXPECT_THAT(EntriesOf([&] { producer->Initialize(); }),
              ElementsAre(Info("Initialize", "[sub]"), "preprocessor.StartProcessing()"));
}

TEST_F(Construction, WithoutMetalSharesOneQueueAmongProducers) {
  const auto first = MakeProducer();
  const auto second = MakeProducer(VideoStreamType::kSmall);
  ASSERT_EQ(world().queue_requests.size(), 2u);
  for (const auto& request : world().queue_requests) {
    EXPECT_EQ(request.business, static_cast<core::BusinessID>(304));
    EXPECT_EQ(request.key, 0u);
    EXPECT_FALSE(request.has_option);
  }
  EXPECT_NE(world().preprocessors.At(0).queue(), nullptr);
  EXPECT_EQ(world().preprocessors.At(0).queue(), world().preprocessors.At(1).queue());
}

TEST_F(Construction, WithMetalGivesEachProducerAQueueOfItsOwn) {
  world().answers.is_metal_available = true;
  const auto first = MakeProducer();
  const auto second = MakeProducer();
  ASSERT_EQ(world().queue_requests.size(), 2u);
  const VideoProducer2Impl* const producers[] = {first.get(), second.get()};
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(world().queue_requests[i].business, static_cast<core::BusinessID>(303));
    EXPECT_EQ(world().queue_requests[i].key, reinterpret_cast<unsigned long>(producers[i]));
    EXPECT_FALSE(world().queue_requests[i].has_option);
  }
  EXPECT_NE(world().preprocessors.At(0).queue(), world().preprocessors.At(1).queue());
}

TEST_F(Initialize, LogsAndStartsThePreprocessor) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->Initialize(); }),
              ElementsAre(kQueueCheck, Info("Initialize"), "preprocessor.StartProcessing()"));
  EXPECT_THAT(OriginsOfLogLines(), ElementsAre(OriginIn("Initialize")));
}

TEST_F(Initialize, CalledAgainStartsThePreprocessorAgain) {
  const auto producer = MakeProducer();
  producer->Initialize();
  EXPECT_THAT(EntriesOf([&] { producer->Initialize(); }),
              ElementsAre(Info("Initialize"), "preprocessor.StartProcessing()"));
}

TEST_F(Initialize, StartsThePreprocessorWithItsLogLineSwitchedOff) {
  const auto producer = MakeProducer();
  movra_logging::SetMinLogLevel(1);
  EXPECT_THAT(EntriesOf([&] { producer->Initialize(); }),
              ElementsAre("preprocessor.StartProcessing()"));
}

TEST_F(Uninitialize, WhileStoppedReleasesTheCollaboratorsAndStopsNoCapture) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->Uninitialize(); }),
              ElementsAre(kQueueCheck, Info("Uninitialize"), "~screen_sharing",
                          "preprocessor.StopProcessing()", "~preprocessor"));
  EXPECT_THAT(OriginsOfLogLines(), ElementsAre(OriginIn("Uninitialize")));
}

TEST_F(Uninitialize, TakesEverythingDownInOrder) {
  const auto producer = MakeBusyProducer();
  producer->StartCapture(Camera(), {});
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] { producer->Uninitialize(); }),
      ElementsAre(kQueueCheck, Info("Uninitialize"),  //
                  kQueueCheck, "camera_service.GetSelf()", "CameraOutputTrack.GetWriter()",
                  "camera_service.StopCapture({cam-1 0x0}, CameraOutputTrack.writer, null)",
                  kQueueCheck, kUnsubscribeDeviceState, kUnsubscribeAutoFocus,  //
                  kQueueCheck, "CameraOutputTrack.GetWriter()",
                  "screen_sharing.RemoveOutputWriter(CameraOutputTrack.writer)",
                  "screen_sharing.Stop()", "~screen_sharing",        //
                  "preprocessor.StopProcessing()", "~preprocessor",  //
                  "big_encoder.Stop(0)", "big_encoder_pixel_frame_track.Reset()",
                  "~big_encoder_pixel_frame_track.writer", "~big_encoder_pixel_frame_track.reader",
                  "~big_encoder_pixel_frame_track", "~big_encoder",  //
                  "small_encoder.Stop(0)", "small_encoder_pixel_frame_track.Reset()",
                  "~small_encoder_pixel_frame_track.writer",
                  "~small_encoder_pixel_frame_track.reader", "~small_encoder_pixel_frame_track",
                  "~small_encoder",  //
                  "renderer#2.SetInputTrack(null)", "renderer#2.Stop(false)", "~renderer#2",
                  "renderer.SetInputTrack(null)", "renderer.Stop(false)", "~renderer"));
}

TEST_F(Uninitialize, OfAPausedProducerStopsTheCameraAndTheScreen) {
  const auto producer = MakeCapturingProducer();
  producer->PauseCapture();
  EXPECT_THAT(EntriesOf([&] { producer->Uninitialize(); }),
              ElementsAre(Info("Uninitialize"), "camera_service.GetSelf()",
                          "camera_service.StopCapture({cam-1 0x0}, CameraOutputTrack.writer, null)",
                          "screen_sharing.RemoveOutputWriter(CameraOutputTrack.writer)",
                          "screen_sharing.Stop()", "~screen_sharing",
                          "preprocessor.StopProcessing()", "~preprocessor"));
  EXPECT_EQ(CountDeviceObservers() + CountFocusObservers(), 0u);
}

TEST_F(Uninitialize, OfAScreenCaptureStopsTheScreenAndTellsTheCameraNothing) {
  const auto producer = MakeProducer();
  producer->StartCapture(Desktop());
  env().MakeCameraService();
  EXPECT_THAT(EntriesOf([&] { producer->Uninitialize(); }),
              ElementsAre(Info("Uninitialize"), "camera_service.GetSelf()",
                          "screen_sharing.RemoveOutputWriter(ScreenOutputTrack.writer)",
                          "screen_sharing.Stop()", "~screen_sharing",
                          "preprocessor.StopProcessing()", "~preprocessor"));
}

TEST_F(Uninitialize, LeavesAVirtualCameraToTheService) {
  const auto producer = MakeCapturingProducer(Camera("virtual:1"));
  producer->Uninitialize();
  EXPECT_EQ(camera_service().captures().size(), 1u);
}

TEST_F(Uninitialize, WithoutACameraServiceDoesTheRest) {
  const auto producer = MakeCapturingProducer();
  env().LoseCameraService();
  EXPECT_THAT(EntriesOf([&] { producer->Uninitialize(); }),
              ElementsAre(Info("Uninitialize"), "MakeService<ICameraService>()",
                          "screen_sharing.RemoveOutputWriter(CameraOutputTrack.writer)",
                          "screen_sharing.Stop()", "~screen_sharing",
                          "preprocessor.StopProcessing()", "~preprocessor"));
  EXPECT_EQ(CountDeviceObservers() + CountFocusObservers(), 0u);
}

TEST_F(Uninitialize, WithoutAScreenCapturerDoesTheRest) {
  world().answers.makes_screen_sharing = false;
  const auto producer = MakeCapturingProducer();
  EXPECT_THAT(EntriesOf([&] { producer->Uninitialize(); }),
              ElementsAre(Info("Uninitialize"), "camera_service.GetSelf()",
                          "camera_service.StopCapture({cam-1 0x0}, CameraOutputTrack.writer, null)",
                          "preprocessor.StopProcessing()", "~preprocessor"));
}

TEST_F(Uninitialize, KeepsTheStateTheTracksAndTheQueue) {
  const auto producer = MakeBusyProducer();
  producer->StartCapture(Camera(), {});
  const auto count_reset = [&](const std::string& track) {
    return journal().Count(std::string_view(track + ".Reset()"));
  };
  journal().Clear();
  producer->Uninitialize();
  EXPECT_EQ(count_reset("CameraOutputTrack"), 0u);
  EXPECT_EQ(count_reset("[call][main]"), 0u);
  EXPECT_EQ(count_reset("[call][main]#2"), 0u);
  EXPECT_TRUE(producer->IsCapturing());
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kCamera);
  EXPECT_FALSE(world().queue_requests.front().queue.expired());
  EXPECT_EQ(world().tracks.CountAlive(), 3u);
}

TEST_F(Uninitialize, OfAnUnownedProducerThatCapturesFailsAtTheSubscriptions) {
  {
    VideoProducer2Impl producer(Context(), client(), VideoStreamType::kBig);
    producer.ResumeCapture();
    journal().LeaveOut(0);
    EXPECT_THAT(
        EntriesOf([&] { EXPECT_THROW(producer.Uninitialize(), std::bad_weak_ptr); }),
        ElementsAre(kQueueCheck, Info("Uninitialize"), kQueueCheck, "MakeService<ICameraService>()",
                    "camera_service.Init()", "camera_service.GetSelf()", kQueueCheck));
    journal().Clear();
  }
  EXPECT_THAT(journal().Take(), ElementsAre("~queue304", "~preprocessor", "~screen_sharing"));
}

TEST_F(Uninitialize, OfAnUnownedStoppedProducerNeedsNoOwner) {
  VideoProducer2Impl producer(Context(), client(), VideoStreamType::kBig);
  EXPECT_NO_THROW(producer.Initialize());
  EXPECT_NO_THROW(producer.Uninitialize());
}

TEST_F(Destruction, ReleasesTheMembersLastFirstAndStopsNothing) {
  auto producer = MakeBusyProducer();
  producer->StartCapture(Camera(), {});
  journal().LeaveOut(0);
  // The renderers hold their tracks' readers, the camera service its track's writer, and the
  // preprocessor is the last to hold the queue.
  EXPECT_THAT(
      EntriesOf([&] { producer.reset(); }),
      ElementsAre("~[call][main].writer", "~[call][main]", "~[call][main]#2.writer",
                  "~[call][main]#2", "~[call][main].reader", "~renderer", "~[call][main]#2.reader",
                  "~renderer#2", "~small_encoder", "~big_encoder",
                  "~small_encoder_pixel_frame_track.writer",
                  "~small_encoder_pixel_frame_track.reader", "~small_encoder_pixel_frame_track",
                  "~big_encoder_pixel_frame_track.writer", "~big_encoder_pixel_frame_track.reader",
                  "~big_encoder_pixel_frame_track", "~queue304", "~preprocessor",
                  "~CameraOutputTrack.reader", "~CameraOutputTrack", "~screen_sharing"));
}

TEST_F(Destruction, AfterUninitializeReleasesWhatThatKept) {
  auto producer = MakeBusyProducer();
  producer->StartCapture(Camera(), {});
  producer->Uninitialize();
  EXPECT_THAT(EntriesOf([&] { producer.reset(); }),
              ElementsAre("~[call][main]", "~[call][main]#2", "~CameraOutputTrack"));
}

TEST_F(Destruction, ReleasesTheCoversOfBothCameras) {
  CameraParams camera = Camera();
  camera.cover_image = MakeMortalImage("cover");
  CameraParams virtual_camera = Camera("virtual:1");
  virtual_camera.cover_image = MakeMortalImage("virtual cover");
  env().LoseCameraService();  // It would keep the parameters of its captures.
  auto producer = MakeCapturingProducer(camera);
  LeaveSourceBehind(*producer);
  producer->StartCapture(virtual_camera, {});
  camera.cover_image.reset();
  virtual_camera.cover_image.reset();
  EXPECT_THAT(EntriesOf([&] { producer.reset(); }),
              ElementsAre("~preprocessor", "~virtual cover", "~CameraOutputTrack",
                          "~screen_sharing", "~cover"));
}

template <class Base>
class DestructionThroughABase : public ProducerTest {};
using Bases = ::testing::Types<IVideoProducer2, IVideoRendererController::Client,
                               IVideoEncoderController::Client, IScreenSharing::Client,
                               VideoLoggable, VideoProducer2Impl>;
TYPED_TEST_SUITE(DestructionThroughABase, Bases);

TYPED_TEST(DestructionThroughABase, DestroysTheWholeProducer) {
  std::unique_ptr<TypeParam> base =
      std::make_unique<VideoProducer2Impl>(this->Context(), this->client(), VideoStreamType::kBig);
  EXPECT_THAT(this->EntriesOf([&] { base.reset(); }),
              ElementsAre("~preprocessor", "~screen_sharing"));
}

TEST_F(SetClient, SendsLaterEventsToTheNewClientAlone) {
  const auto producer = MakeProducer();
  const auto other = env().Make<testing::ClientDouble>("other");
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->SetClient(other); }), IsEmpty());
  EXPECT_THAT(EntriesOf([&] { producer->OnRenderError(VideoRenderError::kViewLost); }),
              ElementsAre(kQueueCheck, "other.OnRenderError(producer, 2)"));
}

TEST_F(SetClient, HoldsTheNewClientWeakly) {
  const auto producer = MakeProducer();
  auto other = env().Make<testing::ClientDouble>("other");
  producer->SetClient(other);
  EXPECT_THAT(EntriesOf([&] { other.reset(); }), ElementsAre("~other"));
}

TEST_F(SetClient, WithNothingLeavesNoClient) {
  const auto producer = MakeProducer();
  producer->SetClient(nullptr);
  EXPECT_THAT(EntriesOf([&] { producer->OnRenderError(VideoRenderError::kViewLost); }), IsEmpty());
  producer->SetClient(client());
  EXPECT_THAT(EntriesOf([&] { producer->OnRenderError(VideoRenderError::kViewLost); }),
              ElementsAre("client.OnRenderError(producer, 2)"));
}

TEST_F(SetClient, WorksAfterUninitializeToo) {
  const auto producer = MakeProducer();
  producer->Uninitialize();
  EXPECT_THAT(EntriesOf([&] { producer->SetClient(nullptr); }), IsEmpty());
}

TEST_F(Construction, GivesAProducerOfTypeNoughtForItsWholeLife) {
  const auto producer = MakeProducer(VideoStreamType::kSmall);
  journal().LeaveOut(0);
  const auto type = [&] { return static_cast<int>(producer->GetProducerType()); };
  EXPECT_THAT(EntriesOf([&] { EXPECT_EQ(type(), 0); }), IsEmpty());
  producer->Initialize();
  EXPECT_EQ(type(), 0);
  producer->Uninitialize();
  EXPECT_EQ(type(), 0);
}

}  // namespace
}  // namespace movra::video
