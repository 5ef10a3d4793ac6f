// The local preview: its renderer, its track, and its tap on the preprocessor.

#include <memory>
#include <string>

#include "video/producer/preview_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::MakeView;
using ::testing::Not;

constexpr char kQueueCheck[] = "main_queue.IsCurrent()";

class StartPreview : public PreviewTest {};
class ChangePreview : public PreviewTest {};
class StopPreview : public PreviewTest {};
class UnownedPreview : public PreviewTest {};

TEST_F(StartPreview, MakesTrackAndRendererSetsThemUpAndTapsThePreprocessor) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderView(MakeView("view")); }),
              ElementsAre(kQueueCheck, CreateTrack(), CreateRenderer(), "[call][main].GetReader()",
                          "renderer.SetInputTrack([call][main].reader)", "renderer.SetView(view)",
                          "renderer.Start()",  //
                          "MakeService<ICameraService>()", "camera_service.Init()",
                          "camera_service.GetSelf()", "camera_service.IsAutoFocusEnabled()",
                          "renderer.EnableManualFocus(true)",  //
                          "[call][main].GetWriter()", RemoveTap(), AddTap("kPreview")));
  EXPECT_THAT(OriginsOfLogLines(), IsEmpty());
}

TEST_F(StartPreview, AppliesTheRememberedSettingsBeforeTheStart) {
  const auto producer = MakeProducer();
  producer->SetFillMode(FillMode::kFit);
  producer->SetRenderBackgroundColor(0x00FF00);
  EXPECT_THAT(
      EntriesOf([&] { producer->SetRenderView(MakeView("view")); }),
      ElementsAre(CreateTrack(), CreateRenderer(), "renderer.SetInputTrack([call][main].reader)",
                  "renderer.SetView(view)", "renderer.SetFillMode(kFit)",
                  "renderer.SetBackgroundColor(65280)", "renderer.Start()",
                  "MakeService<ICameraService>()", "camera_service.Init()",
                  "camera_service.GetSelf()", "camera_service.IsAutoFocusEnabled()",
                  "renderer.EnableManualFocus(true)", RemoveTap(), AddTap("kPreview")));
}

TEST_F(StartPreview, AppliesAFillModeWithoutAColourAndAColourWithoutAFillMode) {
  const auto filled = MakeProducer();
  filled->SetFillMode(FillMode::kFill);
  filled->SetRenderView(MakeView("view"));
  EXPECT_EQ(world().renderers.Last().fill_mode(), FillMode::kFill);
  EXPECT_FALSE(world().renderers.Last().background_color().has_value());
  const auto coloured = MakeProducer();
  coloured->SetRenderBackgroundColor(0);
  coloured->SetRenderView(MakeView("view"));
  EXPECT_FALSE(world().renderers.Last().fill_mode().has_value());
  EXPECT_EQ(world().renderers.Last().background_color(), 0u);
}

TEST_F(StartPreview, DoesNotRepeatWhatLivesInThePreprocessor) {
  const auto producer = MakeProducer();
  producer->SetRenderMirror(MirrorMode::kEnabled);
  producer->SetRenderRotation(VideoRotation::k90);
  producer->SetGSensorMode(GSensorMode::kRotateToDevice);
  producer->SetOutputFrameAdaptiveMode(FrameAdaptiveMode::kFit, true);
  env().LoseCameraService();
  EXPECT_THAT(
      EntriesOf([&] { producer->SetRenderView(MakeView("view")); }),
      ElementsAre(CreateTrack(), CreateRenderer(), "renderer.SetInputTrack([call][main].reader)",
                  "renderer.SetView(view)", "renderer.Start()", "MakeService<ICameraService>()",
                  RemoveTap(), AddTap("kPreview")));
}

TEST_F(StartPreview, DisablesManualFocusWhereTheCameraFocusesByItself) {
  world().answers.is_auto_focus_enabled = true;
  const auto producer = MakePreviewingProducer();
  EXPECT_EQ(world().renderers.Last().manual_focus(), false);
}

TEST_F(StartPreview, WithoutACameraServiceGoesOnWithoutManualFocus) {
  env().LoseCameraService();
  const auto producer = MakeProducer();
  EXPECT_THAT(
      EntriesOf([&] { producer->SetRenderView(MakeView("view")); }),
      ElementsAre(CreateTrack(), CreateRenderer(), "renderer.SetInputTrack([call][main].reader)",
                  "renderer.SetView(view)", "renderer.Start()", "MakeService<ICameraService>()",
                  RemoveTap(), AddTap("kPreview")));
  EXPECT_TRUE(world().renderers.Last().is_started());
}

TEST_F(StartPreview, DoesNotKeepTheCameraService) {
  env().MakeCameraService();
  const auto producer = MakePreviewingProducer();
  EXPECT_THAT(EntriesOf([&] { env().LoseCameraService(); }), ElementsAre("~camera_service"));
}

