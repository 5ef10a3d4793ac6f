#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/location.h"
#include "core/notification_center.h"
#include "media/camera/camera_service_for_test.h"

// What the camera service publishes when a capture ends by itself or cannot begin.

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using video::CaptureEnd;
using video::CaptureEndKind;

struct Listener {
  void OnEnded(const CaptureEnd& end) {
    ends.push_back(end);
    if (on_end) on_end();
  }
  std::vector<CaptureEnd> ends;
  std::function<void()> on_end;
};

class CaptureEndedTest : public CameraServiceTest {
 protected:
  CaptureEndedTest() {
    core::SubscribeEvent<std::function<void(const CaptureEnd&)>>(
        video::kCaptureEndedNotification, "", core::Location(__FILE__, __LINE__), listener_,
        &Listener::OnEnded);
  }

  const std::vector<CaptureEnd>& ends() const { return listener_->ends; }
  void RunUntilTold() {
    listener_->on_end = [this] { loop_->Quit(); };
    loop_->Run();
  }

  const std::shared_ptr<Listener> listener_ = std::make_shared<Listener>();
};

TEST_F(CaptureEndedTest, ACameraThatIsLostIsToldOnceAndOnTheMainQueue) {
  const auto a = Add("a", MakeScript(1));
  a->info.traits.keeps_time = true;
  a->items.back() = video::StreamEnd{.error_code = 11, .reason = "unplugged"};
  Start(Params("a"), writer_);
  EXPECT_THAT(ends(), IsEmpty());
  RunUntilTold();
  ASSERT_THAT(ends(), SizeIs(1));
  EXPECT_EQ(ends()[0].camera_id, "a");
  EXPECT_EQ(ends()[0].kind, CaptureEndKind::kLost);
  EXPECT_EQ(ends()[0].error_code, 11);
  EXPECT_EQ(ends()[0].text, "unplugged");
  EXPECT_EQ(service_->GetCaptureStat(Params("a")), 1u);
  EXPECT_THAT(answers_, ElementsAre(0));
}

TEST_F(CaptureEndedTest, OneThatIsStoppedBeforeTheMainQueueComesToItIsNotTold) {
  for (const bool is_lost : {false, true}) {
    const auto a = Add("a", MakeScript(0));
    a->info.traits.keeps_time = is_lost;
    Start(Params("a"), writer_);
    a->WaitUntilGone();  // The news has been posted by now.
    Stop(Params("a"), writer_);
    loop_->RunUntilIdle();
  }
  EXPECT_THAT(ends(), IsEmpty());
}

TEST_F(CaptureEndedTest, ASourceThatEndsIsToldWithItsCode) {
  const auto a = Add("a", MakeScript(1));
  a->items.back() = video::StreamEnd{.error_code = 12, .reason = "torn"};
  Start(Params("a"), writer_);
  RunUntilTold();
  ASSERT_THAT(ends(), SizeIs(1));
  EXPECT_EQ(ends()[0].kind, CaptureEndKind::kEnded);
  EXPECT_EQ(ends()[0].error_code, 12);
  EXPECT_EQ(ends()[0].text, "torn");
}

TEST_F(CaptureEndedTest, WhyACameraCannotBeStartedIsToldBeforeTheAnswer) {
  const auto a = Add("a", MakeScript(1));
  a->info.error_code = Code(CameraError::kNotAVideo);
  a->info.error_text = "it is a poem";
  std::size_t answers_when_told = 99;
  listener_->on_end = [&] { answers_when_told = answers_.size(); };
  Start(Params("a"), writer_);
  RunUntilAnswered();
  EXPECT_EQ(answers_when_told, 0u);
  EXPECT_THAT(answers_, ElementsAre(Code(CameraError::kNotAVideo)));
  ASSERT_THAT(ends(), SizeIs(1));
  EXPECT_EQ(ends()[0].camera_id, "a");
  EXPECT_EQ(ends()[0].kind, CaptureEndKind::kNotStarted);
  EXPECT_EQ(ends()[0].error_code, Code(CameraError::kNotAVideo));
  EXPECT_EQ(ends()[0].text, "it is a poem");
}

TEST_F(CaptureEndedTest, AnUnknownCameraIsNamedInTheText) {
  Start(Params("nonsense"), writer_);
  RunUntilAnswered();
  ASSERT_THAT(ends(), SizeIs(1));
  EXPECT_EQ(ends()[0].text, "no camera is called 'nonsense'");
}

TEST_F(CaptureEndedTest, AHandlerMayStopTheCaptureAndTheStartIsAnsweredOnceWithItsCode) {
  listener_->on_end = [this] { Stop(Params("a"), writer_); };
  Start(Params("a"), writer_);
  RunUntilAnswered();
  loop_->RunUntilIdle();
  EXPECT_THAT(answers_, ElementsAre(Code(CameraError::kNoSuchCamera)));
  EXPECT_THAT(ends(), SizeIs(1));
  EXPECT_EQ(stopped_, 1);
}

}  // namespace
}  // namespace movra::media
