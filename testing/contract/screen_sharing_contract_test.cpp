// What every screen capturer promises, whoever made it: linked once with the doubles and once with
// the real collaborators, of which it sees the factory alone.

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/run_loop.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "video/screen_sharing.h"

namespace movra::video {
namespace {

using ::testing::Each;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::Not;

// Writes down what it is told as "Started 42".
class RecordingClient final : public IScreenSharing::Client {
 public:
  void OnScreenSharingError(long source, VideoScreenSharingError) override { Add("Error", source); }
  void OnScreenSharingStarted(long source) override { Add("Started", source); }
  void OnScreenSharingStopped(long source, VideoScreenSharingStoppedReason reason) override {
    Add(reason == VideoScreenSharingStoppedReason::kByRequest ? "StoppedByRequest" : "Stopped",
        source);
  }
  void OnScreenSharingPaused(long source, VideoScreenSharingPausedReason) override {
    Add("Paused", source);
  }
  void OnScreenSharingResumed(long source, VideoScreenSharingResumedReason) override {
    Add("Resumed", source);
  }
  void OnScreenSharingFirstFrame(long source, long long) override { Add("FirstFrame", source); }
  void OnWindowCovered(long source) override { Add("Covered", source); }
  void OnScreenSharingWindowSizeChanged(long source, const Size&) override {
    Add("WindowSizeChanged", source);
  }
  void OnCapturerModeChange(long source, CapturerMode, CapturerMode) override {
    Add("ModeChange", source);
  }

  [[nodiscard]] const std::vector<std::string>& events() const { return events_; }

 private:
  void Add(const std::string& event, long source) {
    events_.push_back(event + " " + std::to_string(source));
  }

  std::vector<std::string> events_;
};

class ScreenSharingContract : public ::testing::Test {
 protected:
  ScreenSharingContract() {
    core::SetMainQueue(main_);
    sharing_ = IScreenSharing::Create(VideoContext(InstanceTrace(3), "[main]"));
    sharing_->SetClient(client_);
  }
  // What was posted for a capturer that is gone finds nobody.
  ~ScreenSharingContract() override {
    sharing_.reset();
    main_->RunUntilIdle();
    core::SetMainQueue(nullptr);
  }

  void Start(long source) {
    DesktopScreenParams params;
    params.source_id = source;
    sharing_->StartDesktopCapture(params);
  }

  const std::shared_ptr<core::RunLoop> main_ = std::make_shared<core::RunLoop>();
  std::shared_ptr<RecordingClient> client_ = std::make_shared<RecordingClient>();
  std::shared_ptr<IScreenSharing> sharing_;
};

TEST_F(ScreenSharingContract, EachCallOfTheFactoryMakesAnother) {
  EXPECT_NE(IScreenSharing::Create(VideoContext(InstanceTrace(3), "[main]")), sharing_);
}

TEST_F(ScreenSharingContract, NothingIsReportedWithinACall) {
  Start(42);
  sharing_->StartMobileCapture({});
  sharing_->Pause();
  sharing_->Resume();
  sharing_->Stop();
  EXPECT_THAT(client_->events(), IsEmpty());
}

TEST_F(ScreenSharingContract, EventsNameTheSourceThatWasStarted) {
  Start(42);
  main_->RunUntilIdle();
  EXPECT_THAT(client_->events(), Each(EndsWith(" 42")));
}

TEST_F(ScreenSharingContract, AStoppedStartIsAnsweredByNothingButItsStop) {
  Start(42);
  sharing_->Stop();
  main_->RunUntilIdle();
  EXPECT_THAT(client_->events(), Each("StoppedByRequest 42"));
}

TEST_F(ScreenSharingContract, EverythingButAStartIsHarmlessWhenNothingRuns) {
  sharing_->Stop();
  sharing_->Pause();
  sharing_->Resume();
  sharing_->UpdateDesktopScreenParams({});
  sharing_->UpdateMobileScreenParams({});
  sharing_->RemoveOutputWriter(nullptr);
  for (const long window : {7L, 7L}) {
    sharing_->AddExcludedShareWindow(window);
    sharing_->AddIncludedShareWindow(window);
  }
  sharing_->RemoveExcludedShareWindow(8);
  sharing_->RemoveIncludedShareWindow(8);
  sharing_->RemoveAllExcludedShareWindow();
  sharing_->RemoveAllIncludedShareWindow();
  sharing_->Stop();
  main_->RunUntilIdle();
  EXPECT_THAT(client_->events(), IsEmpty());
  EXPECT_EQ(sharing_->GetCaptureStat(), 0U);
}

TEST_F(ScreenSharingContract, TheClientIsHeldWeakly) {
  EXPECT_EQ(client_.use_count(), 1);
  Start(42);
  const std::weak_ptr<RecordingClient> watch = client_;
  client_.reset();
  EXPECT_TRUE(watch.expired());
  main_->RunUntilIdle();
}

TEST_F(ScreenSharingContract, AClientThatWasReplacedHearsOfNoLaterStart) {
  const auto next = std::make_shared<RecordingClient>();
  sharing_->SetClient(next);
  Start(42);
  main_->RunUntilIdle();
  EXPECT_THAT(client_->events(), IsEmpty());
  sharing_->SetClient(nullptr);
  EXPECT_EQ(next.use_count(), 1);
}

TEST_F(ScreenSharingContract, AReleasedCapturerReportsNothingMore) {
  Start(42);
  sharing_.reset();
  main_->RunUntilIdle();
  EXPECT_THAT(client_->events(), Each(Not(EndsWith("Error 42"))));
}

TEST_F(ScreenSharingContract, AWriterIsLetGoOfAtItsRemovalAndAtTheEnd) {
  for (const bool removed : {true, false}) {
    const auto track = IPixelFrameTrack::Create("screen", 1);
    const auto writer = track->GetWriter();
    const long own = writer.use_count();
    sharing_->AddOutputWriter(writer);
    if (removed) {
      sharing_->RemoveOutputWriter(writer);
    } else {
      sharing_.reset();
    }
    EXPECT_EQ(writer.use_count(), own) << removed;
  }
}

}  // namespace
}  // namespace movra::video
