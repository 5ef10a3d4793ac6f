#include "testing/preprocessor_double.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "testing/application_doubles.h"
#include "testing/environment.h"

namespace movra::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using video::InterceptPosition;

class PreprocessorDoubleTest : public ::testing::Test {
 protected:
  void SetUp() override { env_.journal().Clear(); }

  Environment env_;
  const std::shared_ptr<SimulatedQueue> queue_ = std::make_shared<SimulatedQueue>("queue");
  std::shared_ptr<video::IVideoPreprocessor2> preprocessor_ =
      video::IVideoPreprocessor2::Create({InstanceTrace(7), "[call]"}, queue_);
  PreprocessorDouble& double_ = env_.world().preprocessors.Last();
  const std::shared_ptr<FrameWriterDouble> writer_ = env_.Make<FrameWriterDouble>("tap");
  const std::shared_ptr<ListenerDouble> listener_ = env_.Make<ListenerDouble>("listener");
};

TEST_F(PreprocessorDoubleTest, TellsOfItsMakingAndOfItsEnd) {
  const auto second =
      video::IVideoPreprocessor2::Create({InstanceTrace(8), "[other]"}, std::move(queue_));
  preprocessor_.reset();
  EXPECT_THAT(env_.journal().Take(),
              ElementsAre("IVideoPreprocessor2.Create({8 [other]}, queue)", "~preprocessor"));
  EXPECT_EQ(env_.world().preprocessors.Last().name(), "preprocessor#2");
}

TEST_F(PreprocessorDoubleTest, KeepsWhatItWasMadeWith) {
  EXPECT_EQ(double_.context().log_tag(), "[call]");
  EXPECT_EQ(double_.queue(), queue_);
}

TEST_F(PreprocessorDoubleTest, IsNotMadeWhenTheFactoryFails) {
  env_.world().answers.makes_preprocessor = false;
  EXPECT_EQ(video::IVideoPreprocessor2::Create({InstanceTrace(8), ""}, nullptr), nullptr);
  EXPECT_THAT(env_.journal().Take(), ElementsAre("IVideoPreprocessor2.Create({8}, null)"));
}

TEST_F(PreprocessorDoubleTest, TellsOfEveryCallOnTheRoadOfAFrame) {
  const auto reader = env_.Make<FrameReaderDouble>("input");
  preprocessor_->StartProcessing();
  preprocessor_->SetInputTrackReader(reader);
  preprocessor_->AddInterceptor(InterceptPosition::kCaptured, {}, listener_);
  preprocessor_->RemoveInterceptor(listener_);
  preprocessor_->AddOutputTrack(InterceptPosition::kEncoder, {}, writer_);
  preprocessor_->RemoveOutputTrack(writer_);
  preprocessor_->StopProcessing();
  double_.stat = 9;
  EXPECT_EQ(preprocessor_->GetStats(), 9u);
  EXPECT_THAT(
      env_.journal().Take(),
      ElementsAre("preprocessor.StartProcessing()", "preprocessor.SetInputTrackReader(input)",
                  "preprocessor.AddInterceptor(kCaptured, {0x0 disabled kMemory kNone kBig}, "
                  "listener)",
                  "preprocessor.RemoveInterceptor(listener)",
                  "preprocessor.AddOutputTrack(kEncoder, {0x0 disabled kMemory kNone kBig}, tap)",
                  "preprocessor.RemoveOutputTrack(tap)", "preprocessor.StopProcessing()",
                  "preprocessor.GetStats()"));
}

