// A desktop of which windows are left out, captured from a real X server.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <memory>

#include "media/frame/convert_frame.h"
#include "media/screen/screen_for_test.h"

namespace movra::media {
namespace {

using video::DesktopScreenParams;
using video::PixelFrame;
using video::Region;

constexpr std::uint32_t kRed = 0xC02020;
constexpr std::uint32_t kGreen = 0x20A020;
constexpr std::uint32_t kBlue = 0x2020C0;
constexpr std::uint32_t kYellow = 0xC0C020;

// Whether the colour is anywhere in any picture that it was given.
class ColorWatch final : public video::IPixelFrameTrackWriter {
 public:
  explicit ColorWatch(std::uint32_t rgb) : rgb_(rgb) {}

  video::TrackWriteResult Write(PixelFrame frame) override {
    const video::Size size = frame.info().size;
    bool sees = false;
    FramePool pool;
    const PixelFrame rgb = ConvertFrame(frame, video::PixelFormat::kBGRA, pool);
    const video::PixelPlane& plane = rgb.info().planes[0];
    for (int y = 0; y < size.height && !sees; ++y) {
      const std::uint8_t* pixel = plane.data + static_cast<std::ptrdiff_t>(y) * plane.stride;
      for (int x = 0; x < size.width && !sees; ++x, pixel += 4) {
        sees = IsLike(static_cast<std::uint32_t>(pixel[2]) << 16U |
                          static_cast<std::uint32_t>(pixel[1]) << 8U | pixel[0],
                      rgb_);
      }
    }
    const MutexLock lock(mutex_);
    if (sees) ++seen_;
    ++frames_;
    return video::TrackWriteResult::kAccepted;
  }

  [[nodiscard]] int seen() const {
    const MutexLock lock(mutex_);
    return seen_;
  }
  [[nodiscard]] int frames() const {
    const MutexLock lock(mutex_);
    return frames_;
  }

 private:
  const std::uint32_t rgb_;
  mutable Mutex mutex_;
  int seen_ MOVRA_GUARDED_BY(mutex_) = 0;
  int frames_ MOVRA_GUARDED_BY(mutex_) = 0;
};

class ComposedCapture : public ScreenTest {
 protected:
  ComposedCapture() { sharing_->AddOutputWriter(red_); }

