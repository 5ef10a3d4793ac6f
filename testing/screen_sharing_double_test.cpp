#include "testing/screen_sharing_double.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "testing/application_doubles.h"
#include "testing/environment.h"

namespace movra::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using State = ScreenSharingDouble::State;

class ScreenClient : public video::IScreenSharing::Client, public Named {
 public:
  using Named::Named;
  void OnScreenSharingError(long, video::VideoScreenSharingError) override {}
  void OnScreenSharingStarted(long) override {}
  void OnScreenSharingStopped(long, video::VideoScreenSharingStoppedReason) override {}
  void OnScreenSharingPaused(long, video::VideoScreenSharingPausedReason) override {}
  void OnScreenSharingResumed(long, video::VideoScreenSharingResumedReason) override {}
  void OnScreenSharingFirstFrame(long, long long) override {}
  void OnWindowCovered(long) override {}
  void OnScreenSharingWindowSizeChanged(long, const video::Size&) override {}
  void OnCapturerModeChange(long, video::CapturerMode, video::CapturerMode) override {}
};

class ScreenSharingDoubleTest : public ::testing::Test {
 protected:
  void SetUp() override { env_.journal().Clear(); }

  Environment env_;
  std::shared_ptr<video::IScreenSharing> screen_ =
      video::IScreenSharing::Create({InstanceTrace(7), "[call]"});
  ScreenSharingDouble& double_ = env_.world().screen_sharings.Last();
};

TEST_F(ScreenSharingDoubleTest, TellsOfItsMakingAndOfItsEnd) {
  const auto second = video::IScreenSharing::Create({InstanceTrace(8), ""});
  screen_.reset();
  EXPECT_THAT(env_.journal().Take(), ElementsAre("IScreenSharing.Create({8})", "~screen_sharing"));
  EXPECT_EQ(env_.world().screen_sharings.Last().context().trace(), InstanceTrace(8));
}

TEST_F(ScreenSharingDoubleTest, IsNotMadeWhenTheFactoryFails) {
  env_.world().answers.makes_screen_sharing = false;
  EXPECT_EQ(video::IScreenSharing::Create({InstanceTrace(8), ""}), nullptr);
}

TEST_F(ScreenSharingDoubleTest, ListsTheSourcesOfTheTest) {
  const auto source = std::make_shared<const video::ScreenSource>();
  env_.world().answers.screen_sources = {source};
  EXPECT_THAT(video::IScreenSharing::GetSourceList({160, 90}, {16, 16}), ElementsAre(source));
  EXPECT_THAT(env_.journal().Take(), ElementsAre("IScreenSharing.GetSourceList(160x90, 16x16)"));
}

TEST_F(ScreenSharingDoubleTest, TellsOfEveryCallOfACapture) {
  const auto writer = env_.Make<FrameWriterDouble>("tap");
  const auto client = std::make_shared<ScreenClient>("client");
  video::DesktopScreenParams desktop;
  desktop.frame_rate = 15;
  video::MobileScreenParams mobile;
  mobile.frame_rate = 20;
  screen_->AddOutputWriter(writer);
  screen_->RemoveOutputWriter(writer);
  screen_->StartDesktopCapture(desktop);
  screen_->StartMobileCapture(mobile);
  screen_->Stop();
  screen_->UpdateDesktopScreenParams(desktop);
  screen_->UpdateMobileScreenParams(mobile);
  screen_->Pause();
  screen_->Resume();
  screen_->SetClient(client);
  double_.stat = 9;
  EXPECT_EQ(screen_->GetCaptureStat(), 9u);
  EXPECT_THAT(
      env_.journal().Take(),
      ElementsAre("screen_sharing.AddOutputWriter(tap)", "screen_sharing.RemoveOutputWriter(tap)",
                  "screen_sharing.StartDesktopCapture({@15})",
                  "screen_sharing.StartMobileCapture({@20})", "screen_sharing.Stop()",
                  "screen_sharing.UpdateDesktopScreenParams({@15})",
                  "screen_sharing.UpdateMobileScreenParams({@20})", "screen_sharing.Pause()",
                  "screen_sharing.Resume()", "screen_sharing.SetClient(client)",
                  "screen_sharing.GetCaptureStat()"));
}

