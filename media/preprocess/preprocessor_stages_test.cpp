// What stages do with frames on their way, and what becomes of frames when they do not.

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "logging/recording_sink_for_test.h"
#include "media/frame/platform_objects.h"
#include "media/preprocess/preprocessor.h"
#include "media/preprocess/preprocessor_fixture_for_test.h"
#include "media/preprocess/stage_for_test.h"
#include "video/to_string.h"

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using video::InterceptPosition;
using video::PixelFormat;
using video::PixelFrame;
using Image = video::ObjcWrapper<NSImage>;

constexpr auto kCaptured = InterceptPosition::kCaptured;
constexpr auto kWatermarked = InterceptPosition::kPreviewWithWatermark;

// Calls the test for each frame, and hands it on as it is.
class Visitor final : public video::VideoInterceptorListener {
 public:
  explicit Visitor(std::function<void()> on_visit) : on_visit_(std::move(on_visit)) {}

  PixelFrame OnInterceptFrame(InterceptPosition /*position*/, PixelFrame frame) override {
    on_visit_();
    return frame;
  }

 private:
  const std::function<void()> on_visit_;
};

// A preprocessor with a table of the test's own.
class PreprocessorStages : public PreprocessorTest {
 protected:
  void Use(std::vector<StageRow> rows) {
    preprocessor = std::make_shared<Preprocessor>(context, queue, std::move(rows));
    preprocessor->SetInputTrackReader(source->GetReader());
    preprocessor->StartProcessing();
  }

  void Process(PixelFrame frame) {
    ASSERT_EQ(source->GetWriter()->Write(std::move(frame)), video::TrackWriteResult::kAccepted);
    queue->RunAll();
  }

  // Receives frames as they are.
  std::shared_ptr<RecordingWriter> AddWriter(InterceptPosition position,
                                             const video::Size& size = {}) {
    auto writer = std::make_shared<RecordingWriter>();
    preprocessor->AddOutputTrack(position, Params(size, PixelFormat::kNone), writer);
    return writer;
  }

  static const std::uint8_t* SamplesOf(const PixelFrame& frame) {
    return frame.info().planes[0].data;
  }

  // Makes the whole picture gray.
  static bool Paint(StageFrame& frame, const StageSettings& /*settings*/) {
    WritableFrame* const picture = frame.Write();
    if (picture == nullptr) return false;
    Fill(*picture, {0, 0, kSize.width, kSize.height}, kGray);
    return true;
  }

  std::shared_ptr<TestStage> stage = std::make_shared<TestStage>("test");
};

// The product's table, with something to do in every row.
TEST_F(PreprocessorStages, AFrameMeetsStagesAndPositionsInTheOrderOfTheTable) {
  std::vector<std::string> journal;
  const auto note = [&](const std::string& entry) {
    return [&, entry] { journal.push_back(entry); };
  };
  std::vector<StageRow> rows = MakeStageRows(context);
  for (StageRow& row : rows) {
    auto* const replaced = std::get_if<std::shared_ptr<IFrameStage>>(&row);
    if (replaced == nullptr) continue;
    auto telling = std::make_shared<TestStage>((*replaced)->name());
    telling->process = [told = note(telling->name())](StageFrame&, const StageSettings&) {
      told();
      return true;
    };
    *replaced = std::move(telling);
  }
  Use(std::move(rows));
  std::vector<std::shared_ptr<Visitor>> visitors;
  std::vector<std::shared_ptr<RecordingWriter>> writers;
  for (const int value : {5, 4, 3, 2, 1, 0}) {
    const auto position = static_cast<InterceptPosition>(value);
    const std::string name = video::InterceptPositionToString(position);
    visitors.push_back(std::make_shared<Visitor>(note(name)));
    preprocessor->AddInterceptor(position, {}, visitors.back());
    writers.push_back(AddWriter(position));
    writers.back()->on_write = note(name + " tap");
  }
  Process(MakeFrame(0, kLive));
  EXPECT_THAT(journal,
              ElementsAre("kCaptured", "kCaptured tap", "upright", "cover image", "green screen",
                          "beauty", "colour filter", "kBeautified", "kBeautified tap",
                          "kCustomProcessing", "kCustomProcessing tap", "kPreview", "kPreview tap",
                          "watermark", "kPreviewWithWatermark", "kPreviewWithWatermark tap",
                          "upright", "kEncoder", "kEncoder tap"));
}

