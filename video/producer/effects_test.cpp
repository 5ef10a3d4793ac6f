// The effects that the preprocessor computes, the watermark that moves the previews, and snapshots.

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "video/producer/preview_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::MakeImage;
using testing::MakeView;
using ::testing::Values;
using ::testing::ValuesIn;

constexpr char kQueueCheck[] = "main_queue.IsCurrent()";

// An operation that does nothing but pass its arguments on to the preprocessor.
struct Effect {
  std::string name;
  std::function<void(IVideoProducer2&)> call;
  std::string entry;  // Without the preprocessor's name.
};

void PrintTo(const Effect& effect, std::ostream* out) { *out << effect.name; }

GreenScreenParams GreenScreen() {
  GreenScreenParams params;
  params.enabled = true;
  params.key_color = 0x0000FF;
  params.similarity = 0.5F;
  params.smoothness = 0.25F;
  params.background = MakeImage("beach");
  return params;
}

// One that the application keeps.
const std::shared_ptr<testing::Image>& Picture() {
  static const std::shared_ptr<testing::Image> picture = MakeImage("picture");
  return picture;
}

std::vector<Effect> Effects() {
  using P = IVideoProducer2;
  return {
      {"BeautyStyleSmooth", [](P& p) { p.SetBeautyStyle(BeautyStyle::kSmooth); },
       "SetBeautyStyle(0)"},
      {"BeautyStyleClear", [](P& p) { p.SetBeautyStyle(BeautyStyle::kClear); },
       "SetBeautyStyle(2)"},
      {"BeautyStyleWithoutAName", [](P& p) { p.SetBeautyStyle(static_cast<BeautyStyle>(-7)); },
       "SetBeautyStyle(-7)"},
      {"BeautyLevel9", [](P& p) { p.SetBeautyLevel(9); }, "SetBeautyLevel(1)"},
      {"BeautyLevel4AndAHalf", [](P& p) { p.SetBeautyLevel(4.5F); }, "SetBeautyLevel(0.5)"},
      {"BeautyLevel0", [](P& p) { p.SetBeautyLevel(0); }, "SetBeautyLevel(0)"},
      {"BeautyLevelAboveTheScale", [](P& p) { p.SetBeautyLevel(18); }, "SetBeautyLevel(2)"},
      {"BeautyLevelBelowTheScale", [](P& p) { p.SetBeautyLevel(-9); }, "SetBeautyLevel(-1)"},
      {"WhitenessLevel9", [](P& p) { p.SetWhitenessLevel(9); }, "SetWhitenessLevel(1)"},
      {"WhitenessLevel4AndAHalf", [](P& p) { p.SetWhitenessLevel(4.5F); },
       "SetWhitenessLevel(0.5)"},
      {"WhitenessLevel0", [](P& p) { p.SetWhitenessLevel(0); }, "SetWhitenessLevel(0)"},
      {"WhitenessLevelAboveTheScale", [](P& p) { p.SetWhitenessLevel(18); },
       "SetWhitenessLevel(2)"},
      {"WhitenessLevelBelowTheScale", [](P& p) { p.SetWhitenessLevel(-9); },
       "SetWhitenessLevel(-1)"},
      {"RuddyLevel9", [](P& p) { p.SetRuddyLevel(9); }, "SetRuddyLevel(1)"},
      {"RuddyLevel4AndAHalf", [](P& p) { p.SetRuddyLevel(4.5F); }, "SetRuddyLevel(0.5)"},
      {"RuddyLevel0", [](P& p) { p.SetRuddyLevel(0); }, "SetRuddyLevel(0)"},
      {"RuddyLevelAboveTheScale", [](P& p) { p.SetRuddyLevel(18); }, "SetRuddyLevel(2)"},
      {"RuddyLevelBelowTheScale", [](P& p) { p.SetRuddyLevel(-9); }, "SetRuddyLevel(-1)"},
      {"ColorFilter", [](P& p) { p.SetLUTColorFilter(MakeImage("lut")); },
       "SetLUTColorFilter(lut)"},
      {"ColorFilterOff", [](P& p) { p.SetLUTColorFilter(nullptr); }, "SetLUTColorFilter(null)"},
      {"ColorFilterStrength", [](P& p) { p.SetLUTColorFilterStrength(0.9F); },
       "SetLUTColorFilterStrength(0.9)"},
      {"ColorFilterStrengthAboveOne", [](P& p) { p.SetLUTColorFilterStrength(9); },
       "SetLUTColorFilterStrength(9)"},
      {"TwoColorFilters",
       [](P& p) { p.SetLUTColorFilter(MakeImage("first"), 0.1F, MakeImage("second"), 0.2F, 0.3F); },
       "SetLUTColorFilter(first, 0.1, second, 0.2, 0.3)"},
      {"TwoColorFiltersOff", [](P& p) { p.SetLUTColorFilter(nullptr, 3, nullptr, 2, 1); },
       "SetLUTColorFilter(null, 3, null, 2, 1)"},
      {"GreenScreen", [](P& p) { p.SetGreenScreenParams(GreenScreen()); },
       "SetGreenScreenParams({enabled 0000FF 0.5 0.25 beach})"},
      {"Watermark", [](P& p) { p.SetWatermark(MakeImage("logo"), 0.1, 0.2, 0.3, true); },
       "SetWatermark(logo, 0.1, 0.2, 0.3, true)"},
      {"WatermarkOff", [](P& p) { p.SetWatermark(nullptr, 3, -2, 1, false); },
       "SetWatermark(null, 3, -2, 1, false)"},
  };
}

