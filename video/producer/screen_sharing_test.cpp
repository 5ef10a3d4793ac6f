// Sharing a screen: starting and stopping the capturer, its window lists, and its events.

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include "video/producer/capture_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::ValuesIn;

constexpr char kQueueCheck[] = "main_queue.IsCurrent()";

class ScreenCapture : public CaptureTest {
 protected:
  [[nodiscard]] static std::string Asked(const DesktopScreenParams& params) {
    return Info("Start desktop screen capture with params:" + params.ToString());
  }
  [[nodiscard]] static std::string Asked(const MobileScreenParams& params) {
    return Info("Start mobile screen capture with params:" + params.ToString());
  }
  [[nodiscard]] static std::string Started(const DesktopScreenParams& params) {
    return "screen_sharing.StartDesktopCapture(" + testing::Describe(params) + ")";
  }
  [[nodiscard]] static std::string Started(const MobileScreenParams& params) {
    return "screen_sharing.StartMobileCapture(" + testing::Describe(params) + ")";
  }

  [[nodiscard]] static DesktopScreenParams FullDesktop() {
    DesktopScreenParams params;
    params.frame_rate = 15;
    params.source_id = std::int64_t{1} << 40;
    params.region = Region{1, 2, 3, 4};
    params.source_kind = 1;
    params.capture_cursor = true;
    params.capture_children = false;
    params.show_border = true;
    params.border_color = 0x112233;
    params.border_width = 5;
    params.exclude_own_windows = true;
    params.capture_covered = false;
    params.activate_window = true;
    params.high_dpi = false;
    return params;
  }
  [[nodiscard]] static MobileScreenParams FullMobile() {
    MobileScreenParams params;
    params.frame_rate = 10;
    params.landscape = true;
    params.region = Region{1, 2, 3, 4};
    return params;
  }
};

// What both kinds of screen have in common.
template <class Params>
class EitherScreenCapture : public ScreenCapture {
 protected:
  [[nodiscard]] static Params Full() {
    if constexpr (std::is_same_v<Params, DesktopScreenParams>) {
      return FullDesktop();
    } else {
      return FullMobile();
    }
  }
};
using ScreenParams = ::testing::Types<DesktopScreenParams, MobileScreenParams>;
TYPED_TEST_SUITE(EitherScreenCapture, ScreenParams);

TYPED_TEST(EitherScreenCapture, ConnectsTheCapturerThroughItsTrackToThePreprocessor) {
  const auto producer = this->MakeProducer();
  const TypeParam params = this->Full();
  this->journal().LeaveOut(0);
  EXPECT_THAT(
      this->EntriesOf([&] { producer->StartCapture(params); }),
      ElementsAre(kQueueCheck, this->Asked(params),  //
                  kQueueCheck, "screen_sharing.SetClient(producer)",
                  "IPixelFrameTrack.Create(ScreenOutputTrack, 1)", "ScreenOutputTrack.GetWriter()",
                  "screen_sharing.AddOutputWriter(ScreenOutputTrack.writer)", this->Started(params),
                  "preprocessor.StartProcessing()", "ScreenOutputTrack.GetReader()",
                  "preprocessor.SetInputTrackReader(ScreenOutputTrack.reader)",
                  "preprocessor.SetSourceType(kScreen)",
                  "preprocessor.SetFrameAdaptiveMode(kFit)"));
  EXPECT_THAT(this->OriginsOfLogLines(), ElementsAre(this->OriginIn("StartCapture")));
  EXPECT_TRUE(producer->IsCapturing());
  EXPECT_EQ(static_cast<int>(producer->GetCurrentSourceType()), 2);
  EXPECT_EQ(this->world().screen_sharings.Last().client().get(), producer.get());
}

TYPED_TEST(EitherScreenCapture, TakesAbsentFieldsOverPresentOnesThatStayedBehind) {
  const auto producer = this->MakeProducer();
  producer->StartCapture(this->Full());
  this->LeaveSourceBehind(*producer);
  EXPECT_THAT(this->EntriesOf([&] { producer->StartCapture(TypeParam()); }),
              Contains(this->Started(TypeParam())));
}