TEST_F(StartPreview, WithAWatermarkInThePreviewTapsBehindTheWatermark) {
  const auto producer = MakeProducer();
  producer->SetWatermark(nullptr, 0, 0, 0, true);
  EXPECT_EQ(EntriesOf([&] { producer->SetRenderView(MakeView("view")); }).back(),
            AddTap("kPreviewWithWatermark"));
}

TEST_F(StartPreview, NamesTheTrackAfterTheContextOfTheProducer) {
  const auto producer = MakeProducer(VideoStreamType::kSmall);
  producer->SetRenderView(MakeView("view"));
  EXPECT_EQ(world().tracks.Last().track_name(), "[call][sub]");
  EXPECT_EQ(world().tracks.Last().capacity(), 1);
  EXPECT_EQ(world().renderers.Last().context().log_tag(), "[call][sub]");
}

TEST_F(StartPreview, OfASmallStreamsProducerTapsAsThatOfEveryOther) {
  const auto producer = MakeProducer(VideoStreamType::kSmall);
  EXPECT_EQ(EntriesOf([&] { producer->SetRenderView(MakeView("view")); }).back(),
            AddTap("kPreview", "[call][sub]"));
}

TEST_F(StartPreview, GivesTheRendererTheQueueOfThePreprocessor) {
  world().answers.is_metal_available = true;
  const auto producer = MakePreviewingProducer();
  EXPECT_EQ(world().renderers.Last().queue(), preprocessor().queue());
  EXPECT_NE(world().renderers.Last().queue(), nullptr);
}

TEST_F(StartPreview, GivesTheRendererTheProducerWeakly) {
  auto producer = MakePreviewingProducer();
  const auto renderer = world().renderers.Find(0);
  EXPECT_EQ(renderer->client().get(),
            static_cast<IVideoRendererController::Client*>(producer.get()));
  EXPECT_EQ(producer.use_count(), 1);
  producer.reset();
  EXPECT_EQ(renderer->client(), nullptr);
}

TEST_F(StartPreview, LeavesTheViewToTheRenderer) {
  const auto producer = MakeProducer();
  const auto view = MakeView("view");
  producer->SetRenderView(view);
  EXPECT_EQ(view.use_count(), 2);
  EXPECT_EQ(world().renderers.Last().view(), view);
  producer->SetRenderView(nullptr);
  EXPECT_EQ(view.use_count(), 1);
}

TEST_F(StartPreview, GivesThePreprocessorTheWriterWeakly) {
  auto producer = MakePreviewingProducer();
  const auto kept = world().preprocessors.Find(0);
  EXPECT_EQ(kept->output_tracks().size(), 1u);
  EXPECT_THAT(EntriesOf([&] { producer.reset(); }), Contains("~[call][main]"));
  EXPECT_THAT(kept->output_tracks(), IsEmpty());
}

TEST_F(StartPreview, WithoutARendererMakesOnlyTheTrackAndTriesAgainNextTime) {
  world().answers.makes_renderer = false;
  const auto producer = MakeProducer();
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderView(MakeView("view")); }),
              ElementsAre(CreateTrack(), CreateRenderer()));
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderView(MakeView("view")); }),
              ElementsAre(CreateRenderer()));
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderView(nullptr); }),
              ElementsAre(RemoveTap(), "[call][main].Reset()"));
  world().answers.makes_renderer = true;
  EXPECT_EQ(EntriesOf([&] { producer->SetRenderView(MakeView("view")); }).back(),
            AddTap("kPreview"));
}

TEST_F(StartPreview, WithoutATrackStartsTheRendererAndTapsNothing) {
  world().answers.makes_track = false;
  env().LoseCameraService();
  const auto producer = MakeProducer();
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderView(MakeView("view")); }),
              ElementsAre(CreateTrack(), CreateRenderer(), "renderer.SetView(view)",
                          "renderer.Start()", "MakeService<ICameraService>()"));
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderView(nullptr); }),
              ElementsAre("renderer.SetView(null)", "renderer.SetInputTrack(null)",
                          "renderer.Stop(false)", "~renderer"));
}

TEST_F(StartPreview, IsIndependentOfTheCapture) {
  const auto producer = MakePreviewingProducer();
  EXPECT_FALSE(producer->IsCapturing());
  EXPECT_THAT(EntriesOf([&] { producer->StartCapture(DesktopScreenParams()); }),
              Not(Contains("renderer.Start()")));
  producer->StopCapture({});
  EXPECT_TRUE(world().renderers.Last().is_started());
}

// While it runs.

TEST_F(ChangePreview, RetargetsTheRendererAndTapsAgain) {
  const auto producer = MakePreviewingProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderView(MakeView("other")); }),
              ElementsAre(kQueueCheck, "renderer.SetView(other)", "[call][main].GetWriter()",
                          RemoveTap(), AddTap("kPreview")));
  EXPECT_EQ(world().renderers.count(), 1u);
  EXPECT_TRUE(world().renderers.Last().is_started());
  EXPECT_EQ(preprocessor().CountRegistrations(world().Track(kTrack).writer()), 1u);
}