class PassedEffect : public PreviewTest, public ::testing::WithParamInterface<Effect> {};
std::string NameOf(const ::testing::TestParamInfo<Effect>& effect) { return effect.param.name; }
INSTANTIATE_TEST_SUITE_P(Of, PassedEffect, ValuesIn(Effects()), NameOf);

TEST_P(PassedEffect, ReachesThePreprocessorWithoutALogLine) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  const auto expected = ElementsAre(kQueueCheck, "preprocessor." + GetParam().entry);
  EXPECT_THAT(EntriesOf([&] { GetParam().call(*producer); }), expected);
  EXPECT_THAT(EntriesOf([&] { GetParam().call(*producer); }), expected);
}

TEST_P(PassedEffect, NeedsNoOwnerAndNoClient) {
  VideoProducer2Impl producer(Context(), nullptr, VideoStreamType::kBig);
  EXPECT_THAT(EntriesOf([&] { GetParam().call(producer); }),
              ElementsAre("preprocessor." + GetParam().entry));
}

class GreenScreenEffect : public PreviewTest {};

TEST_F(GreenScreenEffect, ReachesThePreprocessorAsTheApplicationsOwnRecord) {
  const auto producer = MakeProducer();
  const GreenScreenParams params = GreenScreen();
  long holders = 0;
  AtEntry("preprocessor.SetGreenScreenParams({enabled 0000FF 0.5 0.25 beach})",
          [&] { holders = params.background.use_count(); });
  producer->SetGreenScreenParams(params);
  EXPECT_EQ(holders, 1) << "a copy of the record would hold the picture too";
}

// While the preprocessor is told, the application and the call hold the picture, and nobody else.
class PassedPicture : public PreviewTest, public ::testing::WithParamInterface<Effect> {};
INSTANTIATE_TEST_SUITE_P(
    Of, PassedPicture,
    Values(Effect{"ColorFilter", [](auto& p) { p.SetLUTColorFilter(Picture()); },
                  "SetLUTColorFilter(picture)"},
           Effect{"FirstOfTwo", [](auto& p) { p.SetLUTColorFilter(Picture(), 0, nullptr, 0, 0); },
                  "SetLUTColorFilter(picture, 0, null, 0, 0)"},
           Effect{"SecondOfTwo", [](auto& p) { p.SetLUTColorFilter(nullptr, 0, Picture(), 0, 0); },
                  "SetLUTColorFilter(null, 0, picture, 0, 0)"},
           Effect{"Watermark", [](auto& p) { p.SetWatermark(Picture(), 0, 0, 1, true); },
                  "SetWatermark(picture, 0, 0, 1, true)"}),
    NameOf);

