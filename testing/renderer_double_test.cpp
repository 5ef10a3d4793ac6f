#include "testing/renderer_double.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "testing/application_doubles.h"
#include "testing/environment.h"

namespace movra::testing {
namespace {

using ::testing::ElementsAre;

class RenderClient : public video::IVideoRendererController::Client, public Named {
 public:
  using Named::Named;
  void OnFocusAtPoint(int, int, int, int) override {}
  void OnZoom(float) override {}
  void OnRenderFirstFrame(video::RenderEventReason, unsigned int, unsigned int) override {}
  void OnClassicRenderFreeze(unsigned int) override {}
  void OnFeelingRenderFreeze(unsigned int) override {}
  void OnRenderError(video::VideoRenderError) override {}
};

class RendererDoubleTest : public ::testing::Test {
 protected:
  void SetUp() override { env_.journal().Clear(); }

  Environment env_;
  const std::shared_ptr<SimulatedQueue> queue_ = std::make_shared<SimulatedQueue>("queue");
  std::shared_ptr<RenderClient> client_ = std::make_shared<RenderClient>("client");
  std::shared_ptr<video::IVideoRendererController> renderer_ =
      video::IVideoRendererController::Create({InstanceTrace(7), "[call]"}, client_, queue_);
  RendererDouble& double_ = env_.world().renderers.Last();
  const std::shared_ptr<FrameReaderDouble> reader_ = env_.Make<FrameReaderDouble>("input");
  const std::shared_ptr<FrameWriterDouble> writer_ = env_.Make<FrameWriterDouble>("tap");
};

TEST_F(RendererDoubleTest, TellsOfItsMakingAndOfItsEnd) {
  const auto second =
      video::IVideoRendererController::Create({InstanceTrace(8), ""}, client_, queue_);
  renderer_.reset();
  EXPECT_THAT(env_.journal().Take(),
              ElementsAre("IVideoRendererController.Create({8}, client, queue)", "~renderer"));
  EXPECT_EQ(env_.world().renderers.Last().name(), "renderer#2");
}

TEST_F(RendererDoubleTest, KeepsWhatItWasMadeWithAndTheClientWeakly) {
  EXPECT_EQ(double_.context().log_tag(), "[call]");
  EXPECT_EQ(double_.queue(), queue_);
  EXPECT_EQ(double_.client(), client_);
  client_.reset();
  EXPECT_EQ(double_.client(), nullptr);
}

TEST_F(RendererDoubleTest, IsNotMadeWhenTheFactoryFails) {
  env_.world().answers.makes_renderer = false;
  EXPECT_EQ(video::IVideoRendererController::Create({InstanceTrace(8), ""}, {}, nullptr), nullptr);
  EXPECT_THAT(env_.journal().Take(),
              ElementsAre("IVideoRendererController.Create({8}, null, null)"));
}

TEST_F(RendererDoubleTest, TellsOfEveryCall) {
  renderer_->Start();
  renderer_->Stop(false);
  renderer_->SetInputTrack(reader_);
  renderer_->SetView(MakeView("view"));
  renderer_->SetFillMode(video::FillMode::kFit);
  renderer_->SetBackgroundColor(0xFF000000u);
  renderer_->SetCameraFocusPosition(0.25f, 0.5f);
  renderer_->EnableManualFocus(true);
  renderer_->SetCustomRenderOutput(video::PixelFormat::kI420, video::BufferType::kMemory, writer_);
  renderer_->ResetRenderState();
  renderer_->Snapshot({});
  double_.stats.frames_rendered = 9;
  EXPECT_EQ(renderer_->GetStats().frames_rendered, 9u);
  EXPECT_THAT(
      env_.journal().Take(),
      ElementsAre("renderer.Start()", "renderer.Stop(false)", "renderer.SetInputTrack(input)",
                  "renderer.SetView(view)", "renderer.SetFillMode(kFit)",
                  "renderer.SetBackgroundColor(4278190080)",
                  "renderer.SetCameraFocusPosition(0.25, 0.5)", "renderer.EnableManualFocus(true)",
                  "renderer.SetCustomRenderOutput(kI420, kMemory, tap)",
                  "renderer.ResetRenderState()", "renderer.Snapshot(null)", "renderer.GetStats()"));
}

TEST_F(RendererDoubleTest, RemembersWhatItWasToldLast) {
  const auto view = MakeView("view");
  renderer_->Start();
  renderer_->SetInputTrack(reader_);
  renderer_->SetView(view);
  renderer_->SetFillMode(video::FillMode::kFit);
  renderer_->SetBackgroundColor(5);
  renderer_->EnableManualFocus(true);
  renderer_->SetCustomRenderOutput(video::PixelFormat::kI420, video::BufferType::kTexture, writer_);
  EXPECT_TRUE(double_.is_started());
  EXPECT_EQ(double_.input(), reader_);
  EXPECT_EQ(double_.view(), view);
  EXPECT_EQ(double_.fill_mode(), video::FillMode::kFit);
  EXPECT_EQ(double_.background_color(), 5u);
  EXPECT_EQ(double_.manual_focus(), true);
  EXPECT_EQ(double_.custom_output().value().format, video::PixelFormat::kI420);
  EXPECT_EQ(double_.custom_output().value().type, video::BufferType::kTexture);
  EXPECT_EQ(double_.custom_output().value().writer, writer_);
  renderer_->Stop(true);
  renderer_->SetInputTrack(nullptr);
  renderer_->SetView(nullptr);
  EXPECT_FALSE(double_.is_started());
  EXPECT_EQ(double_.input(), nullptr);
  EXPECT_EQ(double_.view(), nullptr);
}

TEST_F(RendererDoubleTest, AnswersSnapshotsWhenTheTestSaysSo) {
  using Signature = void(std::shared_ptr<video::ObjcWrapper<NSImage>>);
  renderer_->Snapshot(env_.Callback<Signature>("first"));
  renderer_->Snapshot(env_.Callback<Signature>("second"));
  env_.journal().Clear();
  double_.AnswerSnapshot(nullptr);
  EXPECT_EQ(double_.waiting_snapshots(), 1u);
  renderer_.reset();
  EXPECT_THAT(env_.journal().Take(), ElementsAre("first(null)", "~first", "~second", "~renderer"));
}

TEST_F(RendererDoubleTest, HasNothingToAnswerWithoutASnapshot) {
  EXPECT_THROW(double_.AnswerSnapshot(nullptr), std::logic_error);
}

}  // namespace
}  // namespace movra::testing