TYPED_TEST(EitherScreenCapture, WhileACameraRunsLogsTheSourceAndKeepsTheCamera) {
  const auto producer = this->MakeCapturingProducer();
  static_cast<void>(this->OriginsOfLogLines());
  const TypeParam params = this->Full();
  EXPECT_THAT(this->EntriesOf([&] { producer->StartCapture(params); }),
              ElementsAre(this->Asked(params),
                          this->Info("Capture already start for source type:kCamera")));
  EXPECT_THAT(this->OriginsOfLogLines(),
              ElementsAre(this->OriginIn("StartCapture"), this->OriginIn("StartCapture")));
  EXPECT_EQ(this->camera_service().captures().size(), 1u);
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kCamera);
}

// A screen would be started before the virtual camera, were its parameters there.
TYPED_TEST(EitherScreenCapture, ThatIsRefusedStoresNoParameters) {
  const auto producer = this->MakeCapturingProducer(this->Camera("virtual:1"));
  producer->StartCapture(this->Full());
  this->LeaveSourceBehind(*producer);
  producer->StartCapture(this->Camera("virtual:1"), {});
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kVirtualCamera);
}

TYPED_TEST(EitherScreenCapture, WhilePausedCountsAsStarted) {
  const auto producer = this->MakeProducer();
  producer->StartCapture(this->Full());
  producer->PauseCapture();
  EXPECT_THAT(this->EntriesOf([&] { producer->StartCapture(TypeParam()); }),
              ElementsAre(this->Asked(TypeParam()),
                          this->Info("Capture already start for source type:kScreen")));
  EXPECT_FALSE(producer->IsCapturing());
}

TYPED_TEST(EitherScreenCapture, WithoutATrackSetsTheClientAndStartsNoCapturer) {
  const auto producer = this->MakeProducer();
  this->world().answers.makes_track = false;
  const TypeParam params = this->Full();
  EXPECT_THAT(this->EntriesOf([&] { producer->StartCapture(params); }),
              ElementsAre(this->Asked(params), "screen_sharing.SetClient(producer)",
                          "IPixelFrameTrack.Create(ScreenOutputTrack, 1)",
                          "preprocessor.StartProcessing()", "preprocessor.SetSourceType(kScreen)",
                          "preprocessor.SetFrameAdaptiveMode(kFit)"));
  EXPECT_TRUE(producer->IsCapturing());
}

TYPED_TEST(EitherScreenCapture, WithoutACapturerIsStartedAllTheSame) {
  this->world().answers.makes_screen_sharing = false;
  const auto producer = this->MakeProducer();
  const TypeParam params = this->Full();
  EXPECT_THAT(this->EntriesOf([&] { producer->StartCapture(params); }),
              ElementsAre(this->Asked(params), "IPixelFrameTrack.Create(ScreenOutputTrack, 1)",
                          "preprocessor.StartProcessing()",
                          "preprocessor.SetInputTrackReader(ScreenOutputTrack.reader)",
                          "preprocessor.SetSourceType(kScreen)",
                          "preprocessor.SetFrameAdaptiveMode(kFit)"));
  EXPECT_TRUE(producer->IsCapturing());
}

TYPED_TEST(EitherScreenCapture, OfAnUnownedProducerFailsBeforeTheCapturerIsTold) {
  VideoProducer2Impl producer(this->Context(), this->client(), VideoStreamType::kBig);
  const TypeParam params = this->Full();
  this->journal().LeaveOut(0);
  EXPECT_THAT(
      this->EntriesOf([&] { EXPECT_THROW(producer.StartCapture(params), std::bad_weak_ptr); }),
      ElementsAre(kQueueCheck, this->Asked(params), kQueueCheck));
  EXPECT_FALSE(producer.IsCapturing());
  EXPECT_EQ(producer.GetCurrentSourceType(), VideoSourceType::kScreen);
}

TYPED_TEST(EitherScreenCapture, ReusesATrackThatStayedBehind) {
  const auto producer = this->MakeCapturingProducer(this->Camera("virtual:1"));
  this->LeaveSourceBehind(*producer);
  EXPECT_THAT(this->EntriesOf([&] { producer->StartCapture(this->Full()); }),
              Contains("screen_sharing.AddOutputWriter(VirtualCaptureOutputTrack.writer)"));
  EXPECT_EQ(this->world().tracks.count(), 1u);
}

TYPED_TEST(EitherScreenCapture, KeepsTheAdaptiveModeThatTheApplicationChose) {
  const auto producer = this->MakeProducer();
  producer->SetOutputFrameAdaptiveMode(FrameAdaptiveMode::kCrop, false);
  EXPECT_THAT(this->EntriesOf([&] { producer->StartCapture(this->Full()); }),
              Contains("preprocessor.SetFrameAdaptiveMode(kCrop)"));
}