TEST_P(PassedPicture, IsMovedOnAndNotCopied) {
  const auto producer = MakeProducer();
  long holders = 0;
  AtEntry("preprocessor." + GetParam().entry, [&] { holders = Picture().use_count(); });
  GetParam().call(*producer);
  EXPECT_EQ(holders, 2);
}

class BeautyLevels : public PreviewTest {};

// In double precision a level of 2.7 would round to another quotient.
TEST_F(BeautyLevels, AreDividedInSinglePrecision) {
  const auto producer = MakeProducer();
  for (const float level : {0.1F, 0.7F, 1.0F, 2.0F, 2.7F, 7.0F, 8.9F}) {
    producer->SetBeautyLevel(level);
    producer->SetWhitenessLevel(level);
    producer->SetRuddyLevel(level);
    const float expected = level / 9.0F;
    const auto& settings = preprocessor().settings();
    EXPECT_EQ(settings.beauty_level.value_or(-1.0F), expected);
    EXPECT_EQ(settings.whiteness_level.value_or(-1.0F), expected);
    EXPECT_EQ(settings.ruddy_level.value_or(-1.0F), expected);
  }
}

// The watermark and the previews.

class Watermark : public PreviewTest {
 protected:
  [[nodiscard]] std::vector<std::string> EntriesOfWatermark(IVideoProducer2& producer,
                                                            bool in_preview) {
    return EntriesOf([&] { producer.SetWatermark(MakeImage("logo"), 0.1, 0.2, 0.3, in_preview); });
  }
};

TEST_F(Watermark, MovesTheLocalPreviewBeforeItArrives) {
  const auto producer = MakePreviewingProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOfWatermark(*producer, true),
              ElementsAre(kQueueCheck, "[call][main].GetWriter()", RemoveTap(),
                          AddTap("kPreviewWithWatermark"),
                          "preprocessor.SetWatermark(logo, 0.1, 0.2, 0.3, true)"));
  EXPECT_THAT(EntriesOfWatermark(*producer, false),
              ElementsAre(kQueueCheck, "[call][main].GetWriter()", RemoveTap(), AddTap("kPreview"),
                          "preprocessor.SetWatermark(logo, 0.1, 0.2, 0.3, false)"));
  EXPECT_EQ(preprocessor().output_tracks().size(), 1u);
}

TEST_F(Watermark, ConnectsThePreviewsAnewWhereTheyAreAlready) {
  const auto producer = MakeCustomRenderingProducer();
  producer->SetRenderView(MakeView("view"));
  for (const bool in_preview : {false, true, true}) {
    const char* const position = in_preview ? "kPreviewWithWatermark" : "kPreview";
    const char* const flag = in_preview ? "true" : "false";
    EXPECT_THAT(
        EntriesOfWatermark(*producer, in_preview),
        ElementsAre(RemoveTap(kSecondTrack), AddTap(position, kSecondTrack), RemoveTap(),
                    AddTap(position),
                    std::string("preprocessor.SetWatermark(logo, 0.1, 0.2, 0.3, ") + flag + ")"));
  }
}

TEST_F(Watermark, MovesTheCustomPreviewBeforeItArrives) {
  const auto producer = MakeCustomRenderingProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOfWatermark(*producer, true),
              ElementsAre(kQueueCheck, "[call][main].GetWriter()", RemoveTap(),
                          AddTap("kPreviewWithWatermark"),
                          "preprocessor.SetWatermark(logo, 0.1, 0.2, 0.3, true)"));
}