TEST_F(PreprocessorStages, AStageThatHasNothingToDoCostsAFrameNothing) {
  stage->is_needed = [] { return false; };
  bool was_called = false;
  stage->process = [&](StageFrame&, const StageSettings&) { return was_called = true; };
  Use({kPreview, stage, kEncoder});
  const auto preview = AddWriter(kPreview, {32, 18});
  const auto encoder = AddWriter(kEncoder);
  const auto small_encoder = AddWriter(kEncoder, {32, 18});
  const PixelFrame frame = MakeFrame(0, kLive);
  Process(frame);
  EXPECT_FALSE(was_called);
  EXPECT_EQ(encoder->frames.at(0).owner(), frame.owner());
  EXPECT_EQ(small_encoder->frames.at(0).owner(), preview->frames.at(0).owner())
      << "what was made before the stage serves behind it";
}

TEST_F(PreprocessorStages, AFrameThatNobodyElseHasIsChangedInPlace) {
  stage->process = Paint;
  Use({kPreview, stage, kEncoder});
  const auto preview = AddWriter(kPreview, {32, 18});
  const auto encoder = AddWriter(kEncoder);
  PixelFrame frame = MakeFrame(3, kLossless);
  const std::uint8_t* const samples = SamplesOf(frame);
  Process(std::move(frame));
  EXPECT_EQ(SamplesOf(encoder->frames.at(0)), samples);
  EXPECT_EQ(DistanceFrom(encoder->frames[0].info(), kGray), 0);
  EXPECT_EQ(encoder->frames[0].info().sequence, 3U);
  EXPECT_LE(DistanceFrom(preview->frames.at(0).info(), kRust), 2) << "made before the stage";
}

TEST_F(PreprocessorStages, AFrameThatSomebodyHasIsCopied) {
  stage->process = Paint;
  Use({kPreview, stage, kEncoder});
  const auto preview = AddWriter(kPreview);
  const auto encoder = AddWriter(kEncoder);
  Process(MakeFrame(3, kLossless));
  EXPECT_EQ(DistanceFrom(encoder->frames.at(0).info(), kGray), 0);
  EXPECT_EQ(DistanceFrom(preview->frames.at(0).info(), kRust), 0);
  EXPECT_EQ(encoder->frames[0].info().sequence, 3U);
}

TEST_F(PreprocessorStages, AStageThatReplacesThePictureKeepsTheFramesPlaceInTheStream) {
  stage->process = [&](StageFrame& frame, const StageSettings&) {
    frame.Replace(FlatFrame(pool, PixelFormat::kBGRA, {16, 16}, kGray));
    return true;
  };
  Use({stage, kEncoder});
  const auto encoder = AddWriter(kEncoder);
  const PixelFrame frame = MakeFrame(3, kLive);
  Process(frame);
  EXPECT_EQ(encoder->frames.at(0).info().size, (video::Size{16, 16}));
  EXPECT_EQ(encoder->frames[0].info().sequence, 3U);
  EXPECT_EQ(encoder->frames[0].info().timestamp, frame.info().timestamp);
}

TEST_F(PreprocessorStages, AStageThatThrowsIsToldOnceAndPassedBy) {
  for (const bool throws_when_asked : {false, true}) {
    stage = std::make_shared<TestStage>("test");
    int calls = 0;
    const auto breaks = [&calls]() -> bool {
      ++calls;
      throw std::runtime_error("broken");
    };
    if (throws_when_asked) stage->is_needed = breaks;
    stage->process = [&](StageFrame&, const StageSettings&) { return breaks(); };
    Use({stage, kEncoder});
    const auto encoder = AddWriter(kEncoder);
    movra_logging::RecordingSink log;
    Process(MakeFrame(0, kLossless));
    Process(MakeFrame(1, kLossless));
    preprocessor->SetBeautyLevel(0.5F);
    Process(MakeFrame(2, kLossless));
    EXPECT_EQ(calls, 1);
    EXPECT_THAT(log.texts(), ElementsAre("The test stage threw: broken"));
    ASSERT_EQ(encoder->frames.size(), 3U) << "the frame at which it threw goes on too";
    EXPECT_EQ(DistanceFrom(encoder->frames[0].info(), kRust), 0);
  }
}