TYPED_TEST(EitherScreenCapture, DoesNotKeepTheProducerAlive) {
  auto producer = this->MakeProducer();
  producer->StartCapture(this->Full());
  EXPECT_THAT(this->EntriesOf([&] { producer.reset(); }),
              ElementsAre("~preprocessor", "~ScreenOutputTrack", "~screen_sharing"));
}

TEST_F(ScreenCapture, TakesTheWriterBackAndStopsTheCapturer) {
  const auto producer = MakeProducer();
  producer->StartCapture(Desktop());
  producer->StopCapture({});
  const testing::ScreenSharingDouble& capturer = world().screen_sharings.Last();
  EXPECT_THAT(capturer.writers(), IsEmpty());
  EXPECT_EQ(capturer.state(), testing::ScreenSharingDouble::State::kStopped);
  EXPECT_THAT(EntriesOf([&] { producer->StartCapture(Mobile()); }), Contains(Started(Mobile())));
}

class ScreenSourceList : public CaptureTest {};

TEST_F(ScreenSourceList, IsTheCapturersWithOneReferenceToEachSource) {
  const auto producer = MakeProducer();
  const auto first = std::make_shared<ScreenSource>();
  const auto second = std::make_shared<ScreenSource>();
  world().answers.screen_sources = {first, second};
  journal().LeaveOut(0);
  std::vector<ScreenSourceInfo> sources;
  EXPECT_THAT(EntriesOf([&] {
                sources = producer->GetScreenShareSourceList({160, 90}, {32, 16});
              }),
              ElementsAre(kQueueCheck, "IScreenSharing.GetSourceList(160x90, 32x16)"));
  EXPECT_THAT(sources, ElementsAre(first, second));
  world().answers.screen_sources.clear();
  EXPECT_EQ(first.use_count(), 2);
  sources.clear();
  EXPECT_EQ(first.use_count(), 1);
}

TEST_F(ScreenSourceList, WithoutACapturerIsEmpty) {
  const auto producer = MakeProducer();
  producer->Uninitialize();
  world().answers.screen_sources = {std::make_shared<ScreenSource>()};
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] {
                EXPECT_THAT(producer->GetScreenShareSourceList({160, 90}, {32, 16}), IsEmpty());
              }),
              ElementsAre(kQueueCheck));
}

struct WindowOperation {
  std::function<void(VideoProducer2Impl&)> call;
  std::string entry;
};
void PrintTo(const WindowOperation& operation, std::ostream* out) { *out << operation.entry; }

constexpr long kWindow = 0x123456789A;

std::vector<WindowOperation> WindowOperations() {
  using P = VideoProducer2Impl;
  return {
      {[](P& p) { p.AddExcludedShareWindow(kWindow); }, "AddExcludedShareWindow(78187493530)"},
      {[](P& p) { p.RemoveExcludedShareWindow(-1); }, "RemoveExcludedShareWindow(-1)"},
      {[](P& p) { p.RemoveAllExcludedShareWindow(); }, "RemoveAllExcludedShareWindow()"},
      {[](P& p) { p.AddIncludedShareWindow(kWindow); }, "AddIncludedShareWindow(78187493530)"},
      {[](P& p) { p.RemoveIncludedShareWindow(-1); }, "RemoveIncludedShareWindow(-1)"},
      {[](P& p) { p.RemoveAllIncludedShareWindow(); }, "RemoveAllIncludedShareWindow()"},
  };
}

class ShareWindows : public CaptureTest, public ::testing::WithParamInterface<WindowOperation> {};
INSTANTIATE_TEST_SUITE_P(AllSix, ShareWindows, ValuesIn(WindowOperations()));

TEST_P(ShareWindows, AreTheCapturers) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { GetParam().call(*producer); }),
              ElementsAre(kQueueCheck, "screen_sharing." + GetParam().entry));
}

TEST_P(ShareWindows, WithoutACapturerAreLeftAlone) {
  const auto producer = MakeProducer();
  producer->Uninitialize();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { GetParam().call(*producer); }), ElementsAre(kQueueCheck));
}

struct Event {
  std::function<void(IScreenSharing::Client&)> raise;
  std::string entry;
};
void PrintTo(const Event& event, std::ostream* out) { *out << event.entry; }