TEST_F(Watermark, MovesTheLocalPreviewBeforeTheCustomOne) {
  const auto producer = MakeCustomRenderingProducer();
  producer->SetRenderView(MakeView("view"));
  EXPECT_THAT(EntriesOfWatermark(*producer, true),
              ElementsAre(RemoveTap(kSecondTrack), AddTap("kPreviewWithWatermark", kSecondTrack),
                          RemoveTap(), AddTap("kPreviewWithWatermark"),
                          "preprocessor.SetWatermark(logo, 0.1, 0.2, 0.3, true)"));
  EXPECT_EQ(preprocessor().output_tracks().size(), 2u);
}

TEST_F(Watermark, DoesNotMoveAPreviewThatWasStopped) {
  const auto producer = MakePreviewingProducer();
  EnableCustomRendering(*producer);
  producer->SetRenderView(nullptr);
  DisableCustomRendering(*producer);
  EXPECT_THAT(EntriesOfWatermark(*producer, true),
              ElementsAre("preprocessor.SetWatermark(logo, 0.1, 0.2, 0.3, true)"));
}

TEST_F(Watermark, LeavesTheApplicationsTapsAndTheEncodersAlone) {
  const auto producer = MakeProducer();
  producer->AddVideoShuntTrack(InterceptPosition::kPreview, PixelFormat::kI420, BufferType::kMemory,
                               writer());
  EncodeParams params;
  params.width = 640;
  params.height = 360;
  producer->StartEncoder(VideoStreamType::kBig, params, nullptr);
  EXPECT_THAT(EntriesOfWatermark(*producer, true),
              ElementsAre("preprocessor.SetWatermark(logo, 0.1, 0.2, 0.3, true)"));
}

TEST_F(Watermark, KeepsTheLastFlagForLaterPreviews) {
  const auto producer = MakeProducer();
  static_cast<void>(EntriesOfWatermark(*producer, true));
  static_cast<void>(EntriesOfWatermark(*producer, false));
  producer->SetRenderView(MakeView("view"));
  EXPECT_EQ(preprocessor().output_tracks().at(0).position, InterceptPosition::kPreview);
}

TEST_F(Watermark, IsTakenAfterTheCheckOfTheMainQueue) {
  const auto producer = MakeProducer();
  AtEntry(kQueueCheck, [&] { producer->SetRenderView(MakeView("view")); });
  EXPECT_THAT(EntriesOfWatermark(*producer, true), Contains(AddTap("kPreview")));
}

TEST_F(Watermark, IsNotKeptByTheProducer) {
  const auto producer = MakeProducer();
  const auto image = MakeImage("logo");
  producer->SetWatermark(image, 0, 0, 0, true);
  EXPECT_EQ(image.use_count(), 1);
}

// Snapshots.

class Snapshot : public PreviewTest {
 protected:
  using Callback = movra_base::OnceCallback<void(std::shared_ptr<ObjcWrapper<NSImage>>)>;
  [[nodiscard]] Callback OnDone() {
    return env().Callback<void(std::shared_ptr<ObjcWrapper<NSImage>>)>("on_done");
  }
};

TEST_F(Snapshot, OfThePreprocessorIsItsAffairAndItsCallback) {
  const auto producer = MakePreviewingProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->Snapshot(SnapshotSourceType::kPreprocessor, OnDone()); }),
              ElementsAre(kQueueCheck, "preprocessor.Snapshot(callback)"));
  EXPECT_THAT(EntriesOf([&] { preprocessor().AnswerSnapshot(MakeImage("picture")); }),
              ElementsAre("on_done(picture)", "~on_done"));
}

TEST_F(Snapshot, OfTheLocalPreviewIsTheRenderersAffairAndItsCallback) {
  const auto producer = MakeCustomRenderingProducer();
  producer->SetRenderView(MakeView("view"));
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->Snapshot(SnapshotSourceType::kLocalRenderer, OnDone()); }),
              ElementsAre(kQueueCheck, "renderer#2.Snapshot(callback)"));
  EXPECT_THAT(EntriesOf([&] { world().renderers.Last().AnswerSnapshot(MakeImage("picture")); }),
              ElementsAre("on_done(picture)", "~on_done"));
}

