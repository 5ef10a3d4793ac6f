#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "logging/log_sink.h"
#include "media/capture/source_capture_for_test.h"

// What a capture tells when its source cannot be opened or comes to its end.

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using video::CaptureEnd;
using video::CaptureEndKind;
using video::StreamEnd;

// The warning lines of all threads.
class WarningSink final : public movra_logging::LogSink {
 public:
  WarningSink() { movra_logging::AddLogSink(this); }
  ~WarningSink() override { movra_logging::RemoveLogSink(this); }
  WarningSink(const WarningSink&) = delete;
  WarningSink& operator=(const WarningSink&) = delete;

  void Send(const movra_logging::LogRecord& record) override {
    const std::lock_guard lock(mutex_);
    if (record.level == movra_logging::kLogLevelWarning) lines_.emplace_back(record.text);
  }
  [[nodiscard]] std::vector<std::string> lines() const {
    const std::lock_guard lock(mutex_);
    return lines_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;  // Guarded by mutex_.
};

// A source that throws when it is read.
class ThrowingSource final : public FrameSource {
 public:
  video::CameraInfo Describe() override { return {}; }
  video::CameraInfo Open(const CaptureRequest& /*request*/) override { return {}; }
  [[nodiscard]] SourcePolicy Policy() const override { return {}; }
  SourceItem Read(const CaptureRequest& /*request*/) override { throw std::runtime_error("boom"); }
  void Interrupt() override {}
};

class CaptureEndTest : public SourceCaptureTest {
 protected:
  // Starts what was made, and waits until nothing more comes of it.
  void Run() {
    ASSERT_TRUE(capture_->Start([this](const video::CameraInfo& info) { info_ = info; },
                                [this](const CaptureEnd& end) {
                                  ends_.push_back(end);
                                  was_marked_ = writer_->end().has_value();
                                }));
    WaitFor(capture_->camera_let_go());
  }
  void Run(std::shared_ptr<SourceScript> script) {
    Make(std::move(script));
    Run();
  }

