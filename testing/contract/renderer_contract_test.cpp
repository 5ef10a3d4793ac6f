// What every renderer promises, whoever made it: linked once with the doubles and once with the
// real collaborators, of which it sees the factory alone.

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/once_callback.h"
#include "core/run_loop.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "video/video_renderer_controller.h"

namespace movra::video {
namespace {

using ::testing::IsEmpty;

class RecordingClient final : public IVideoRendererController::Client {
 public:
  void OnFocusAtPoint(int, int, int, int) override { events_.emplace_back("FocusAtPoint"); }
  void OnZoom(float) override { events_.emplace_back("Zoom"); }
  void OnRenderFirstFrame(RenderEventReason, unsigned int, unsigned int) override {
    events_.emplace_back("FirstFrame");
  }
  void OnClassicRenderFreeze(unsigned int) override { events_.emplace_back("ClassicFreeze"); }
  void OnFeelingRenderFreeze(unsigned int) override { events_.emplace_back("FeelingFreeze"); }
  void OnRenderError(VideoRenderError) override { events_.emplace_back("Error"); }

  [[nodiscard]] const std::vector<std::string>& events() const { return events_; }

 private:
  std::vector<std::string> events_;
};

class RendererContract : public ::testing::Test {
 protected:
  RendererContract() {
    core::SetMainQueue(main_);
    renderer_ = Make();
  }
  ~RendererContract() override {
    renderer_.reset();
    main_->RunUntilIdle();
    core::SetMainQueue(nullptr);
  }

  std::shared_ptr<IVideoRendererController> Make() {
    return IVideoRendererController::Create(VideoContext(InstanceTrace(3), "[main]"), client_,
                                            main_);
  }

  const std::shared_ptr<core::RunLoop> main_ = std::make_shared<core::RunLoop>();
  std::shared_ptr<RecordingClient> client_ = std::make_shared<RecordingClient>();
  std::shared_ptr<IVideoRendererController> renderer_;
};

TEST_F(RendererContract, EachCallOfTheFactoryMakesAnother) { EXPECT_NE(Make(), renderer_); }

TEST_F(RendererContract, NothingIsReportedWithinACall) {
  renderer_->Start();
  renderer_->Start();
  renderer_->Stop(false);
  EXPECT_THAT(client_->events(), IsEmpty());
}

TEST_F(RendererContract, AStoppedStartIsNotAnswered) {
  renderer_->Start();
  renderer_->Stop(true);
  main_->RunUntilIdle();
  EXPECT_THAT(client_->events(), IsEmpty());
}

TEST_F(RendererContract, EverythingButAStartIsHarmlessWhenNothingRuns) {
  renderer_->Stop(false);
  renderer_->SetInputTrack(nullptr);
  renderer_->SetView(nullptr);
  renderer_->SetFillMode(FillMode{});
  renderer_->SetBackgroundColor(0xff000000);
  renderer_->SetCameraFocusPosition(0.5F, 0.5F);
  renderer_->EnableManualFocus(true);
  renderer_->SetCustomRenderOutput(PixelFormat::kNone, BufferType::kMemory, nullptr);
  renderer_->ResetRenderState();
  renderer_->Stop(true);
  main_->RunUntilIdle();
  EXPECT_THAT(client_->events(), IsEmpty());
}

TEST_F(RendererContract, TheClientIsHeldWeakly) {
  EXPECT_EQ(client_.use_count(), 1);
  renderer_->Start();
  const std::weak_ptr<RecordingClient> watch = client_;
  client_.reset();
  EXPECT_TRUE(watch.expired());
  main_->RunUntilIdle();
}

TEST_F(RendererContract, AReleasedRendererStopsByItself) {
  renderer_->Start();
  renderer_.reset();
  main_->RunUntilIdle();
  EXPECT_THAT(client_->events(), IsEmpty());
}

// Kept until it is answered, and never longer than the renderer.
TEST_F(RendererContract, ASnapshotIsAnsweredAtMostOnceAndItsCallbackReleased) {
  int answers = 0;
  auto held = std::make_shared<int>();
  const std::weak_ptr<int> watch = held;
  renderer_->Snapshot(movra_base::BindOnce(
      [&answers, held = std::move(held)](std::shared_ptr<ObjcWrapper<NSImage>> image) {
        ++answers;
        EXPECT_EQ(image, nullptr);
      }));
  main_->RunUntilIdle();
  renderer_.reset();
  main_->RunUntilIdle();
  EXPECT_LE(answers, 1);
  EXPECT_TRUE(watch.expired());
}

TEST_F(RendererContract, WhatItWasGivenIsLetGoOfWhenItIsTakenAwayAndAtTheEnd) {
  for (const bool taken_away : {true, false}) {
    const auto track = IPixelFrameTrack::Create("preview", 1);
    const auto reader = track->GetReader();
    const auto writer = track->GetWriter();
    const std::pair own(reader.use_count(), writer.use_count());
    renderer_->SetInputTrack(reader);
    renderer_->SetCustomRenderOutput(PixelFormat::kI420, BufferType::kMemory, writer);
    if (taken_away) {
      renderer_->SetInputTrack(nullptr);
      renderer_->SetCustomRenderOutput(PixelFormat::kNone, BufferType::kMemory, nullptr);
    } else {
      renderer_.reset();
    }
    EXPECT_EQ(std::pair(reader.use_count(), writer.use_count()), own) << taken_away;
  }
}

}  // namespace
}  // namespace movra::video