  const std::shared_ptr<ColorWatch> red_ = std::make_shared<ColorWatch>(kRed);
};

TEST_F(ComposedCapture, AnExcludedWindowIsInNoPixelAndWhatIsBeneathItIs) {
  desktop_->PaintBackground(kBlue);
  const TestWindow beneath(*desktop_, {{50, 50, 100, 100}, kGreen});
  const TestWindow secret(*desktop_, {{100, 100, 200, 200}, kRed});
  const TestWindow above(*desktop_, {{250, 250, 100, 100}, kYellow});
  sharing_->AddExcludedShareWindow(secret.id());
  Start(0);
  ASSERT_TRUE(WaitForColor(120, 120, kGreen));
  EXPECT_TRUE(IsLike(ColorAt(writer_->last(), 200, 200), kBlue));
  EXPECT_TRUE(IsLike(ColorAt(writer_->last(), 270, 270), kYellow));
  EXPECT_TRUE(IsLike(ColorAt(writer_->last(), 10, 10), kBlue));
  EXPECT_TRUE(WaitForEvent("Mode 0 kUnknown kComposed"));
  EXPECT_EQ(red_->seen(), 0);
}

TEST_F(ComposedCapture, WithoutAnyDifferenceThePictureIsThatOfTheScreen) {
  desktop_->PaintBackground(kBlue);
  const TestWindow framed(*desktop_, {{60, 60, 120, 90}, kGreen, "Framed", true});
  TestWindow shaped(*desktop_, {{300, 100, 100, 100}, kYellow});
  shaped.SetShape({{20, 20, 30, 30}, {60, 60, 30, 30}});
  TestWindow outside(*desktop_, {{3000, 3000, 10, 10}, kRed});
  Start(0);
  ASSERT_TRUE(WaitForColor(330, 130, kYellow));
  ASSERT_TRUE(WaitForColor(100, 100, kGreen));
  const PixelFrame copied = writer_->last();
  sharing_->AddExcludedShareWindow(outside.id());
  ASSERT_TRUE(WaitForEvent("Mode 0 kDisplay kComposed"));
  const auto is_same = [&] {
    const PixelFrame composed = writer_->last();
    for (int y = 0; y < 480; ++y) {
      if (std::memcmp(copied.info().planes[0].data + y * copied.info().planes[0].stride,
                      composed.info().planes[0].data + y * composed.info().planes[0].stride,
                      640) != 0) {
        return false;
      }
    }
    return true;
  };
  EXPECT_TRUE(WaitFor(is_same));
}

TEST_F(ComposedCapture, WhatIsBeneathAnExcludedWindowKeepsMoving) {
  TestWindow beneath(*desktop_, {{50, 50, 100, 100}, kGreen});
  const TestWindow secret(*desktop_, {{40, 40, 200, 200}, kRed});
  sharing_->AddExcludedShareWindow(secret.id());
  Start(0);
  ASSERT_TRUE(WaitForColor(100, 100, kGreen));
  beneath.Paint(kYellow);
  ASSERT_TRUE(WaitForColor(100, 100, kYellow));
  beneath.MoveTo({100, 100, 100, 100});
  ASSERT_TRUE(WaitForColor(180, 180, kYellow));
  // One that opens beneath it too.
  const std::uint32_t below = XCB_STACK_MODE_BELOW;
  TestWindow opened(*desktop_, {{60, 60, 30, 30}, kBlue});
  desktop_->connection().Check(xcb_configure_window_checked(
      desktop_->connection().xcb(), opened.id(), XCB_CONFIG_WINDOW_STACK_MODE, &below));
  EXPECT_TRUE(WaitForColor(70, 70, kBlue));
  EXPECT_EQ(red_->seen(), 0);
}

TEST_F(ComposedCapture, AWindowThatOpensAboveAnExcludedOneIsShownOnceItIsPainted) {
  desktop_->PaintBackground(kBlue);
  const TestWindow secret(*desktop_, {{40, 40, 200, 200}, kRed});
  sharing_->AddExcludedShareWindow(secret.id());
  Start(0);
  ASSERT_TRUE(WaitForColor(100, 100, kBlue));
  for (const bool is_managed : {false, true}) {
    const TestWindow opened(*desktop_, {{60, 80, 100, 80}, kGreen, "Opened", is_managed});
    ASSERT_TRUE(WaitForColor(140, 140, kGreen));
    EXPECT_TRUE(WaitForColor(70, 120, kGreen));
  }
  EXPECT_EQ(red_->seen(), 0);
}

TEST_F(ComposedCapture, TheListsTakeEffectOnTheRunningCapture) {
  desktop_->PaintBackground(kBlue);
  TestWindow secret(*desktop_, {{100, 100, 200, 200}, kRed, "Secret", true});
  Start(0);
  ASSERT_TRUE(WaitForColor(200, 200, kRed));
  sharing_->AddExcludedShareWindow(secret.id());
  ASSERT_TRUE(WaitForColor(200, 200, kBlue));
  const int seen = red_->seen();
  for (int i = 0; i < 10; ++i) {
    secret.MoveTo({100 + i * 20, 100, 200, 200});
    const int frames = red_->frames();
    ASSERT_TRUE(WaitFor([&] { return red_->frames() > frames; }));
  }
  EXPECT_EQ(red_->seen(), seen);
  sharing_->RemoveAllExcludedShareWindow();
  ASSERT_TRUE(WaitFor([&] { return red_->seen() > seen; }));
  EXPECT_TRUE(WaitForEvent("Mode 0 kComposed kDisplay"));
}

TEST_F(ComposedCapture, WhereAnyAreIncludedThoseAloneAreShownAndExcludedBeatsIncluded) {
  desktop_->PaintBackground(kBlue);
  const TestWindow first(*desktop_, {{0, 0, 100, 100}, kGreen});
  const TestWindow second(*desktop_, {{200, 0, 100, 100}, kYellow});
  const TestWindow secret(*desktop_, {{400, 0, 100, 100}, kRed});
  sharing_->AddIncludedShareWindow(first.id());
  sharing_->AddIncludedShareWindow(secret.id());
  sharing_->AddExcludedShareWindow(secret.id());
  Start(0);
  ASSERT_TRUE(WaitForColor(50, 50, kGreen));
  for (const int x : {250, 450, 600}) EXPECT_TRUE(IsLike(ColorAt(writer_->last(), x, 50), 0));
  sharing_->AddIncludedShareWindow(second.id());
  ASSERT_TRUE(WaitForColor(250, 50, kYellow));
  sharing_->RemoveIncludedShareWindow(first.id());
  ASSERT_TRUE(WaitForColor(50, 50, 0));
  EXPECT_EQ(red_->seen(), 0);
  sharing_->RemoveAllIncludedShareWindow();
  EXPECT_TRUE(WaitForColor(600, 50, kBlue));
}

TEST_F(ComposedCapture, WindowsOfThisProcessAreLeftOutWhereThatIsAskedFor) {
  desktop_->PaintBackground(kBlue);
  const TestWindow other(*desktop_, {{300, 0, 100, 100}, kGreen});
  TestWindow own(*desktop_, {{100, 100, 200, 200}, kRed, "Own", true});
  const auto process = static_cast<std::uint32_t>(getpid());
  X11Connection& connection = desktop_->connection();
  ASSERT_TRUE(connection.Check(xcb_change_property_checked(connection.xcb(), XCB_PROP_MODE_REPLACE,
                                                           own.id(), connection.Atom("_NET_WM_PID"),
                                                           XCB_ATOM_CARDINAL, 32, 1, &process)));
  DesktopScreenParams params;
  params.exclude_own_windows = true;
  Start(0, params);
  ASSERT_TRUE(WaitForColor(350, 50, kGreen));
  EXPECT_TRUE(WaitForColor(200, 200, kBlue));
  EXPECT_EQ(red_->seen(), 0);
}

TEST_F(ComposedCapture, APartOfTheDesktopIsComposedToo) {
  desktop_->PaintBackground(kBlue);
  const TestWindow secret(*desktop_, {{100, 100, 200, 200}, kRed});
  const TestWindow above(*desktop_, {{150, 150, 20, 20}, kGreen});
  sharing_->AddExcludedShareWindow(secret.id());
  DesktopScreenParams params;
  params.region = Region{140, 140, 60, 40};
  Start(0, params);
  ASSERT_TRUE(WaitForColor(15, 15, kGreen));
  EXPECT_TRUE(IsLike(ColorAt(writer_->last(), 2, 2), kBlue));
  EXPECT_EQ(writer_->last().info().size, (video::Size{60, 40}));
  EXPECT_EQ(red_->seen(), 0);
}

}  // namespace
}  // namespace movra::media
