// Custom rendering: the renderer that writes preview frames into the application's writer.

#include <memory>
#include <string>
#include <utility>

#include "logging/log_sink.h"
#include "video/producer/preview_test_fixture.h"
#include "video/to_string.h"

namespace movra::video {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Values;

constexpr char kQueueCheck[] = "main_queue.IsCurrent()";

class EnableCustomRender : public PreviewTest {
 protected:
  [[nodiscard]] static std::string Enabled(const std::string& format = "kI420",
                                           const std::string& type = "kMemory") {
    return Info("Enable custom render with format:" + format + ", type:" + type);
  }
  [[nodiscard]] static std::string Disabled() {
    return Info("Disable custom render with format:kNone, type:kMemory");
  }
};
class CustomRenderAgain : public EnableCustomRender {};
class DisableCustomRender : public EnableCustomRender {};
class UnownedCustomRender : public EnableCustomRender {};

TEST_F(EnableCustomRender, MakesTrackAndRendererSetsThemUpAndTapsThePreprocessor) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] {
        producer->EnableCustomRendering(true, PixelFormat::kNV12, BufferType::kTexture, writer());
      }),
      ElementsAre(kQueueCheck, Enabled("kNV12", "kTexture"), CreateTrack(), CreateRenderer(),
                  "renderer.ResetRenderState()",
                  "renderer.SetCustomRenderOutput(kNV12, kTexture, writer)",
                  "[call][main].GetReader()", "renderer.SetInputTrack([call][main].reader)",
                  "renderer.Start()",  //
                  "[call][main].GetWriter()", RemoveTap(), AddTap("kPreview")));
  EXPECT_THAT(OriginsOfLogLines(), ElementsAre(OriginIn("EnableCustomRendering")));
}

TEST_F(EnableCustomRender, AppliesTheFillModeButNoColourNoViewAndNoFocus) {
  const auto producer = MakeProducer();
  producer->SetFillMode(FillMode::kFit);
  producer->SetRenderBackgroundColor(0x00FF00);
  env().MakeCameraService();
  EXPECT_THAT(
      EntriesOf([&] { EnableCustomRendering(*producer); }),
      ElementsAre(Enabled(), CreateTrack(), CreateRenderer(), "renderer.ResetRenderState()",
                  "renderer.SetCustomRenderOutput(kI420, kMemory, writer)",
                  "renderer.SetInputTrack([call][main].reader)", "renderer.SetFillMode(kFit)",
                  "renderer.Start()", RemoveTap(), AddTap("kPreview")));
}

TEST_F(EnableCustomRender, WithItsLogLineSwitchedOffStartsAllTheSame) {
  const auto producer = MakeProducer();
  movra_logging::SetMinLogLevel(1);
  EXPECT_THAT(EntriesOf([&] { EnableCustomRendering(*producer); }),
              ElementsAre(CreateTrack(), CreateRenderer(), "renderer.ResetRenderState()",
                          "renderer.SetCustomRenderOutput(kI420, kMemory, writer)",
                          "renderer.SetInputTrack([call][main].reader)", "renderer.Start()",
                          RemoveTap(), AddTap("kPreview")));
}

TEST_F(EnableCustomRender, PassesANullWriterOn) {
  const auto producer = MakeProducer();
  EXPECT_THAT(EntriesOf([&] {
                producer->EnableCustomRendering(true, PixelFormat::kNone, BufferType::kMemory,
                                                nullptr);
              }),
              Contains("renderer.SetCustomRenderOutput(kNone, kMemory, null)"));
  EXPECT_TRUE(world().renderers.Last().is_started());
}

class CustomRenderOf : public EnableCustomRender,
                       public ::testing::WithParamInterface<std::pair<int, int>> {};
INSTANTIATE_TEST_SUITE_P(EveryFormatAndType, CustomRenderOf,
                         Values(std::pair(-1, 0), std::pair(0, 1), std::pair(3, 0),
                                std::pair(7, -1), std::pair(77, 88)));

