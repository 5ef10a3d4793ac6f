// Single windows, captured from a real X server with a window manager.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "media/screen/screen_for_test.h"

namespace movra::media {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::StartsWith;
using video::DesktopScreenParams;
using video::Region;
using video::Size;

constexpr std::uint32_t kRed = 0xC02020;
constexpr std::uint32_t kGreen = 0x20A020;
constexpr std::uint32_t kBlue = 0x2020C0;

class WindowCapture : public ScreenTest {
 protected:
  static std::string Text(const char* event, const TestWindow& window, const char* more = "") {
    return std::string(event) + " " + std::to_string(window.id()) + more;
  }
  void StartWindow(const TestWindow& window, DesktopScreenParams params = {}) {
    params.source_kind = 1;
    Start(window.id(), params);
  }
  [[nodiscard]] bool ShowsOnly(std::uint32_t rgb) const {
    const video::PixelFrame frame = writer_->last();
    const Size size = frame.info().size;
    for (int y = 0; y < size.height; y += 3) {
      for (int x = 0; x < size.width; x += 3) {
        if (!IsLike(ColorAt(frame, x, y), rgb)) return false;
      }
    }
    return size.width > 0;
  }
};

TEST_F(WindowCapture, AWindowIsCapturedByItselfWithoutItsFrame) {
  desktop_->PaintBackground(kBlue);
  TestWindow window(*desktop_, {{100, 80, 120, 90}, kRed, "One", true});
  StartWindow(window);
  ASSERT_TRUE(WaitForEvent(Text("FirstFrame", window)));
  EXPECT_THAT(client_->events(),
              ElementsAre(Text("Started", window), Text("Mode", window, " kUnknown kWindow"),
                          Text("FirstFrame", window)));
  EXPECT_EQ(writer_->last().info().size, (Size{120, 90}));
  EXPECT_TRUE(ShowsOnly(kRed));
  window.Paint(kGreen);
  EXPECT_TRUE(WaitFor([&] { return ShowsOnly(kGreen); }));
}

TEST_F(WindowCapture, WithoutAKindTheNumberSaysWhatItIs) {
  const TestWindow window(*desktop_, {{0, 0, 40, 40}, kRed});
  Start(window.id());
  EXPECT_TRUE(WaitForColor(20, 20, kRed));
}

TEST_F(WindowCapture, ACoveredWindowIsCapturedWholeAndTheClientHearsOfIt) {
  const TestWindow window(*desktop_, {{100, 80, 120, 90}, kRed});
  StartWindow(window);
  ASSERT_TRUE(WaitForEvent(Text("FirstFrame", window)));
  TestWindow above(*desktop_, {{140, 100, 200, 200}, kBlue});
  ASSERT_TRUE(WaitForEvent(Text("Covered", window)));
  const auto frames = writer_->frames();
  ASSERT_TRUE(WaitFor([&] { return writer_->frames() > frames; }));
  EXPECT_TRUE(ShowsOnly(kRed));
  // Told again when it happens again.
  client_->Forget();
  above.MoveTo({400, 300, 20, 20});
  above.MoveTo({140, 100, 20, 20});
  EXPECT_TRUE(WaitFor([&] {
    above.MoveTo({400, 300, 20, 20});
    main_->RunUntilIdle();
    above.MoveTo({140, 100, 20, 20});
    return client_->Heard(Text("Covered", window));
  }));
}

TEST_F(WindowCapture, OneThatIsCoveredFromTheBeginningIsCapturedWholeToo) {
  const TestWindow window(*desktop_, {{100, 80, 120, 90}, kRed});
  const TestWindow above(*desktop_, {{90, 70, 200, 200}, kBlue});
  StartWindow(window);
  ASSERT_TRUE(WaitFor([&] { return writer_->frames() > 0; }));
  EXPECT_TRUE(ShowsOnly(kRed));
}

TEST_F(WindowCapture, WhereCoveredOnesAreNotWantedThePictureStandsStillMeanwhile) {
  TestWindow window(*desktop_, {{100, 80, 120, 90}, kRed});
  DesktopScreenParams params;
  params.capture_covered = false;
  StartWindow(window, params);
  ASSERT_TRUE(WaitFor([&] { return ShowsOnly(kRed); }));
  {
    const TestWindow above(*desktop_, {{140, 100, 20, 20}, kBlue});
    ASSERT_TRUE(WaitForEvent(Text("Covered", window)));
    window.Paint(kGreen);
    const auto frames = writer_->frames();
    ASSERT_TRUE(WaitFor([&] { return writer_->frames() > frames; }));
    EXPECT_TRUE(ShowsOnly(kRed));
  }
  EXPECT_TRUE(WaitFor([&] { return ShowsOnly(kGreen); }));
}

TEST_F(WindowCapture, ANewSizeIsToldAndNoPictureIsGarbled) {
  TestWindow window(*desktop_, {{100, 80, 120, 90}, kRed});
  StartWindow(window);
  ASSERT_TRUE(WaitForEvent(Text("FirstFrame", window)));
  window.MoveTo({100, 80, 161, 47});
  ASSERT_TRUE(WaitForEvent(Text("Size", window, " 161x47")));
  ASSERT_TRUE(WaitFor([&] { return writer_->last().info().size == Size{162, 48}; }));
  EXPECT_TRUE(ShowsOnly(kRed));
  EXPECT_THAT(writer_->sizes(), ElementsAre(Size{120, 90}, Size{162, 48}));
}

TEST_F(WindowCapture, AMinimisedWindowPausesKeepsItsPictureAndComesBack) {
  TestWindow window(*desktop_, {{100, 80, 120, 90}, kRed, "Mini", true});
  StartWindow(window);
  ASSERT_TRUE(WaitForEvent(Text("FirstFrame", window)));
  window.Minimise();
  ASSERT_TRUE(WaitForEvent(Text("Paused", window, " kMinimised")));
  const auto frames = writer_->frames();
  ASSERT_TRUE(WaitFor([&] { return writer_->frames() > frames; }));
  EXPECT_TRUE(ShowsOnly(kRed));
  window.Paint(kGreen);
  window.Restore();
  ASSERT_TRUE(WaitForEvent(Text("Resumed", window, " kRestored")));
  EXPECT_TRUE(WaitFor([&] { return ShowsOnly(kGreen); }));
  EXPECT_THAT(writer_->sizes(), ElementsAre(Size{120, 90}));
  EXPECT_THAT(client_->events(), Each(Not(StartsWith("Size"))));
}

TEST_F(WindowCapture, AClosedWindowStopsTheCaptureAndNeverBecomesAnother) {
  TestWindow window(*desktop_, {{100, 80, 120, 90}, kRed});
  StartWindow(window);
  ASSERT_TRUE(WaitForEvent(Text("FirstFrame", window)));
  const std::string stopped = Text("Stopped", window, " kSourceClosed");
  window.Close();
  const TestWindow next(*desktop_, {{100, 80, 120, 90}, kBlue});
  ASSERT_TRUE(WaitForEvent(stopped));
  EXPECT_TRUE(ShowsOnly(kRed));
  sharing_->Stop();
  main_->RunUntilIdle();
  EXPECT_EQ(client_->events().back(), stopped);
}

TEST_F(WindowCapture, AWindowBeyondTheEdgeOfTheScreenIsCapturedWhole) {
  TestWindow window(*desktop_, {{-60, 430, 120, 90}, kRed});
  StartWindow(window);
  ASSERT_TRUE(WaitFor([&] { return writer_->frames() > 0; }));
  EXPECT_EQ(writer_->last().info().size, (Size{120, 90}));
  EXPECT_TRUE(ShowsOnly(kRed));
  window.MoveTo({3000, 3000, 120, 90});
  window.Paint(kGreen);
  EXPECT_TRUE(WaitFor([&] { return ShowsOnly(kGreen); }));
}

TEST_F(WindowCapture, AShapeIsRespectedAndWhatIsOutsideIsBlack) {
  desktop_->PaintBackground(kBlue);
  TestWindow window(*desktop_, {{100, 80, 100, 80}, kRed});
  window.SetShape({{20, 20, 40, 40}});
  StartWindow(window);
  ASSERT_TRUE(WaitForColor(40, 40, kRed));
  EXPECT_TRUE(IsLike(ColorAt(writer_->last(), 5, 5), 0));
  EXPECT_TRUE(IsLike(ColorAt(writer_->last(), 80, 40), 0));
  window.SetShape({{0, 0, 40, 80}});
  ASSERT_TRUE(WaitForColor(5, 5, kRed));
  EXPECT_TRUE(IsLike(ColorAt(writer_->last(), 60, 40), 0));
}

TEST_F(WindowCapture, SmallAndLongWindowsAreCaptured) {
  for (const Size size : {Size{1, 1}, Size{8000, 3}}) {
    const TestWindow window(*desktop_, {{0, 0, size.width, size.height}, kRed});
    StartWindow(window);
    ASSERT_TRUE(WaitFor([&] {
      return writer_->last().info().size == Size{size.width + size.width % 2, size.height + 1};
    }));
    EXPECT_TRUE(IsLike(ColorAt(writer_->last(), 1, 1), kRed));
    sharing_->Stop();
  }
}

TEST_F(WindowCapture, TheCursorIsShownWithinTheWindow) {
  const TestWindow window(*desktop_, {{100, 80, 120, 90}, kRed});
  desktop_->MovePointer(150, 120);
  DesktopScreenParams params;
  params.capture_cursor = true;
  StartWindow(window, params);
  EXPECT_TRUE(WaitFor([&] {
    for (int y = 30; y < 60; ++y) {
      for (int x = 40; x < 70; ++x) {
        const std::uint32_t color = ColorAt(writer_->last(), x, y);
        if (color <= 0xFFFFFF && !IsLike(color, kRed)) return true;
      }
    }
    return false;
  }));
}

TEST_F(WindowCapture, APartOfAWindowIsCapturedAlone) {
  const TestWindow window(*desktop_, {{100, 80, 120, 90}, kRed});
  const TestWindow child(*desktop_, {{0, 0, 10, 10}, kBlue});
  DesktopScreenParams params;
  params.region = Region{10, 10, 50, 40};
  StartWindow(window, params);
  ASSERT_TRUE(WaitForColor(20, 20, kRed));
  EXPECT_EQ(writer_->last().info().size, (Size{50, 40}));
}

TEST_F(WindowCapture, AWindowThatNeverWasIsAnError) {
  DesktopScreenParams params;
  params.source_kind = 1;
  Start(0x7FFFFF, params);
  ASSERT_TRUE(WaitForEvent("Error 8388607 kSourceNotFound"));
}

}  // namespace
}  // namespace movra::media