  const WarningSink log_;
  // Written on the capture's thread, read when it has let go of its camera.
  video::CameraInfo info_;
  std::vector<CaptureEnd> ends_;
  bool was_marked_ = false;  // When the end was told.
};

TEST_F(CaptureEndTest, ALiveSourceThatBreaksOffFallsSilentAndTellsWhy) {
  auto script = MakeScript(2);
  script->info.traits.keeps_time = true;
  script->items.back() = StreamEnd{.error_code = 11, .reason = "unplugged", .damaged_frames = 3};
  Run(script);
  ASSERT_EQ(ends_.size(), 1u);
  EXPECT_EQ(ends_[0].camera_id, "cam:");
  EXPECT_EQ(ends_[0].kind, CaptureEndKind::kLost);
  EXPECT_EQ(ends_[0].error_code, 11);
  EXPECT_EQ(ends_[0].text, "unplugged");
  EXPECT_EQ(ends_[0].damaged_frames, 3u);
  EXPECT_EQ(writer_->frames().size(), 2u);
  EXPECT_FALSE(writer_->end().has_value());
  EXPECT_THAT(log_.lines(), ElementsAre("The camera cam: broke off: unplugged"));
}

TEST_F(CaptureEndTest, ALiveSourceThatEndsWithoutACodeIsToldWhatItsTraitsSay) {
  auto script = MakeScript(1);
  script->info.traits.keeps_time = true;
  Run(script);
  ASSERT_EQ(ends_.size(), 1u);
  EXPECT_EQ(ends_[0].kind, CaptureEndKind::kLost);
  EXPECT_EQ(ends_[0].text, "it ended, though its traits say that it has no end");
  EXPECT_EQ(log_.lines().size(), 1u);
}

TEST_F(CaptureEndTest, WhatHasAnEndOrCanBeginAgainEndsThoughItKeepsTime) {
  for (const video::SourceTraits traits :
       {video::SourceTraits{.has_end = true, .keeps_time = true},
        video::SourceTraits{.keeps_time = true, .replayable = true}}) {
    writer_ = std::make_shared<CollectingWriter>();
    ends_.clear();
    auto script = MakeScript(1);
    script->info.traits = traits;
    Run(script);
    EXPECT_TRUE(writer_->end().has_value());
    ASSERT_EQ(ends_.size(), 1u);
    EXPECT_EQ(ends_[0].kind, CaptureEndKind::kEnded);
    EXPECT_EQ(ends_[0].error_code, 0);
    EXPECT_EQ(ends_[0].text, "");
  }
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(CaptureEndTest, ASourceThatBreaksOffIsToldBeforeItsStreamsEnd) {
  auto script = MakeScript(1);
  script->info.traits.has_end = true;
  script->items.back() = StreamEnd{.error_code = 12, .reason = "half of it is missing"};
  Run(script);
  ASSERT_EQ(ends_.size(), 1u);
  EXPECT_EQ(ends_[0].kind, CaptureEndKind::kEnded);
  EXPECT_EQ(ends_[0].error_code, 12);
  EXPECT_EQ(ends_[0].text, "half of it is missing");
  EXPECT_FALSE(was_marked_);
  EXPECT_EQ(writer_->end()->reason, "half of it is missing");
  EXPECT_THAT(log_.lines(), ElementsAre("The camera cam: broke off: half of it is missing"));
}

TEST_F(CaptureEndTest, AnErrorWithoutATextGetsThatOfItsCode) {
  auto script = MakeScript(0);
  script->info.traits.has_end = true;
  script->items.back() = StreamEnd{.error_code = 1234, .reason = ""};
  Run(script);
  ASSERT_EQ(ends_.size(), 1u);
  EXPECT_EQ(ends_[0].text, "CameraError(1234)");

  script = MakeScript(0);
  script->info.error_code = static_cast<int>(CameraError::kBusy);
  Run(script);
  EXPECT_EQ(info_.error_text, "still in use");
  EXPECT_EQ(ends_.size(), 1u) << "what was never open has no end";
  EXPECT_THAT(log_.lines(), ElementsAre("The camera cam: broke off: CameraError(1234)",
                                        "The camera cam: cannot be started: still in use"));
}

TEST_F(CaptureEndTest, WhatThrowsIsToldInOneLine) {
  MakeOf(movra_base::BindOnce(
             []() -> std::unique_ptr<FrameSource> { return std::make_unique<ThrowingSource>(); }),
         writer_);
  Run();
  ASSERT_EQ(ends_.size(), 1u);
  EXPECT_EQ(ends_[0].text, "reading failed: boom");
  EXPECT_EQ(writer_->end()->reason, "reading failed: boom");
  EXPECT_THAT(log_.lines(), ElementsAre("The camera cam: threw: boom"));

  MakeOf(movra_base::BindOnce(
             []() -> std::unique_ptr<FrameSource> { throw std::runtime_error("no cable"); }),
         writer_);
  Run();
  EXPECT_EQ(info_.error_text, "cannot be opened: no cable");
  EXPECT_THAT(log_.lines(),
              ElementsAre("The camera cam: threw: boom", "The camera cam: threw: no cable"));
}

TEST_F(CaptureEndTest, OfWhatIsStoppedNothingIsTold) {
  auto script = MakeScript(1);
  script->info.traits.has_end = true;
  script->items.pop_back();
  SourceCapture& capture = Make(script);
  ASSERT_TRUE(capture.Start([](const video::CameraInfo&) {},
                            [](const CaptureEnd&) { ADD_FAILURE() << "it was stopped"; }));
  script->WaitUntilWaiting();
  StopAndWait(capture);

  script = MakeScript(1);
  script->open_waits = true;
  script->info.error_code = 9;
  ASSERT_TRUE(Make(script).Start(
      [](const video::CameraInfo&) { ADD_FAILURE() << "it was stopped before"; }));
  script->WaitUntilWaiting();
  StopAndWait(*capture_);
  EXPECT_THAT(log_.lines(), IsEmpty());
}

}  // namespace
}  // namespace movra::media