TEST_F(ChangePreview, ReleasesTheOldView) {
  const auto producer = MakeProducer();
  const auto view = MakeView("view");
  const auto other = MakeView("other");
  producer->SetRenderView(view);
  producer->SetRenderView(other);
  EXPECT_EQ(view.use_count(), 1);
  EXPECT_EQ(other.use_count(), 2);
}

TEST_F(ChangePreview, TapsBehindTheWatermarkOnceThatIsShown) {
  const auto producer = MakePreviewingProducer();
  producer->SetWatermark(nullptr, 0, 0, 0, true);
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderView(MakeView("other")); }),
              ElementsAre("renderer.SetView(other)", RemoveTap(), AddTap("kPreviewWithWatermark")));
  EXPECT_EQ(preprocessor().output_tracks().size(), 1u);
}

// The stop.

TEST_F(StopPreview, DetachesTheTrackAndReleasesTheRenderer) {
  const auto producer = MakePreviewingProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderView(nullptr); }),
              ElementsAre(kQueueCheck, "[call][main].GetWriter()", RemoveTap(),
                          "[call][main].Reset()", "renderer.SetView(null)",
                          "renderer.SetInputTrack(null)", "renderer.Stop(false)", "~renderer"));
  EXPECT_TRUE(world().tracks.IsAlive(0));
  EXPECT_THAT(preprocessor().output_tracks(), IsEmpty());
  EXPECT_THAT(OriginsOfLogLines(), IsEmpty());
}

TEST_F(StopPreview, BeforeAnyViewDoesNothing) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderView(nullptr); }), ElementsAre(kQueueCheck));
}

TEST_F(StopPreview, WhileStoppedDetachesTheTrackAgain) {
  const auto producer = MakePreviewingProducer();
  producer->SetRenderView(nullptr);
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderView(nullptr); }),
              ElementsAre(RemoveTap(), "[call][main].Reset()"));
}

TEST_F(StopPreview, LeavesARendererThatSomebodyHoldsAlive) {
  const auto producer = MakePreviewingProducer();
  auto held = world().renderers.Find(0);
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderView(nullptr); }), Not(Contains("~renderer")));
  EXPECT_THAT(EntriesOf([&] { held.reset(); }), ElementsAre("~renderer"));
}

TEST_F(StopPreview, IsFollowedByAStartOfANewRendererOnTheSameTrack) {
  const auto producer = MakePreviewingProducer();
  producer->SetFillMode(FillMode::kStretch);
  producer->SetRenderBackgroundColor(0xFFFFFFFF);
  producer->SetWatermark(nullptr, 0, 0, 0, true);
  producer->SetRenderView(nullptr);
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderView(MakeView("other")); }),
              ElementsAre(CreateRenderer(), "renderer#2.SetInputTrack([call][main].reader)",
                          "renderer#2.SetView(other)", "renderer#2.SetFillMode(kStretch)",
                          "renderer#2.SetBackgroundColor(4294967295)", "renderer#2.Start()",
                          "camera_service.GetSelf()", "camera_service.IsAutoFocusEnabled()",
                          "renderer#2.EnableManualFocus(true)", RemoveTap(),
                          AddTap("kPreviewWithWatermark")));
  EXPECT_EQ(world().tracks.count(), 1u);
}

TEST_F(StopPreview, LeavesCustomRenderingAlone) {
  const auto producer = MakePreviewingProducer();
  EnableCustomRendering(*producer);
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderView(nullptr); }),
              ElementsAre(RemoveTap(), "[call][main].Reset()", "renderer.SetView(null)",
                          "renderer.SetInputTrack(null)", "renderer.Stop(false)", "~renderer"));
  EXPECT_TRUE(world().renderers.At(1).is_started());
  EXPECT_EQ(preprocessor().CountRegistrations(world().Track(kTrack).writer()), 1u);
}

TEST_F(StopPreview, AfterUninitializeOfAProducerThatNeverPreviewedDoesNothing) {
  const auto producer = MakeProducer();
  producer->Uninitialize();
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderView(nullptr); }), IsEmpty());
}

// A producer that nobody owns.

TEST_F(UnownedPreview, FailsAfterItsTrackIsMadeAndBeforeItsRenderer) {
  VideoProducer2Impl producer(Context(), client(), VideoStreamType::kBig);
  const auto start = [&] {
    EXPECT_THROW(producer.SetRenderView(MakeView("view")), std::bad_weak_ptr);
  };
  EXPECT_THAT(EntriesOf(start), ElementsAre(CreateTrack()));
  EXPECT_THAT(EntriesOf(start), IsEmpty());
  EXPECT_EQ(world().renderers.count(), 0u);
}

TEST_F(UnownedPreview, StopsWithoutAnOwner) {
  const auto producer =
      std::make_unique<VideoProducer2Impl>(Context(), client(), VideoStreamType::kBig);
  EXPECT_THROW(producer->SetRenderView(MakeView("view")), std::bad_weak_ptr);
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderView(nullptr); }),
              ElementsAre(RemoveTap(), "[call][main].Reset()"));
}

}  // namespace
}  // namespace movra::video
