#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>

#include "core/no_more_threads_for_test.h"
#include "media/capture/camera_error.h"
#include "media/capture/source_capture_for_test.h"

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using video::StreamEnd;

TEST_F(SourceCaptureTest, StopWaitsForNoSourceAndNothingThatItStillDeliversIsWritten) {
  for (const SourceItem& late : {SourceItem(MakeSourceFrame(1)), SourceItem(StreamEnd{})}) {
    writer_ = std::make_shared<CollectingWriter>();
    auto script = MakeScript(1);
    script->items.pop_back();
    script->is_deaf = true;
    script->last_item = late;
    SourceCapture& capture = Start(script);
    script->WaitUntilWaiting();
    capture.Stop();
    EXPECT_FALSE(writer_->has_room_callback());
    WaitFor(capture.writer_let_go());
    script->LetOn();
    WaitFor(capture.camera_let_go());
    EXPECT_EQ(writer_->frames().size(), 1u);
    EXPECT_FALSE(writer_->end().has_value());
  }
}

TEST_F(SourceCaptureTest, MayEndBeforeItsSourceDoes) {
  auto script = MakeScript(1);
  script->open_waits = true;
  script->is_deaf = true;
  Start(script);
  script->WaitUntilWaiting();
  capture_->Stop();
  capture_.reset();
  writer_.reset();
  script->LetOn();
  script->WaitUntilGone();
  EXPECT_EQ(*opened_, -1) << "a start that was stopped has its answer already";
}

TEST_F(SourceCaptureTest, StopWaitsForNoWriteAndLetsGoOfTheWriterBehindIt) {
  const auto writer = std::make_shared<HeldWriter>();
  MakeInto(writer, MakeScript(3));
  ASSERT_TRUE(capture_->Start(Opened()));
  writer->WaitUntilWriting();
  capture_->Stop();
  std::atomic<bool> let_go = false;
  capture_->writer_let_go().Then([&] { let_go = true; });
  EXPECT_FALSE(let_go);
  writer->LetOn();
  WaitFor(capture_->camera_let_go());
  EXPECT_TRUE(let_go);
  EXPECT_EQ(writer->writes(), 1);
  EXPECT_EQ(writer->ends(), 0);
}

TEST_F(SourceCaptureTest, MakesItsSourceWhenTheEarlierOnesHaveLetGo) {
  const auto clock = std::make_shared<StandingClock>();
  clock_ = clock;
  Release first;
  Release second;
  auto script = MakeScript(1);
  script->policy.paced = false;
  SourceCapture& capture = Make(script);
  capture.WaitFor(first);
  capture.WaitFor(second);
  first.Done();
  ASSERT_TRUE(capture.Start(Opened()));
  clock->WaitUntilWaiting();
  EXPECT_EQ(*opened_, -1);
  EXPECT_TRUE(script->IsGone());
  second.Done();
  writer_->WaitForEnd();
  EXPECT_EQ(*opened_, 0);
}

TEST_F(SourceCaptureTest, IsBusyWhenTheEarlierOneKeepsItsCameraForFiveSeconds) {
  const auto clock = std::make_shared<JumpingClock>();
  clock_ = clock;
  Release earlier;
  SourceCapture& capture = Make(MakeScript(1));
  capture.WaitFor(earlier);
  ASSERT_TRUE(capture.Start(Opened()));
  WaitFor(capture.camera_let_go());
  EXPECT_EQ(*opened_, static_cast<int>(CameraError::kBusy));
  EXPECT_THAT(clock->waits(), ElementsAre(std::chrono::seconds(5)));
  EXPECT_TRUE(writer_->frames().empty());
  earlier.Done();
}

TEST_F(SourceCaptureTest, MakesNoSourceOnceItIsStopped) {
  const auto clock = std::make_shared<StandingClock>();
  clock_ = clock;
  Release earlier;
  auto script = MakeScript(1);
  SourceCapture& capture = Make(script);
  capture.WaitFor(earlier);
  ASSERT_TRUE(capture.Start(Opened()));
  clock->WaitUntilWaiting();
  StopAndWait(capture);
  EXPECT_TRUE(script->requests.empty());
  EXPECT_EQ(*opened_, -1);
}

TEST_F(SourceCaptureTest, InterruptsASourceThatIsMadeBehindTheStop) {
  const auto script = MakeScript(0);
  script->items.clear();
  script->open_waits = true;
  std::promise<void> making;
  std::promise<void> stopped;
  MakeOf(movra_base::BindOnce([&]() -> std::unique_ptr<FrameSource> {
           making.set_value();
           stopped.get_future().wait();
           return std::make_unique<ScriptedSource>(script);
         }),
         writer_);
  ASSERT_TRUE(capture_->Start(Opened()));
  making.get_future().wait();
  capture_->Stop();
  stopped.set_value();
  WaitFor(capture_->camera_let_go());
  EXPECT_TRUE(script->interrupted);
}

TEST_F(SourceCaptureTest, SaysThatThereIsNoSuchCameraWhenNoneIsMade) {
  MakeOf(movra_base::BindOnce([]() -> std::unique_ptr<FrameSource> { return nullptr; }), writer_);
  ASSERT_TRUE(capture_->Start(Opened()));
  WaitFor(capture_->camera_let_go());
  EXPECT_EQ(*opened_, static_cast<int>(CameraError::kNoSuchCamera));
}

TEST_F(SourceCaptureTest, IsNotStartedWhereThereIsNoThreadToBeHad) {
  const auto script = MakeScript(1);
  SourceCapture& capture = Make(script);
  {
    const core::NoMoreThreads none;
    EXPECT_FALSE(capture.Start(Opened()));
  }
  capture.Stop();
  EXPECT_EQ(*opened_, -1);
  EXPECT_TRUE(script->requests.empty());
  capture_.reset();
}

}  // namespace
}  // namespace movra::media