TEST_F(PreprocessorStages, AFrameGoesOnWithWhatWasPreparedWhenItBegan) {
  std::vector<float> levels;
  stage->process = [&](StageFrame&, const StageSettings& settings) {
    levels.push_back(settings.beauty.level);
    return true;
  };
  Use({kCaptured, stage, kEncoder});
  preprocessor->SetBeautyLevel(0.25F);
  const auto changing = std::make_shared<Visitor>([&] { preprocessor->SetBeautyLevel(0.75F); });
  preprocessor->AddInterceptor(kCaptured, {}, changing);
  Process(MakeFrame(0, kLive));
  Process(MakeFrame(1, kLive));
  EXPECT_THAT(levels, ElementsAre(0.25F, 0.75F));
}

TEST_F(PreprocessorStages, StagesArePreparedWhenTheirSettingsChangeAndAtNoFrame) {
  Use({stage, kEncoder});
  EXPECT_EQ(stage->preparations, 1);
  preprocessor->SetWhitenessLevel(0.5F);
  EXPECT_EQ(stage->preparations, 2);
  const auto encoder = AddWriter(kEncoder);
  preprocessor->SetFrameAdaptiveMode(video::FrameAdaptiveMode::kCrop);
  Process(MakeFrame(0, kLive));
  EXPECT_EQ(encoder->frames.size(), 1U);
  EXPECT_EQ(stage->preparations, 2);
}

TEST_F(PreprocessorStages, AFrameWhosePictureCannotBeMadeIsToldAndCountedAndGoesNoFurther) {
  const auto account = FrameAccount::Of(context.trace());
  stage->process = [](StageFrame&, const StageSettings&) { return false; };
  const auto behind = std::make_shared<TestStage>("behind");
  bool was_called = false;
  behind->is_needed = [&] { return was_called = true; };
  Use({kCaptured, stage, behind, kEncoder});
  const auto before = AddWriter(kCaptured);
  const auto encoder = AddWriter(kEncoder);
  movra_logging::RecordingSink log;
  Process(MakeFrame(0, kLossless));
  Process(MakeFrame(1, kLossless));
  EXPECT_EQ(before->frames.size(), 2U);
  EXPECT_FALSE(was_called);
  EXPECT_THAT(encoder->frames, IsEmpty());
  EXPECT_THAT(log.texts(),
              ElementsAre("[trace:7][main] Cannot make the test picture Size{64x36} kI420 from "
                          "Size{64x36} kI420: no such conversion, or no memory"));
  EXPECT_EQ(account->Totals(video::VideoStreamType::kBig).source.of(FrameFate::kNotMade), 2U);
}

TEST_F(PreprocessorStages, APictureThatAStageHasLostIsNotMadeEither) {
  stage->process = [](StageFrame& frame, const StageSettings&) {
    frame.Replace(PixelFrame());
    return true;
  };
  Use({stage, kEncoder});
  const auto encoder = AddWriter(kEncoder);
  movra_logging::RecordingSink log;
  Process(MakeFrame(0, kLive));
  EXPECT_THAT(encoder->frames, IsEmpty());
  EXPECT_EQ(log.texts().size(), 1U);
}

TEST_F(PreprocessorStages, ASnapshotShowsAllStagesButThoseForTheEncoders) {
  const auto for_encoders = std::make_shared<TestStage>("for encoders");
  for_encoders->process = [&](StageFrame& frame, const StageSettings&) {
    frame.Replace(FlatFrame(pool, PixelFormat::kI420, {16, 16}, kBlack));
    return true;
  };
  stage->process = Paint;
  Use({kPreview, stage, kWatermarked, for_encoders, kEncoder});
  std::shared_ptr<Image> shown;
  preprocessor->Snapshot(
      movra_base::BindOnce([&](std::shared_ptr<Image> image) { shown = std::move(image); }));
  Process(MakeFrame(0, kLive));
  ASSERT_NE(shown, nullptr);
  EXPECT_EQ(shown->frame().info().size, kSize);
  EXPECT_LE(DistanceFrom(shown->frame().info(), kGray), 3);
}

