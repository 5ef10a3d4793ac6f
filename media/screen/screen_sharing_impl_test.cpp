#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

#include "core/run_loop.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "logging/recording_sink_for_test.h"
#include "media/main_queue/off_the_main_queue_for_test.h"
#include "media/screen/x11_desktop_for_test.h"
#include "video/screen_sharing.h"

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using video::VideoScreenSharingError;

class Client final : public video::IScreenSharing::Client {
 public:
  void OnScreenSharingError(long source, VideoScreenSharingError error) override {
    errors.emplace_back(source, error);
  }
  void OnScreenSharingStarted(long) override { ++others; }
  void OnScreenSharingStopped(long, video::VideoScreenSharingStoppedReason) override { ++others; }
  void OnScreenSharingPaused(long, video::VideoScreenSharingPausedReason) override { ++others; }
  void OnScreenSharingResumed(long, video::VideoScreenSharingResumedReason) override { ++others; }
  void OnScreenSharingFirstFrame(long, long long) override { ++others; }
  void OnWindowCovered(long) override { ++others; }
  void OnScreenSharingWindowSizeChanged(long, const video::Size&) override { ++others; }
  void OnCapturerModeChange(long, video::CapturerMode, video::CapturerMode) override { ++others; }

  std::vector<std::pair<long, VideoScreenSharingError>> errors;
  int others = 0;
};

// Of a process without a desktop.
class ScreenSharingImplTest : public ::testing::Test {
 protected:
  ScreenSharingImplTest() {
    unsetenv("DISPLAY");
    core::SetMainQueue(main_);
  }
  ~ScreenSharingImplTest() override {
    sharing_.reset();
    core::SetMainQueue(nullptr);
  }

  [[nodiscard]] bool WaitForErrors(std::size_t count) {
    return WaitUntilSo([&] {
      main_->RunUntilIdle();
      return client_->errors.size() >= count;
    });
  }

  std::shared_ptr<core::RunLoop> main_ = std::make_shared<core::RunLoop>();
  std::shared_ptr<Client> client_ = std::make_shared<Client>();
  std::shared_ptr<video::IScreenSharing> sharing_ =
      video::IScreenSharing::Create(video::VideoContext(InstanceTrace(3), "[main]"));
};

TEST_F(ScreenSharingImplTest, EachStartWithoutADesktopIsAnsweredOnTheMainQueueByTheError) {
  sharing_->SetClient(client_);
  video::DesktopScreenParams params;
  params.source_id = 42;
  sharing_->StartDesktopCapture(params);
  EXPECT_THAT(client_->errors, IsEmpty());
  ASSERT_TRUE(WaitForErrors(1));
  sharing_->StartDesktopCapture({});
  ASSERT_TRUE(WaitForErrors(2));
  EXPECT_THAT(client_->errors, ElementsAre(Pair(42, VideoScreenSharingError::kNoDisplay),
                                           Pair(0, VideoScreenSharingError::kNoDisplay)));
  EXPECT_EQ(client_->others, 0);
}

TEST_F(ScreenSharingImplTest, APhonesScreenIsNotThereYet) {
  sharing_->SetClient(client_);
  sharing_->StartMobileCapture({});
  EXPECT_THAT(client_->errors, IsEmpty());
  main_->RunUntilIdle();
  EXPECT_THAT(client_->errors, ElementsAre(Pair(-2, VideoScreenSharingError::kUnavailable)));
}

TEST_F(ScreenSharingImplTest, TheLogSaysInALineWhatIsMissing) {
  movra_logging::RecordingSink log;
  sharing_->SetClient(client_);
  sharing_->StartMobileCapture({});
  main_->RunUntilIdle();
  sharing_->StartDesktopCapture({});
  ASSERT_TRUE(WaitForErrors(2));
  EXPECT_THAT(
      log.texts(),
      ElementsAre("[trace:3][main] A phone's screen cannot be captured yet",
                  "The camera screen 0 cannot be started: there is no X display: DISPLAY is not "
                  "set"));
}

TEST_F(ScreenSharingImplTest, ADisplayThatIsNotThereIsNamed) {
  movra_logging::RecordingSink log;
  sharing_->SetClient(client_);
  setenv("DISPLAY", ":4711", 1);
  sharing_->StartDesktopCapture({});
  ASSERT_TRUE(WaitForErrors(1));
  unsetenv("DISPLAY");
  EXPECT_THAT(
      log.texts(),
      ElementsAre("The camera screen 0 cannot be started: there is no X display ':4711' that can "
                  "be reached (DISPLAY names it)"));
}