TEST_F(PreprocessorDoubleTest, TellsOfEveryEffect) {
  preprocessor_->SetBeautyStyle(video::BeautyStyle::kNatural);
  preprocessor_->SetBeautyLevel(0.25f);
  preprocessor_->SetWhitenessLevel(0.5f);
  preprocessor_->SetRuddyLevel(0.75f);
  preprocessor_->SetLUTColorFilter(MakeImage("warm"));
  preprocessor_->SetLUTColorFilterStrength(0.5f);
  preprocessor_->SetLUTColorFilter(MakeImage("warm"), 0.1f, MakeImage("cold"), 0.2f, 0.3f);
  preprocessor_->SetGreenScreenParams({});
  preprocessor_->SetWatermark(MakeImage("logo"), 0.1, 0.2, 0.3, true);
  const auto cover = std::make_shared<video::VideoCoverImageParams>();
  preprocessor_->SetCoverImageParams(cover);
  EXPECT_THAT(env_.journal().Take(),
              ElementsAre("preprocessor.SetBeautyStyle(1)", "preprocessor.SetBeautyLevel(0.25)",
                          "preprocessor.SetWhitenessLevel(0.5)", "preprocessor.SetRuddyLevel(0.75)",
                          "preprocessor.SetLUTColorFilter(warm)",
                          "preprocessor.SetLUTColorFilterStrength(0.5)",
                          "preprocessor.SetLUTColorFilter(warm, 0.1, cold, 0.2, 0.3)",
                          "preprocessor.SetGreenScreenParams({disabled 00FF00 0.4 0.1 null})",
                          "preprocessor.SetWatermark(logo, 0.1, 0.2, 0.3, true)",
                          "preprocessor.SetCoverImageParams({null 0})"));
  const PreprocessorDouble::Settings& settings = double_.settings();
  EXPECT_EQ(settings.beauty_style, video::BeautyStyle::kNatural);
  EXPECT_EQ(settings.beauty_level, 0.25f);
  EXPECT_EQ(settings.whiteness_level, 0.5f);
  EXPECT_EQ(settings.ruddy_level, 0.75f);
  EXPECT_EQ(settings.cover, cover);
}

TEST_F(PreprocessorDoubleTest, TellsOfEverySetting) {
  preprocessor_->SetSourceType(video::VideoSourceType::kScreen);
  preprocessor_->SetProducerMode(video::ProducerMode::kOwnSize);
  preprocessor_->SetFrameAdaptiveFlag(true);
  preprocessor_->SetMirror(video::MirrorMode::kEnabled);
  preprocessor_->SetRotation(video::VideoRotation::k90);
  preprocessor_->SetEncoderMirror(true);
  preprocessor_->SetEncoderOutputSize(640, 360);
  preprocessor_->SetEncoderRotation(video::VideoRotation::k180);
  preprocessor_->SetFrameAdaptiveMode(video::FrameAdaptiveMode::kFit);
  preprocessor_->SetGSensorMode(video::GSensorMode::kFollowLayout);
  EXPECT_THAT(
      env_.journal().Take(),
      ElementsAre(
          "preprocessor.SetSourceType(kScreen)", "preprocessor.SetProducerMode(kOwnSize)",
          "preprocessor.SetFrameAdaptiveFlag(true)", "preprocessor.SetMirror(kEnabled)",
          "preprocessor.SetRotation(k90)", "preprocessor.SetEncoderMirror(true)",
          "preprocessor.SetEncoderOutputSize(640, 360)", "preprocessor.SetEncoderRotation(k180)",
          "preprocessor.SetFrameAdaptiveMode(kFit)", "preprocessor.SetGSensorMode(kFollowLayout)"));
  const PreprocessorDouble::Settings& settings = double_.settings();
  EXPECT_EQ(settings.source_type, video::VideoSourceType::kScreen);
  EXPECT_EQ(settings.producer_mode, video::ProducerMode::kOwnSize);
  EXPECT_EQ(settings.frame_adaptive_flag, true);
  EXPECT_EQ(settings.mirror, video::MirrorMode::kEnabled);
  EXPECT_EQ(settings.rotation, video::VideoRotation::k90);
  EXPECT_EQ(settings.encoder_mirror, true);
  EXPECT_EQ(settings.encoder_output_size, (video::Size{640, 360}));
  EXPECT_EQ(settings.encoder_rotation, video::VideoRotation::k180);
  EXPECT_EQ(settings.frame_adaptive_mode, video::FrameAdaptiveMode::kFit);
  EXPECT_EQ(settings.g_sensor_mode, video::GSensorMode::kFollowLayout);
}