TEST_F(Snapshot, ThatIsNotAnsweredEndsWithItsCollaborator) {
  const auto producer = MakePreviewingProducer();
  producer->Snapshot(SnapshotSourceType::kLocalRenderer, OnDone());
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderView(nullptr); }), Contains("~on_done"));
  producer->Snapshot(SnapshotSourceType::kPreprocessor, OnDone());
  EXPECT_THAT(EntriesOf([&] { producer->Uninitialize(); }), Contains("~on_done"));
}

TEST_F(Snapshot, OfTheLocalPreviewWithoutOneIsAnsweredAtOnceWithNothing) {
  const auto producer = MakeCustomRenderingProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->Snapshot(SnapshotSourceType::kLocalRenderer, OnDone()); }),
              ElementsAre(kQueueCheck, "on_done(null)", "~on_done"));
}

TEST_F(Snapshot, OfTheLocalPreviewAfterItsStopIsAnsweredAtOnceWithNothing) {
  const auto producer = MakePreviewingProducer();
  producer->SetRenderView(nullptr);
  EXPECT_THAT(EntriesOf([&] { producer->Snapshot(SnapshotSourceType::kLocalRenderer, OnDone()); }),
              ElementsAre("on_done(null)", "~on_done"));
}

TEST_F(Snapshot, AfterUninitializeIsAnsweredAtOnceWithNothing) {
  const auto producer = MakePreviewingProducer();
  producer->Uninitialize();
  for (const auto source :
       {SnapshotSourceType::kPreprocessor, SnapshotSourceType::kLocalRenderer}) {
    EXPECT_THAT(EntriesOf([&] { producer->Snapshot(source, OnDone()); }),
                ElementsAre("on_done(null)", "~on_done"));
  }
}

class SnapshotOfNothing : public Snapshot, public ::testing::WithParamInterface<std::int32_t> {};
INSTANTIATE_TEST_SUITE_P(EveryOtherSource, SnapshotOfNothing,
                         Values(2, 7, -1, INT32_MAX, INT32_MIN));

TEST_P(SnapshotOfNothing, IsAnsweredAtOnceWithNothing) {
  const auto producer = MakePreviewingProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] { producer->Snapshot(static_cast<SnapshotSourceType>(GetParam()), OnDone()); }),
      ElementsAre(kQueueCheck, "on_done(null)", "~on_done"));
}

TEST_F(Snapshot, PassesAnEmptyCallbackOnAndRunsNone) {
  const auto producer = MakePreviewingProducer();
  EXPECT_THAT(EntriesOf([&] {
                producer->Snapshot(SnapshotSourceType::kPreprocessor, {});
                producer->Snapshot(SnapshotSourceType::kLocalRenderer, {});
                producer->Snapshot(static_cast<SnapshotSourceType>(7), {});
              }),
              ElementsAre("preprocessor.Snapshot(null)", "renderer.Snapshot(null)"));
}

TEST_F(Snapshot, MayCallBackIntoTheProducer) {
  const auto producer = MakeProducer();
  EXPECT_THAT(EntriesOf([&] {
                producer->Snapshot(SnapshotSourceType::kLocalRenderer,
                                   movra_base::BindOnce([&](std::shared_ptr<testing::Image>) {
                                     producer->SetRenderView(MakeView("view"));
                                   }));
              }),
              Contains("renderer.Start()"));
}

TEST_F(Snapshot, NeedsNoOwner) {
  VideoProducer2Impl producer(Context(), nullptr, VideoStreamType::kBig);
  EXPECT_THAT(EntriesOf([&] { producer.Snapshot(SnapshotSourceType::kPreprocessor, OnDone()); }),
              ElementsAre("preprocessor.Snapshot(callback)"));
}

}  // namespace
}  // namespace movra::video