TEST_P(CustomRenderOf, GoesToTheRendererAndNotToTheTap) {
  const auto format = static_cast<PixelFormat>(GetParam().first);
  const auto type = static_cast<BufferType>(GetParam().second);
  const auto producer = MakeProducer();
  const auto entries =
      EntriesOf([&] { producer->EnableCustomRendering(true, format, type, writer()); });
  const std::string format_text = PixelFormatToString(format);
  const std::string type_text = BufferTypeToString(type);
  EXPECT_EQ(entries.front(), Enabled(format_text, type_text));
  EXPECT_THAT(entries, Contains("renderer.SetCustomRenderOutput(" + format_text + ", " + type_text +
                                ", writer)"));
  EXPECT_EQ(entries.back(), AddTap("kPreview"));
}

TEST_F(EnableCustomRender, WithAWatermarkInThePreviewTapsBehindTheWatermark) {
  const auto producer = MakeProducer();
  producer->SetWatermark(nullptr, 0, 0, 0, true);
  EXPECT_EQ(EntriesOf([&] { EnableCustomRendering(*producer); }).back(),
            AddTap("kPreviewWithWatermark"));
}

TEST_F(EnableCustomRender, NamesTheTrackAfterTheContextOfTheProducer) {
  const auto producer = MakeProducer(VideoStreamType::kSmall);
  EnableCustomRendering(*producer);
  EXPECT_EQ(world().tracks.Last().track_name(), "[call][sub]");
  EXPECT_EQ(world().tracks.Last().capacity(), 1);
  EXPECT_EQ(world().renderers.Last().context().log_tag(), "[call][sub]");
}

TEST_F(EnableCustomRender, GivesTheRendererTheProducerWeaklyAndItsQueue) {
  auto producer = MakeCustomRenderingProducer();
  const auto renderer = world().renderers.Find(0);
  EXPECT_EQ(renderer->queue(), preprocessor().queue());
  EXPECT_EQ(renderer->client().get(),
            static_cast<IVideoRendererController::Client*>(producer.get()));
  EXPECT_EQ(producer.use_count(), 1);
  producer.reset();
  EXPECT_EQ(renderer->client(), nullptr);
}

TEST_F(EnableCustomRender, LeavesTheWriterToTheRenderer) {
  const auto producer = MakeCustomRenderingProducer();
  EXPECT_EQ(writer().use_count(), 2);
  EXPECT_THAT(EntriesOf([&] { ReleaseWriter(); }), IsEmpty());
  EXPECT_THAT(EntriesOf([&] { DisableCustomRendering(*producer); }), Contains("~writer"));
}

TEST_F(EnableCustomRender, GivesThePreprocessorTheTrackWeakly) {
  auto producer = MakeCustomRenderingProducer();
  const auto kept = world().preprocessors.Find(0);
  EXPECT_EQ(kept->output_tracks().size(), 1u);
  EXPECT_THAT(EntriesOf([&] { producer.reset(); }), Contains("~[call][main]"));
  EXPECT_THAT(kept->output_tracks(), IsEmpty());
}

TEST_F(EnableCustomRender, BesideTheLocalPreviewHasATrackAndARendererOfItsOwn) {
  const auto producer = MakePreviewingProducer();
  EXPECT_THAT(
      EntriesOf([&] { EnableCustomRendering(*producer); }),
      ElementsAre(Enabled(), CreateTrack(), CreateRenderer(), "renderer#2.ResetRenderState()",
                  "renderer#2.SetCustomRenderOutput(kI420, kMemory, writer)",
                  "renderer#2.SetInputTrack([call][main]#2.reader)", "renderer#2.Start()",
                  RemoveTap(kSecondTrack), AddTap("kPreview", kSecondTrack)));
  EXPECT_TRUE(world().renderers.At(0).is_started());
  EXPECT_EQ(preprocessor().output_tracks().size(), 2u);
}

