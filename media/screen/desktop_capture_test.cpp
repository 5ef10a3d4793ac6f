// The desktop and its monitors, captured from a real X server.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "logging/recording_sink_for_test.h"
#include "media/screen/screen_for_test.h"
#include "media/screen/x11_monitors.h"

namespace movra::media {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using video::DesktopScreenParams;
using video::Region;
using video::Size;

constexpr std::uint32_t kRed = 0xC02020;
constexpr std::uint32_t kGreen = 0x20A020;
constexpr std::uint32_t kBlue = 0x2020C0;

using DesktopCapture = ScreenTest;

TEST_F(DesktopCapture, TheWholeDesktopIsCapturedAndTheClientHearsOfItInTurn) {
  desktop_->PaintBackground(kBlue);
  const TestWindow window(*desktop_, {{100, 60, 200, 100}, kRed});
  Start(0);
  ASSERT_TRUE(WaitForColor(150, 100, kRed));
  EXPECT_TRUE(IsLike(ColorAt(writer_->last(), 10, 10), kBlue));
  EXPECT_TRUE(IsLike(ColorAt(writer_->last(), 97, 100), kBlue));
  EXPECT_EQ(writer_->last().info().size, (Size{640, 480}));
  ASSERT_TRUE(WaitForEvent("FirstFrame 0"));
  EXPECT_THAT(client_->events(),
              ElementsAre("Started 0", "Mode 0 kUnknown kDisplay", "FirstFrame 0"));
  EXPECT_GE(sharing_->GetCaptureStat(), 1U);
}

TEST_F(DesktopCapture, WhatChangesComesAtOnce) {
  TestWindow window(*desktop_, {{0, 0, 64, 64}, kRed});
  Start(0);
  ASSERT_TRUE(WaitForColor(32, 32, kRed));
  const auto before = writer_->last().info().timestamp;
  window.Paint(kGreen);
  ASSERT_TRUE(WaitForColor(32, 32, kGreen));
  const auto info = writer_->last().info();
  EXPECT_GT(info.timestamp, before);
  EXPECT_EQ(info.delivery, video::FrameDelivery::kLive);
}

TEST_F(DesktopCapture, AnUnchangedScreenComesOnceASecond) {
  Start(0);
  ASSERT_TRUE(WaitFor([&] { return writer_->frames() >= 1; }));
  // Settled: what the start itself did to the screen has been captured.
  const auto settled = [&] {
    const auto frames = writer_->frames();
    const auto time = writer_->last().info().timestamp;
    return WaitFor([&] { return writer_->frames() > frames; }) &&
           writer_->last().info().timestamp - time >= std::chrono::seconds(1);
  };
  EXPECT_TRUE(settled() || settled());
}

TEST_F(DesktopCapture, FramesKeepToTheRateThatIsAskedForEvenWhereItChanges) {
  TestWindow window(*desktop_, {{0, 0, 64, 64}, kRed});
  DesktopScreenParams params;
  params.frame_rate = 10;
  Start(0, params);
  ASSERT_TRUE(WaitFor([&] { return writer_->frames() >= 1; }));
  const auto next_after_change = [&](std::uint32_t rgb) {
    const auto before = writer_->last().info().timestamp;
    const auto frames = writer_->frames();
    window.Paint(rgb);
    EXPECT_TRUE(WaitFor([&] { return writer_->frames() > frames; }));
    return writer_->last().info().timestamp - before;
  };
  const auto is_multiple = [](std::chrono::nanoseconds passed, std::int64_t rate) {
    const std::int64_t interval = 1'000'000'000 / rate;
    const std::int64_t rest = (passed.count() + interval / 2) % interval - interval / 2;
    return passed.count() > 0 && std::abs(rest) < 1000;
  };
  EXPECT_TRUE(is_multiple(next_after_change(kGreen), 10));
  EXPECT_TRUE(is_multiple(next_after_change(kBlue), 10));
  DesktopScreenParams update;
  update.frame_rate = 8;
  sharing_->UpdateDesktopScreenParams(update);
  EXPECT_TRUE(WaitForColor(32, 32, kBlue));
  static_cast<void>(next_after_change(kRed));
  EXPECT_TRUE(is_multiple(next_after_change(kGreen), 8));
}

TEST_F(DesktopCapture, ARegionIsCapturedAloneAndMayChange) {
  desktop_->PaintBackground(kBlue);
  const TestWindow window(*desktop_, {{100, 60, 40, 40}, kRed});
  DesktopScreenParams params;
  params.region = Region{100, 60, 80, 40};
  Start(0, params);
  ASSERT_TRUE(WaitForColor(10, 10, kRed));
  EXPECT_EQ(writer_->last().info().size, (Size{80, 40}));
  EXPECT_TRUE(IsLike(ColorAt(writer_->last(), 60, 10), kBlue));
  EXPECT_TRUE(WaitForEvent("Mode 0 kUnknown kRegion"));
  DesktopScreenParams update;
  update.region = Region{90, 60, 60, 60};
  sharing_->UpdateDesktopScreenParams(update);
  ASSERT_TRUE(WaitFor([&] { return writer_->last().info().size == Size{60, 60}; }));
  EXPECT_TRUE(IsLike(ColorAt(writer_->last(), 20, 10), kRed));
  EXPECT_TRUE(IsLike(ColorAt(writer_->last(), 4, 10), kBlue));
}

TEST_F(DesktopCapture, ARegionThatReachesBeyondTheScreenIsCut) {
  DesktopScreenParams params;
  params.region = Region{600, -20, 100, 100};
  Start(0, params);
  ASSERT_TRUE(WaitFor([&] { return writer_->frames() > 0; }));
  EXPECT_EQ(writer_->last().info().size, (Size{40, 80}));
}

TEST_F(DesktopCapture, ARegionWithoutPixelsIsAnErrorThatSaysWhy) {
  for (const Region region : {Region{0, 0, 0, 0}, Region{640, 0, 10, 10}, Region{0, 0, -5, 5},
                              Region{2147483647, 2147483647, 2147483647, 2147483647}}) {
    movra_logging::RecordingSink log;
    client_->Forget();
    DesktopScreenParams params;
    params.region = region;
    Start(0, params);
    ASSERT_TRUE(WaitForEvent("Error 0 kCaptureFailed"));
    EXPECT_THAT(log.texts(), Contains(HasSubstr("The camera screen 0 cannot be started: ")));
  }
}

TEST_F(DesktopCapture, AnUpdateToARegionOutsideIsToldAndChangesNothing) {
  desktop_->PaintBackground(kBlue);
  Start(0);
  ASSERT_TRUE(WaitForColor(10, 10, kBlue));
  movra_logging::RecordingSink log;
  DesktopScreenParams update;
  update.region = Region{5000, 0, 10, 10};
  sharing_->UpdateDesktopScreenParams(update);
  ASSERT_TRUE(WaitFor([&] { return !log.texts().empty(); }));
  EXPECT_THAT(log.texts().front(), HasSubstr("the area 10x10+5000+0 lies outside"));
  desktop_->PaintBackground(kGreen);
  EXPECT_TRUE(WaitForColor(10, 10, kGreen));
  EXPECT_EQ(writer_->last().info().size, (Size{640, 480}));
}

TEST_F(DesktopCapture, AnOddSideGrowsByOneThatRepeatsTheLast) {
  desktop_->PaintBackground(kBlue);
  const TestWindow window(*desktop_, {{100, 60, 40, 40}, kRed});
  DesktopScreenParams params;
  params.region = Region{100, 60, 35, 1};
  Start(0, params);
  ASSERT_TRUE(WaitForColor(0, 0, kRed));
  EXPECT_EQ(writer_->last().info().size, (Size{36, 2}));
  EXPECT_TRUE(IsLike(ColorAt(writer_->last(), 35, 1), kRed));
}

TEST_F(DesktopCapture, AMonitorIsCapturedByItsNumber) {
  desktop_->PaintBackground(kGreen);
  const auto monitors = ListMonitors(desktop_->connection());
  ASSERT_EQ(monitors.size(), 1U);
  EXPECT_EQ(monitors[0].name, "screen");
  const long id = monitors[0].id;
  Start(id);
  ASSERT_TRUE(WaitForColor(10, 10, kGreen));
  ASSERT_TRUE(WaitForEvent("FirstFrame " + std::to_string(id)));
}

TEST_F(DesktopCapture, TheCursorIsShownWhereItIsWanted) {
  desktop_->PaintBackground(kBlue);
  desktop_->MovePointer(200, 200);
  DesktopScreenParams params;
  params.capture_cursor = true;
  Start(0, params);
  const auto shows_cursor = [&](int left, int top) {
    for (int y = top; y < top + 16; ++y) {
      for (int x = left; x < left + 16; ++x) {
        const std::uint32_t color = ColorAt(writer_->last(), x, y);
        if (color <= 0xFFFFFF && !IsLike(color, kBlue)) return true;
      }
    }
    return false;
  };
  ASSERT_TRUE(WaitFor([&] { return shows_cursor(192, 192); }));
  desktop_->MovePointer(400, 300);
  ASSERT_TRUE(WaitFor([&] { return shows_cursor(392, 292); }));
  EXPECT_FALSE(shows_cursor(192, 192));
  DesktopScreenParams update;
  update.capture_cursor = false;
  sharing_->UpdateDesktopScreenParams(update);
  EXPECT_TRUE(WaitFor([&] { return !shows_cursor(392, 292); }));
}

TEST_F(DesktopCapture, APauseHoldsFramesBackAndIsReported) {
  TestWindow window(*desktop_, {{0, 0, 64, 64}, kRed});
  Start(0);
  ASSERT_TRUE(WaitForColor(32, 32, kRed));
  sharing_->Pause();
  ASSERT_TRUE(WaitForEvent("Paused 0 kByRequest"));
  const auto frames = writer_->frames();
  window.Paint(kGreen);
  sharing_->Resume();
  ASSERT_TRUE(WaitForEvent("Resumed 0 kByRequest"));
  ASSERT_TRUE(WaitForColor(32, 32, kGreen));
  EXPECT_GT(writer_->frames(), frames);
}

TEST_F(DesktopCapture, WhatIsNotThereIsAnErrorAndNothingElse) {
  for (const long source : {12345678L, -7L, 1L << 40}) {
    client_->Forget();
    DesktopScreenParams params;
    params.source_kind = 0;
    Start(source, params);
    const std::string name = std::to_string(source);
    ASSERT_TRUE(WaitForEvent("Error " + name + " kSourceNotFound"));
    sharing_->Stop();
    main_->RunUntilIdle();
    EXPECT_THAT(client_->events(), ElementsAre("Error " + name + " kSourceNotFound"));
  }
}

TEST_F(DesktopCapture, AServerThatGoesStopsTheCapture) {
  Start(0);
  ASSERT_TRUE(WaitForEvent("FirstFrame 0"));
  KillDesktop();
  ASSERT_TRUE(WaitForEvent("Stopped 0 kFailed"));
  sharing_->Stop();
  main_->RunUntilIdle();
  EXPECT_THAT(client_->events(), ::testing::Not(Contains("Stopped 0 kByRequest")));
}

TEST_F(DesktopCapture, AStopIsReportedAndNoFrameComesBehindIt) {
  TestWindow window(*desktop_, {{0, 0, 64, 64}, kRed});
  Start(0);
  ASSERT_TRUE(WaitForColor(32, 32, kRed));
  sharing_->RemoveOutputWriter(writer_);
  sharing_->Stop();
  ASSERT_TRUE(WaitForEvent("Stopped 0 kByRequest"));
  EXPECT_EQ(client_->events().back(), "Stopped 0 kByRequest");
  const auto frames = writer_->frames();
  client_->Forget();
  const auto second = std::make_shared<ScreenWriter>();
  sharing_->AddOutputWriter(second);
  Start(0);
  ASSERT_TRUE(WaitForEvent("FirstFrame 0"));
  EXPECT_EQ(writer_->frames(), frames);
}

TEST_F(DesktopCapture, EachOfSeveralWritersGetsTheFrames) {
  desktop_->PaintBackground(kGreen);
  const auto second = std::make_shared<ScreenWriter>();
  sharing_->AddOutputWriter(second);
  Start(0);
  ASSERT_TRUE(WaitForColor(5, 5, kGreen));
  EXPECT_TRUE(WaitFor([&] { return IsLike(ColorAt(second->last(), 5, 5), kGreen); }));
}

TEST_F(DesktopCapture, AMonitorThatGoesStopsTheCapture) {
  const xcb_atom_t left = desktop_->AddMonitor("left", {0, 0, 320, 480});
  ASSERT_NE(left, XCB_ATOM_NONE);
  const std::string name = std::to_string(left);
  Start(left);
  ASSERT_TRUE(WaitForEvent("FirstFrame " + name));
  EXPECT_EQ(writer_->last().info().size, (Size{320, 480}));
  desktop_->RemoveMonitor(left);
  EXPECT_TRUE(WaitForEvent("Stopped " + name + " kMonitorGone"));
}

}  // namespace
}  // namespace movra::media