// What the operations tell the stages.
class PreprocessorStageSettings : public PreprocessorStages {
 protected:
  PreprocessorStageSettings() {
    stage->is_on = [&](const StageSettings& settings) {
      told = settings;
      return false;
    };
    Use({stage});
  }

  StageSettings told;
  const std::shared_ptr<Image> image = std::make_shared<Image>(PixelFrame());
  const std::shared_ptr<Image> other = std::make_shared<Image>(PixelFrame());
};

TEST_F(PreprocessorStageSettings, NothingIsOnAtFirst) {
  EXPECT_EQ(told.beauty, BeautySettings());
  EXPECT_FALSE(told.beauty.is_on());
  EXPECT_FALSE(told.color_filter.is_on());
  EXPECT_FALSE(told.green_screen.enabled);
  EXPECT_FALSE(told.watermark.is_on());
  EXPECT_EQ(told.cover, nullptr);
}

TEST_F(PreprocessorStageSettings, BeautyIsOneRecord) {
  preprocessor->SetBeautyStyle(video::BeautyStyle::kNatural);
  EXPECT_TRUE(told.beauty.is_on());
  preprocessor->SetBeautyLevel(0.25F);
  preprocessor->SetWhitenessLevel(0.5F);
  preprocessor->SetRuddyLevel(0.75F);
  EXPECT_EQ(told.beauty, (BeautySettings{video::BeautyStyle::kNatural, 0.25F, 0.5F, 0.75F}));
}

TEST_F(PreprocessorStageSettings, AColourFilterReplacesTwoAndKeepsTheStrength) {
  preprocessor->SetLUTColorFilter(image, 0.25F, other, 0.5F, 0.75F);
  EXPECT_EQ(told.color_filter, (ColorFilterSettings{image, 0.25F, other, 0.5F, 0.75F}));
  preprocessor->SetLUTColorFilterStrength(0.125F);
  preprocessor->SetLUTColorFilter(other);
  EXPECT_EQ(told.color_filter, (ColorFilterSettings{other, 0.125F, nullptr, 1, 1}));
  preprocessor->SetLUTColorFilter(nullptr);
  EXPECT_FALSE(told.color_filter.is_on());
}

TEST_F(PreprocessorStageSettings, TheOtherEffectsComeAsTheyWereSet) {
  video::GreenScreenParams green;
  green.enabled = true;
  green.background = image;
  preprocessor->SetGreenScreenParams(green);
  EXPECT_TRUE(told.green_screen.enabled);
  EXPECT_EQ(told.green_screen.background, image);
  preprocessor->SetWatermark(image, 0.25, 0.5, 0.75, true);
  EXPECT_EQ(told.watermark, (WatermarkSettings{image, 0.25, 0.5, 0.75}));
  const auto cover = std::make_shared<video::VideoCoverImageParams>();
  preprocessor->SetCoverImageParams(cover);
  EXPECT_EQ(told.cover, cover);
}

TEST_F(PreprocessorStageSettings, TheTurnsAreToldToEveryStage) {
  preprocessor->SetMirror(video::MirrorMode::kEnabled);
  preprocessor->SetRotation(video::VideoRotation::k90);
  EXPECT_TRUE(told.orientation.mirror);
  EXPECT_EQ(told.orientation.rotation, video::VideoRotation::k90);
  EXPECT_FALSE(told.encoder_orientation.mirror);
  preprocessor->SetEncoderMirror(true);
  preprocessor->SetEncoderRotation(video::VideoRotation::k180);
  EXPECT_TRUE(told.encoder_orientation.mirror);
  EXPECT_EQ(told.encoder_orientation.rotation, video::VideoRotation::k180);
}

}  // namespace
}  // namespace movra::media