// With values that have no name too: they travel through unchanged.
std::vector<Event> Events() {
  using C = IScreenSharing::Client;
  constexpr auto kError = static_cast<VideoScreenSharingError>(17);
  constexpr auto kStopped = static_cast<VideoScreenSharingStoppedReason>(18);
  constexpr auto kPaused = static_cast<VideoScreenSharingPausedReason>(-19);
  constexpr auto kResumed = static_cast<VideoScreenSharingResumedReason>(20);
  return {
      {[](C& c) { c.OnScreenSharingError(1, kError); }, "OnScreenSharingError(producer, 1, 17)"},
      {[](C& c) { c.OnScreenSharingStarted(2); }, "OnScreenSharingStarted(producer, 2)"},
      {[](C& c) { c.OnScreenSharingStopped(3, kStopped); },
       "OnScreenSharingStopped(producer, 3, 18)"},
      {[](C& c) { c.OnScreenSharingPaused(4, kPaused); },
       "OnScreenSharingPaused(producer, 4, -19)"},
      {[](C& c) { c.OnScreenSharingResumed(5, kResumed); },
       "OnScreenSharingResumed(producer, 5, 20)"},
      {[](C& c) { c.OnScreenSharingFirstFrame(kWindow, 5'000'000'000); },
       "OnScreenSharingFirstFrame(producer, 78187493530, 5000000000)"},
      {[](C& c) { c.OnWindowCovered(-7); }, "OnWindowCovered(producer, -7)"},
      {[](C& c) { c.OnCapturerModeChange(8, CapturerMode::kWindow, CapturerMode::kRegion); },
       "OnCapturerModeChange(producer, 8, 2, 3)"},
  };
}

class ScreenEvent : public CaptureTest, public ::testing::WithParamInterface<Event> {
 protected:
  // The producer in the role in which the capturer knows it.
  [[nodiscard]] std::shared_ptr<IScreenSharing::Client> Receiver() {
    return world().screen_sharings.Last().client();
  }
};
INSTANTIATE_TEST_SUITE_P(AllEight, ScreenEvent, ValuesIn(Events()));

TEST_P(ScreenEvent, GoesToTheClientAndChangesNoState) {
  const auto producer = MakeProducer();
  producer->StartCapture(Desktop());
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { GetParam().raise(*Receiver()); }),
              ElementsAre(kQueueCheck, "client." + GetParam().entry));
  EXPECT_TRUE(producer->IsCapturing());
  EXPECT_EQ(producer->GetCurrentSourceType(), VideoSourceType::kScreen);
}

TEST_P(ScreenEvent, WithTheClientGoneIsDropped) {
  const auto producer = MakeProducer();
  producer->StartCapture(Desktop());
  ReleaseClient();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { GetParam().raise(*Receiver()); }), ElementsAre(kQueueCheck));
}

TEST_P(ScreenEvent, WithoutAClientIsDropped) {
  ReleaseClient();
  const auto producer = MakeProducer();
  producer->StartCapture(Mobile());
  EXPECT_THAT(EntriesOf([&] { GetParam().raise(*Receiver()); }), IsEmpty());
}

TEST_P(ScreenEvent, ReachesAProducerThatCapturesNothing) {
  const auto producer = MakeProducer();
  EXPECT_THAT(EntriesOf([&] { GetParam().raise(*producer); }),
              ElementsAre("client." + GetParam().entry));
  EXPECT_FALSE(producer->IsCapturing());
}

TEST_F(ScreenCapture, KeepsAChangeOfTheWindowsSizeToItself) {
  const auto producer = MakeProducer();
  producer->StartCapture(Desktop());
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] {
        world().screen_sharings.Last().client()->OnScreenSharingWindowSizeChanged(1, {640, 360});
      }),
      IsEmpty());
}

// A client that lets go of itself while it is told something.
class ClientThatLeaves : public testing::ClientDouble {
 public:
  using testing::ClientDouble::ClientDouble;
  std::shared_ptr<ClientThatLeaves> self;

  void OnWindowCovered(IVideoProducer2* producer, long source) override {
    self.reset();
    testing::ClientDouble::OnWindowCovered(producer, source);
  }
};

TEST_F(ScreenCapture, HoldsTheClientWhileItIsTold) {
  const auto producer = MakeProducer();
  auto leaving = env().Make<ClientThatLeaves>("leaving");
  producer->SetClient(leaving);
  leaving->self = leaving;
  leaving.reset();
  EXPECT_THAT(EntriesOf([&] { producer->OnWindowCovered(1); }),
              ElementsAre("leaving.OnWindowCovered(producer, 1)", "~leaving"));
}

}  // namespace
}  // namespace movra::video