TEST_F(ScreenSharingImplTest, ALogThatTakesNoWarningsIsToldNothing) {
  const movra_logging::RecordingSink log;
  movra_logging::SetMinLogLevel(movra_logging::kLogLevelError);
  sharing_->StartMobileCapture({});
  movra_logging::SetMinLogLevel(movra_logging::kLogLevelInfo);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ScreenSharingImplTest, TheClientIsHeldWeaklyAndMayBeMissing) {
  sharing_->StartDesktopCapture({});
  sharing_->SetClient(client_);
  EXPECT_EQ(client_.use_count(), 1);
  sharing_->StartDesktopCapture({});
  client_.reset();
  sharing_.reset();
  main_->RunUntilIdle();
}

TEST_F(ScreenSharingImplTest, EverythingElseIsSafeAndChangesNothing) {
  sharing_->SetClient(client_);
  sharing_->AddOutputWriter(nullptr);
  sharing_->RemoveOutputWriter(nullptr);
  sharing_->UpdateDesktopScreenParams({});
  sharing_->UpdateMobileScreenParams({});
  sharing_->Pause();
  sharing_->Resume();
  sharing_->Stop();
  sharing_->AddExcludedShareWindow(1);
  sharing_->RemoveExcludedShareWindow(1);
  sharing_->RemoveAllExcludedShareWindow();
  sharing_->AddIncludedShareWindow(1);
  sharing_->RemoveIncludedShareWindow(1);
  sharing_->RemoveAllIncludedShareWindow();
  main_->RunUntilIdle();
  EXPECT_EQ(sharing_->GetCaptureStat(), 0U);
  EXPECT_THAT(client_->errors, IsEmpty());
  EXPECT_EQ(client_->others, 0);
  EXPECT_THAT(video::IScreenSharing::GetSourceList({320, 180}, {32, 32}), IsEmpty());
}

TEST_F(ScreenSharingImplTest, AStartWhoseAnswerIsPendingAtItsStopIsAnsweredByThat) {
  sharing_->SetClient(client_);
  sharing_->StartMobileCapture({});
  sharing_->Stop();
  main_->RunUntilIdle();
  EXPECT_THAT(client_->errors, IsEmpty());
  EXPECT_EQ(client_->others, 1);
}

TEST_F(ScreenSharingImplTest, EachOperationOffTheMainQueueIsTold) {
  using Sharing = video::IScreenSharing;
  const std::vector<NamedOperation<Sharing>> operations = {
      {"AddOutputWriter", [](Sharing& s) { s.AddOutputWriter(nullptr); }},
      {"RemoveOutputWriter", [](Sharing& s) { s.RemoveOutputWriter(nullptr); }},
      {"StartDesktopCapture", [](Sharing& s) { s.StartDesktopCapture({}); }},
      {"StartMobileCapture", [](Sharing& s) { s.StartMobileCapture({}); }},
      {"Stop", [](Sharing& s) { s.Stop(); }},
      {"UpdateDesktopScreenParams", [](Sharing& s) { s.UpdateDesktopScreenParams({}); }},
      {"UpdateMobileScreenParams", [](Sharing& s) { s.UpdateMobileScreenParams({}); }},
      {"Pause", [](Sharing& s) { s.Pause(); }},
      {"Resume", [](Sharing& s) { s.Resume(); }},
      {"SetClient", [](Sharing& s) { s.SetClient(nullptr); }},
      {"GetCaptureStat", [](Sharing& s) { static_cast<void>(s.GetCaptureStat()); }},
      {"AddExcludedShareWindow", [](Sharing& s) { s.AddExcludedShareWindow(1); }},
      {"RemoveExcludedShareWindow", [](Sharing& s) { s.RemoveExcludedShareWindow(1); }},
      {"RemoveAllExcludedShareWindow", [](Sharing& s) { s.RemoveAllExcludedShareWindow(); }},
      {"AddIncludedShareWindow", [](Sharing& s) { s.AddIncludedShareWindow(1); }},
      {"RemoveIncludedShareWindow", [](Sharing& s) { s.RemoveIncludedShareWindow(1); }},
      {"RemoveAllIncludedShareWindow", [](Sharing& s) { s.RemoveAllIncludedShareWindow(); }},
  };
  const auto make = [] { return Sharing::Create(video::VideoContext(InstanceTrace(3), "[main]")); };
  ExpectToldOffTheMainQueue(operations, make, "a screen sharing");
}

}  // namespace
}  // namespace movra::media
