#include <memory>
#include <utility>
#include <vector>

#include "core/run_loop.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "logging/recording_sink_for_test.h"
#include "media/frame/platform_objects.h"
#include "media/main_queue/off_the_main_queue_for_test.h"
#include "video/video_renderer_controller.h"

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using video::VideoRenderError;

class Client final : public video::IVideoRendererController::Client {
 public:
  void OnFocusAtPoint(int, int, int, int) override { ++others; }
  void OnZoom(float) override { ++others; }
  void OnRenderFirstFrame(video::RenderEventReason, unsigned int, unsigned int) override {
    ++others;
  }
  void OnClassicRenderFreeze(unsigned int) override { ++others; }
  void OnFeelingRenderFreeze(unsigned int) override { ++others; }
  void OnRenderError(VideoRenderError error) override { errors.push_back(error); }

  std::vector<VideoRenderError> errors;
  int others = 0;
};

class UnavailableRendererTest : public ::testing::Test {
 protected:
  UnavailableRendererTest() { core::SetMainQueue(main_); }
  ~UnavailableRendererTest() override { core::SetMainQueue(nullptr); }

  std::shared_ptr<core::RunLoop> main_ = std::make_shared<core::RunLoop>();
  std::shared_ptr<Client> client_ = std::make_shared<Client>();
  std::shared_ptr<video::IVideoRendererController> renderer_ =
      video::IVideoRendererController::Create(video::VideoContext(InstanceTrace(3), "[main]"),
                                              client_, main_);
};

TEST_F(UnavailableRendererTest, EachStartIsAnsweredOnTheMainQueueByTheError) {
  renderer_->Start();
  renderer_->Start();
  EXPECT_THAT(client_->errors, IsEmpty());
  main_->RunUntilIdle();
  EXPECT_THAT(client_->errors,
              ElementsAre(VideoRenderError::kNoDisplay, VideoRenderError::kNoDisplay));
  EXPECT_EQ(client_->others, 0);
}

TEST_F(UnavailableRendererTest, ItSaysSoOnceInTheLog) {
  movra_logging::RecordingSink log;
  renderer_->Start();
  renderer_->Start();
  EXPECT_THAT(log.texts(), ElementsAre("[trace:3][main] Rendering is not available yet"));
}

TEST_F(UnavailableRendererTest, ALogThatTakesNoWarningsIsToldNothing) {
  const movra_logging::RecordingSink log;
  movra_logging::SetMinLogLevel(movra_logging::kLogLevelError);
  renderer_->Start();
  movra_logging::SetMinLogLevel(movra_logging::kLogLevelInfo);
  renderer_->Start();
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(UnavailableRendererTest, TheClientIsHeldWeakly) {
  EXPECT_EQ(client_.use_count(), 1);
  renderer_->Start();
  client_.reset();
  renderer_.reset();
  main_->RunUntilIdle();
}

TEST_F(UnavailableRendererTest, ASnapshotIsAnsweredWithNullBeforeItReturns) {
  int answers = 0;
  renderer_->Snapshot(movra_base::BindOnce([&](std::shared_ptr<video::ObjcWrapper<NSImage>> image) {
    ++answers;
    EXPECT_EQ(image, nullptr);
  }));
  EXPECT_EQ(answers, 1);
}

TEST_F(UnavailableRendererTest, EverythingElseIsSafeAndChangesNothing) {
  renderer_->SetInputTrack(nullptr);
  renderer_->SetView(std::make_shared<video::ObjcWrapper<NSView>>(0));
  renderer_->SetFillMode(video::FillMode::kFit);
  renderer_->SetBackgroundColor(0xFF000000);
  renderer_->SetCameraFocusPosition(0.5F, 0.5F);
  renderer_->EnableManualFocus(true);
  renderer_->SetCustomRenderOutput(video::PixelFormat::kI420, video::BufferType::kMemory, nullptr);
  renderer_->ResetRenderState();
  renderer_->Stop(true);
  main_->RunUntilIdle();
  EXPECT_EQ(renderer_->GetStats().frames_rendered, 0U);
  EXPECT_THAT(client_->errors, IsEmpty());
  EXPECT_EQ(client_->others, 0);
}

TEST_F(UnavailableRendererTest, AnAnswerThatIsPendingAtTheStopIsDropped) {
  renderer_->Start();
  renderer_->Stop(false);
  renderer_->Start();
  main_->RunUntilIdle();
  EXPECT_THAT(client_->errors, ElementsAre(VideoRenderError::kNoDisplay));
}

TEST_F(UnavailableRendererTest, EachOperationOffTheMainQueueIsTold) {
  using Renderer = video::IVideoRendererController;
  const std::vector<NamedOperation<Renderer>> operations = {
      {"Start", [](Renderer& r) { r.Start(); }},
      {"Stop", [](Renderer& r) { r.Stop(false); }},
      {"SetInputTrack", [](Renderer& r) { r.SetInputTrack(nullptr); }},
      {"SetView", [](Renderer& r) { r.SetView(nullptr); }},
      {"SetFillMode", [](Renderer& r) { r.SetFillMode(video::FillMode::kFit); }},
      {"SetBackgroundColor", [](Renderer& r) { r.SetBackgroundColor(0); }},
      {"SetCameraFocusPosition", [](Renderer& r) { r.SetCameraFocusPosition(0, 0); }},
      {"EnableManualFocus", [](Renderer& r) { r.EnableManualFocus(true); }},
      {"SetCustomRenderOutput",
       [](Renderer& r) { r.SetCustomRenderOutput({}, video::BufferType::kMemory, nullptr); }},
      {"ResetRenderState", [](Renderer& r) { r.ResetRenderState(); }},
      {"Snapshot", [](Renderer& r) { r.Snapshot({}); }},
      {"GetStats", [](Renderer& r) { static_cast<void>(r.GetStats()); }},
  };
  const auto make = [this] {
    return Renderer::Create(video::VideoContext(InstanceTrace(3), "[main]"), client_, main_);
  };
  ExpectToldOffTheMainQueue(operations, make, "a renderer");
}

}  // namespace
}  // namespace movra::media
