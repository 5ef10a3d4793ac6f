#include "testing/encoder_double.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "testing/application_doubles.h"
#include "testing/environment.h"

namespace movra::testing {
namespace {

using ::testing::ElementsAre;
using video::IVideoEncoderController;
using video::VideoStreamType;

class EncoderClient : public IVideoEncoderController::Client, public Named {
 public:
  using Named::Named;
  void OnEncoderNeededFormatChanged(VideoStreamType, video::PixelFormat,
                                    video::BufferType) override {}
  void OnEncoderPropertyChanged(VideoStreamType, const video::EncoderProperty&,
                                const video::EncoderProperty&) override {}
  void OnEncodeAbilityChanged(VideoStreamType, const video::EncodeAbility&) override {}
  void OnEncoderError(VideoStreamType, video::VideoEncoderError,
                      const movra_base::Value&) override {}
};

class EncoderDoubleTest : public ::testing::Test {
 protected:
  void SetUp() override { env_.journal().Clear(); }

  std::shared_ptr<IVideoEncoderController> Make(VideoStreamType type) {
    return IVideoEncoderController::CreateVideoEncoderController({InstanceTrace(7), "[call]"}, type,
                                                                 client_);
  }

  Environment env_;
  std::shared_ptr<EncoderClient> client_ = std::make_shared<EncoderClient>("client");
  std::shared_ptr<IVideoEncoderController> encoder_ = Make(VideoStreamType::kBig);
  EncoderDouble& double_ = env_.world().big_encoders.Last();
};

TEST_F(EncoderDoubleTest, TellsOfItsMakingWithTheTypeAsItIsAndOfItsEnd) {
  auto small = Make(VideoStreamType::kSmall);
  auto other = Make(VideoStreamType{2});
  EXPECT_EQ(env_.world().small_encoders.Last().type(), VideoStreamType::kSmall);
  EXPECT_EQ(env_.world().big_encoders.Last().type(), VideoStreamType{2});
  small.reset();
  other.reset();
  EXPECT_THAT(
      env_.journal().Take(),
      ElementsAre(
          "IVideoEncoderController.CreateVideoEncoderController({7 [call]}, kSmall, client)",
          "IVideoEncoderController.CreateVideoEncoderController({7 [call]}, VideoStreamType(2), "
          "client)",
          "~small_encoder", "~big_encoder#2"));
}

TEST_F(EncoderDoubleTest, KeepsWhatItWasMadeWithAndTheClientWeakly) {
  EXPECT_EQ(double_.context().log_tag(), "[call]");
  EXPECT_EQ(double_.client(), client_);
  client_.reset();
  EXPECT_EQ(double_.client(), nullptr);
}

TEST_F(EncoderDoubleTest, IsNotMadeWhenTheFactoryFails) {
  env_.world().answers.makes_encoder = false;
  EXPECT_EQ(Make(VideoStreamType::kBig), nullptr);
}

TEST_F(EncoderDoubleTest, AnswersTheInputFormatOfTheTest) {
  env_.world().answers.encoder_input_format = {video::BufferType::kTexture,
                                               video::PixelFormat::kNV12};
  EXPECT_EQ(IVideoEncoderController::QueryInputPixelFormat(VideoStreamType::kSmall, {}),
            env_.world().answers.encoder_input_format);
  EXPECT_THAT(env_.journal().Take(),
              ElementsAre("IVideoEncoderController.QueryInputPixelFormat(kSmall, {})"));
}

TEST_F(EncoderDoubleTest, TellsOfEveryCall) {
  const auto reader = env_.Make<FrameReaderDouble>("input");
  const auto writer = env_.Make<EncodedWriterDouble>("output");
  double_.stats.record.frames_in = 9;
  double_.property.implementation = "x264";
  encoder_->Start();
  encoder_->Stop(1000);
  encoder_->RequestKeyFrame();
  EXPECT_FALSE(encoder_->IsStarted());
  EXPECT_EQ(encoder_->GetStats().record.frames_in, 9u);
  EXPECT_EQ(encoder_->GetProperty().implementation, "x264");
  encoder_->SetEncodeParams({});
  encoder_->SetInputTrackReader(reader);
  encoder_->SetOutputTrackWriter(writer);
  encoder_->SetRpsNearestRefSize(3);
  encoder_->DeliverRpsAck(-4, 5);
  encoder_->SetRoiConfig({{1, 2, 3, 4, 5}});
  EXPECT_THAT(
      env_.journal().Take(),
      ElementsAre("big_encoder.Start()", "big_encoder.Stop(1000)", "big_encoder.RequestKeyFrame()",
                  "big_encoder.IsStarted()", "big_encoder.GetStats()", "big_encoder.GetProperty()",
                  "big_encoder.SetEncodeParams({})", "big_encoder.SetInputTrackReader(input)",
                  "big_encoder.SetOutputTrackWriter(output)", "big_encoder.SetRpsNearestRefSize(3)",
                  "big_encoder.DeliverRpsAck(-4, 5)", "big_encoder.SetRoiConfig([{3x4+1+2 qp5}])"));
}

TEST_F(EncoderDoubleTest, IsStartedBetweenStartAndStopOrAsTheTestSays) {
  EXPECT_FALSE(encoder_->IsStarted());
  encoder_->Start();
  EXPECT_TRUE(encoder_->IsStarted());
  EXPECT_TRUE(double_.is_started());
  encoder_->Stop(0);
  EXPECT_FALSE(encoder_->IsStarted());
  double_.set_started(true);
  EXPECT_TRUE(encoder_->IsStarted());
}

TEST_F(EncoderDoubleTest, RemembersItsParametersAndItsTracksWeakly) {
  auto reader = env_.Make<FrameReaderDouble>("input");
  auto writer = env_.Make<EncodedWriterDouble>("output");
  video::EncodeParams params;
  params.width = 640;
  EXPECT_FALSE(double_.params().has_value());
  encoder_->SetEncodeParams(params);
  encoder_->SetInputTrackReader(reader);
  encoder_->SetOutputTrackWriter(writer);
  EXPECT_EQ(double_.params().value().width, 640);
  EXPECT_EQ(double_.input().lock(), reader);
  EXPECT_EQ(double_.output().lock(), writer);
  reader.reset();
  writer.reset();
  EXPECT_TRUE(double_.input().expired());
  EXPECT_TRUE(double_.output().expired());
}

}  // namespace
}  // namespace movra::testing