TEST_F(EnableCustomRender, WithoutARendererMakesOnlyTheTrackAndTriesAgainNextTime) {
  world().answers.makes_renderer = false;
  const auto producer = MakeProducer();
  EXPECT_THAT(EntriesOf([&] { EnableCustomRendering(*producer); }),
              ElementsAre(Enabled(), CreateTrack(), CreateRenderer()));
  EXPECT_THAT(EntriesOf([&] { DisableCustomRendering(*producer); }),
              ElementsAre(Disabled(), RemoveTap(), "[call][main].Reset()"));
  world().answers.makes_renderer = true;
  EXPECT_EQ(EntriesOf([&] { EnableCustomRendering(*producer); }).back(), AddTap("kPreview"));
}

TEST_F(EnableCustomRender, WithoutATrackStartsTheRendererAndTapsNothing) {
  world().answers.makes_track = false;
  const auto producer = MakeProducer();
  EXPECT_THAT(
      EntriesOf([&] { EnableCustomRendering(*producer); }),
      ElementsAre(Enabled(), CreateTrack(), CreateRenderer(), "renderer.ResetRenderState()",
                  "renderer.SetCustomRenderOutput(kI420, kMemory, writer)", "renderer.Start()"));
  EXPECT_THAT(EntriesOf([&] { DisableCustomRendering(*producer); }),
              ElementsAre(Disabled(), "renderer.SetInputTrack(null)", "renderer.Stop(false)",
                          "renderer.ResetRenderState()", "~renderer"));
}

// Enabled while it is on.

TEST_F(CustomRenderAgain, ReplacesTheRendererWithoutStoppingTheOldOne) {
  const auto producer = MakeCustomRenderingProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] {
        producer->EnableCustomRendering(true, PixelFormat::kBGRA, BufferType::kTexture, writer());
      }),
      ElementsAre(kQueueCheck, Enabled("kBGRA", "kTexture"), CreateRenderer(), "~renderer",
                  "renderer#2.ResetRenderState()",
                  "renderer#2.SetCustomRenderOutput(kBGRA, kTexture, writer)",
                  "[call][main].GetReader()", "renderer#2.SetInputTrack([call][main].reader)",
                  "renderer#2.Start()", "[call][main].GetWriter()", RemoveTap(),
                  AddTap("kPreview")));
  EXPECT_EQ(preprocessor().CountRegistrations(world().Track(kTrack).writer()), 1u);
  EXPECT_EQ(world().tracks.count(), 1u);
}

TEST_F(CustomRenderAgain, LeavesAnOldRendererThatSomebodyHoldsRunning) {
  const auto producer = MakeCustomRenderingProducer();
  const auto held = world().renderers.Find(0);
  EnableCustomRendering(*producer);
  EXPECT_TRUE(held->is_started());
  EXPECT_NE(held->input(), nullptr);
}

TEST_F(CustomRenderAgain, WithoutANewRendererReleasesTheOldOneAndLeavesTheTap) {
  const auto producer = MakeCustomRenderingProducer();
  world().answers.makes_renderer = false;
  EXPECT_THAT(EntriesOf([&] { EnableCustomRendering(*producer); }),
              ElementsAre(Enabled(), CreateRenderer(), "~renderer"));
  EXPECT_EQ(preprocessor().output_tracks().size(), 1u);
}

// Off.

TEST_F(DisableCustomRender, DetachesTheTrackAndReleasesTheRenderer) {
  const auto producer = MakeCustomRenderingProducer();
  journal().LeaveOut(0);
  static_cast<void>(OriginsOfLogLines());
  EXPECT_THAT(
      EntriesOf([&] {
        producer->EnableCustomRendering(false, PixelFormat::kRGBA, BufferType::kTexture, writer());
      }),
      ElementsAre(kQueueCheck, Info("Disable custom render with format:kRGBA, type:kTexture"),
                  "[call][main].GetWriter()", RemoveTap(), "[call][main].Reset()",
                  "renderer.SetInputTrack(null)", "renderer.Stop(false)",
                  "renderer.ResetRenderState()", "~renderer"));
  EXPECT_TRUE(world().tracks.IsAlive(0));
  EXPECT_THAT(preprocessor().output_tracks(), IsEmpty());
  EXPECT_THAT(OriginsOfLogLines(), ElementsAre(OriginIn("EnableCustomRendering")));
}