TEST_F(PreprocessorDoubleTest, ProcessesBetweenStartAndStop) {
  EXPECT_FALSE(double_.is_processing());
  preprocessor_->StartProcessing();
  EXPECT_TRUE(double_.is_processing());
  preprocessor_->StopProcessing();
  EXPECT_FALSE(double_.is_processing());
}

TEST_F(PreprocessorDoubleTest, HoldsItsInputWeakly) {
  auto reader = env_.Make<FrameReaderDouble>("input");
  preprocessor_->SetInputTrackReader(reader);
  EXPECT_EQ(double_.input().lock(), reader);
  reader.reset();
  EXPECT_TRUE(double_.input().expired());
}

TEST_F(PreprocessorDoubleTest, KeepsRegistrationsInTheOrderOfAddingAndRemovesEachOfAWriter) {
  const auto other = env_.Make<FrameWriterDouble>("other");
  video::CustomProcessParams params;
  params.width = 640;
  preprocessor_->AddOutputTrack(InterceptPosition::kEncoder, params, writer_);
  preprocessor_->AddOutputTrack(InterceptPosition::kPreview, {}, other);
  preprocessor_->AddOutputTrack(InterceptPosition::kPreview, {}, writer_);
  ASSERT_EQ(double_.output_tracks().size(), 3u);
  EXPECT_EQ(double_.output_tracks()[0].position, InterceptPosition::kEncoder);
  EXPECT_EQ(double_.output_tracks()[0].params, params);
  EXPECT_EQ(double_.output_tracks()[1].writer.lock(), other);
  EXPECT_EQ(double_.CountRegistrations(writer_), 2u);
  preprocessor_->RemoveOutputTrack(writer_);
  EXPECT_EQ(double_.CountRegistrations(writer_), 0u);
  EXPECT_EQ(double_.CountRegistrations(other), 1u);
}

TEST_F(PreprocessorDoubleTest, KeepsInterceptorsAndRemovesThemByIdentity) {
  const auto other = env_.Make<ListenerDouble>("other");
  preprocessor_->AddInterceptor(InterceptPosition::kCaptured, {}, listener_);
  preprocessor_->AddInterceptor(InterceptPosition::kBeautified, {}, other);
  preprocessor_->RemoveInterceptor(listener_);
  ASSERT_EQ(double_.interceptors().size(), 1u);
  EXPECT_EQ(double_.interceptors()[0].position, InterceptPosition::kBeautified);
  EXPECT_EQ(double_.interceptors()[0].listener.lock(), other);
}

TEST_F(PreprocessorDoubleTest, LosesRegistrationsWhoseObjectDies) {
  {
    const auto writer = env_.Make<FrameWriterDouble>("short");
    const auto listener = env_.Make<ListenerDouble>("short");
    preprocessor_->AddOutputTrack(InterceptPosition::kEncoder, {}, writer);
    preprocessor_->AddInterceptor(InterceptPosition::kCaptured, {}, listener);
  }
  EXPECT_THAT(double_.output_tracks(), IsEmpty());
  EXPECT_THAT(double_.interceptors(), IsEmpty());
}

TEST_F(PreprocessorDoubleTest, AnswersSnapshotsWhenTheTestSaysSo) {
  using Signature = void(std::shared_ptr<video::ObjcWrapper<NSImage>>);
  preprocessor_->Snapshot(env_.Callback<Signature>("first"));
  preprocessor_->Snapshot(env_.Callback<Signature>("second"));
  EXPECT_EQ(double_.waiting_snapshots(), 2u);
  double_.AnswerSnapshot(MakeImage("picture"));
  EXPECT_THAT(env_.journal().Take(),
              ElementsAre("preprocessor.Snapshot(callback)", "preprocessor.Snapshot(callback)",
                          "first(picture)", "~first"));
  preprocessor_.reset();
  EXPECT_THAT(env_.journal().Take(), ElementsAre("~second", "~preprocessor"));
}

TEST_F(PreprocessorDoubleTest, HasNothingToAnswerWithoutASnapshot) {
  EXPECT_THROW(double_.AnswerSnapshot(nullptr), std::logic_error);
}

}  // namespace
}  // namespace movra::testing