TEST_F(ScreenSharingDoubleTest, KeepsTheWindowLists) {
  screen_->AddExcludedShareWindow(1);
  screen_->AddExcludedShareWindow(2);
  screen_->RemoveExcludedShareWindow(1);
  screen_->AddIncludedShareWindow(3);
  screen_->AddIncludedShareWindow(4);
  screen_->RemoveIncludedShareWindow(3);
  EXPECT_THAT(double_.excluded(), ElementsAre(2));
  EXPECT_THAT(double_.included(), ElementsAre(4));
  screen_->RemoveAllExcludedShareWindow();
  EXPECT_THAT(double_.excluded(), IsEmpty());
  EXPECT_THAT(double_.included(), ElementsAre(4));
  screen_->RemoveAllIncludedShareWindow();
  EXPECT_THAT(double_.included(), IsEmpty());
  EXPECT_THAT(env_.journal().Take(), ElementsAre("screen_sharing.AddExcludedShareWindow(1)",
                                                 "screen_sharing.AddExcludedShareWindow(2)",
                                                 "screen_sharing.RemoveExcludedShareWindow(1)",
                                                 "screen_sharing.AddIncludedShareWindow(3)",
                                                 "screen_sharing.AddIncludedShareWindow(4)",
                                                 "screen_sharing.RemoveIncludedShareWindow(3)",
                                                 "screen_sharing.RemoveAllExcludedShareWindow()",
                                                 "screen_sharing.RemoveAllIncludedShareWindow()"));
}

TEST_F(ScreenSharingDoubleTest, KnowsWhatItCapturesAndWhetherItIsPaused) {
  EXPECT_EQ(double_.state(), State::kStopped);
  screen_->Pause();
  EXPECT_FALSE(double_.is_paused());
  screen_->StartDesktopCapture({});
  EXPECT_EQ(double_.state(), State::kDesktop);
  screen_->Pause();
  EXPECT_TRUE(double_.is_paused());
  screen_->Resume();
  EXPECT_FALSE(double_.is_paused());
  screen_->Pause();
  screen_->StartMobileCapture({});
  EXPECT_EQ(double_.state(), State::kMobile);
  EXPECT_FALSE(double_.is_paused());
  screen_->Pause();
  screen_->Stop();
  EXPECT_EQ(double_.state(), State::kStopped);
  EXPECT_FALSE(double_.is_paused());
}

TEST_F(ScreenSharingDoubleTest, KeepsWritersStronglyAndTheClientWeakly) {
  const auto writer = env_.Make<FrameWriterDouble>("tap");
  auto client = std::make_shared<ScreenClient>("client");
  screen_->AddOutputWriter(writer);
  screen_->SetClient(client);
  EXPECT_THAT(double_.writers(), ElementsAre(writer));
  EXPECT_EQ(double_.client(), client);
  client.reset();
  EXPECT_EQ(double_.client(), nullptr);
  screen_->RemoveOutputWriter(writer);
  EXPECT_THAT(double_.writers(), IsEmpty());
}

TEST_F(ScreenSharingDoubleTest, KeepsTheParametersOfTheLastStartOrUpdate) {
  EXPECT_FALSE(double_.desktop_params().has_value());
  EXPECT_FALSE(double_.mobile_params().has_value());
  video::DesktopScreenParams desktop;
  video::MobileScreenParams mobile;
  desktop.frame_rate = 10;
  mobile.frame_rate = 11;
  screen_->StartDesktopCapture(desktop);
  screen_->StartMobileCapture(mobile);
  EXPECT_EQ(double_.desktop_params().value().frame_rate, 10);
  EXPECT_EQ(double_.mobile_params().value().frame_rate, 11);
  desktop.frame_rate = 20;
  mobile.frame_rate = 21;
  screen_->UpdateDesktopScreenParams(desktop);
  screen_->UpdateMobileScreenParams(mobile);
  EXPECT_EQ(double_.desktop_params().value().frame_rate, 20);
  EXPECT_EQ(double_.mobile_params().value().frame_rate, 21);
}

}  // namespace
}  // namespace movra::testing