TEST_F(DisableCustomRender, BeforeItWasEnabledOnlyLogs) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { DisableCustomRendering(*producer); }),
              ElementsAre(kQueueCheck, Disabled()));
}

TEST_F(DisableCustomRender, WhileItIsOffDetachesTheTrackAgain) {
  const auto producer = MakeCustomRenderingProducer();
  DisableCustomRendering(*producer);
  EXPECT_THAT(EntriesOf([&] { DisableCustomRendering(*producer); }),
              ElementsAre(Disabled(), RemoveTap(), "[call][main].Reset()"));
}

TEST_F(DisableCustomRender, LeavesARendererThatSomebodyHoldsAlive) {
  const auto producer = MakeCustomRenderingProducer();
  auto held = world().renderers.Find(0);
  EXPECT_THAT(EntriesOf([&] { DisableCustomRendering(*producer); }), Not(Contains("~renderer")));
  EXPECT_FALSE(held->is_started());
}

TEST_F(DisableCustomRender, IsFollowedByAStartOfANewRendererOnTheSameTrack) {
  const auto producer = MakeProducer();
  producer->SetFillMode(FillMode::kStretch);
  EnableCustomRendering(*producer);
  DisableCustomRendering(*producer);
  EXPECT_THAT(EntriesOf([&] { EnableCustomRendering(*producer); }),
              ElementsAre(Enabled(), CreateRenderer(), "renderer#2.ResetRenderState()",
                          "renderer#2.SetCustomRenderOutput(kI420, kMemory, writer)",
                          "renderer#2.SetInputTrack([call][main].reader)",
                          "renderer#2.SetFillMode(kStretch)", "renderer#2.Start()", RemoveTap(),
                          AddTap("kPreview")));
  EXPECT_EQ(world().tracks.count(), 1u);
}

TEST_F(DisableCustomRender, LeavesTheLocalPreviewAlone) {
  const auto producer = MakePreviewingProducer();
  EnableCustomRendering(*producer);
  EXPECT_THAT(EntriesOf([&] { DisableCustomRendering(*producer); }),
              ElementsAre(Disabled(), RemoveTap(kSecondTrack), "[call][main]#2.Reset()",
                          "renderer#2.SetInputTrack(null)", "renderer#2.Stop(false)",
                          "renderer#2.ResetRenderState()", "~renderer#2"));
  EXPECT_TRUE(world().renderers.At(0).is_started());
  EXPECT_EQ(preprocessor().output_tracks().size(), 1u);
}

TEST_F(DisableCustomRender, AfterUninitializeOfAProducerThatNeverRenderedOnlyLogs) {
  const auto producer = MakeProducer();
  producer->Uninitialize();
  EXPECT_THAT(EntriesOf([&] { DisableCustomRendering(*producer); }), ElementsAre(Disabled()));
}

// A producer that nobody owns.

TEST_F(UnownedCustomRender, FailsAfterItsTrackIsMadeAndBeforeItsRenderer) {
  VideoProducer2Impl producer(Context(), client(), VideoStreamType::kBig);
  const auto start = [&] { EXPECT_THROW(EnableCustomRendering(producer), std::bad_weak_ptr); };
  EXPECT_THAT(EntriesOf(start), ElementsAre(Enabled(), CreateTrack()));
  EXPECT_THAT(EntriesOf(start), ElementsAre(Enabled()));
  EXPECT_EQ(world().renderers.count(), 0u);
  EXPECT_THAT(EntriesOf([&] { DisableCustomRendering(producer); }),
              ElementsAre(Disabled(), RemoveTap(), "[call][main].Reset()"));
}

}  // namespace
}  // namespace movra::video
