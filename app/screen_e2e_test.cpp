// The program captures a desktop with windows on it into files.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "app/process_for_test.h"
#include "media/ffmpeg/decode_for_test.h"
#include "media/screen/x11_desktop_for_test.h"
#include "media/temporary_directory_for_test.h"

namespace movra::app {
namespace {

using media::TestWindow;
using media::X11Desktop;
using ::testing::HasSubstr;
using video::Region;

constexpr std::uint32_t kWhite = 0xFFFFFF;
constexpr int kSide = 64;

// Rows where windows are, and the cursor is not.
constexpr int kTop = 150;
constexpr int kBottom = 320;

// Where a picture is bright between those rows; an empty one if it is nowhere.
Region BrightPart(const media::DecodedPicture& picture) {
  int left = picture.size.width;
  int top = picture.size.height;
  int right = -1;
  int bottom = -1;
  for (int y = kTop; y < std::min(kBottom, picture.size.height); ++y) {
    for (int x = 0; x < picture.size.width; ++x) {
      const auto place =
          static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.size.width) +
          static_cast<std::size_t>(x);
      if (picture.luma[place] < 128) continue;
      left = std::min(left, x);
      right = std::max(right, x);
      top = std::min(top, y);
      bottom = std::max(bottom, y);
    }
  }
  return right < 0 ? Region{} : Region{left, top, right - left + 1, bottom - top + 1};
}

bool IsNear(int a, int b) { return a >= b - 2 && a <= b + 2; }

class ScreenE2e : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(desktop_.is_there()); }

  // Goes on with `step` until the program has ended.
  ProcessResult RunWhile(const std::vector<std::string>& words, const std::function<void()>& step) {
    std::vector<std::string> all{MOVRA_PRODUCER_BINARY, "run"};
    all.insert(all.end(), words.begin(), words.end());
    std::atomic<bool> is_over = false;
    ProcessResult result;
    std::thread program([&] {
      result = RunProcess({.words = all, .directory = directory_.path().string()});
      is_over = true;
    });
    while (!is_over) {
      step();
      poll(nullptr, 0, 5);
    }
    program.join();
    return result;
  }

  X11Desktop desktop_{X11Desktop::Manager::kOpenbox};
  const media::TemporaryDirectory directory_;
};

TEST_F(ScreenE2e, AMovingWindowOnTheDesktopComesWholeIntoTheFile) {
  desktop_.PaintBackground(0);
  desktop_.MovePointer(639, 479);
  TestWindow window(desktop_, {{0, 200, kSide, kSide}, kWhite});
  int x = 0;
  const ProcessResult result = RunWhile({"--source", "screen:", "--duration", "2s", "--big",
                                         "640x480,4M,screen.mp4", "--small", "off", "--out", "out"},
                                        [&] {
                                          x = (x + 4) % 512;
                                          window.MoveTo({x, 200, kSide, kSide});
                                        });
  ASSERT_EQ(result.exit_code, 0) << result.err;
  const media::DecodedFile file =
      media::DecodeFile((directory_.path() / "out" / "screen.mp4").string());
  ASSERT_EQ(file.error, "");
  ASSERT_GE(file.pictures.size(), 5U);
  std::set<int> places;
  for (const media::DecodedPicture& picture : file.pictures) {
    ASSERT_EQ(picture.size, (video::Size{640, 480}));
    const Region bright = BrightPart(picture);
    EXPECT_TRUE(IsNear(bright.y, 200) && IsNear(bright.width, kSide) &&
                IsNear(bright.height, kSide))
        << bright.width << "x" << bright.height << " at " << bright.x << "," << bright.y;
    places.insert(bright.x);
  }
  EXPECT_GE(places.size(), 3U);
}

TEST_F(ScreenE2e, AWindowIsCapturedByItsTitleWhileAnotherCoversIt) {
  desktop_.MovePointer(639, 479);
  TestWindow window(desktop_, {{40, 40, 320, 320}, 0, "The wanted one", true});
  const TestWindow other(desktop_, {{400, 300, 50, 50}, kWhite, "Another", true});
  const TestWindow above(desktop_, {{0, 0, 300, 300}, kWhite});
  const ProcessResult result = RunWhile({"--source", "window:wanted", "--duration", "1s", "--big",
                                         "320x320,2M,window.mp4", "--small", "off", "--out", "out"},
                                        [] {});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  const media::DecodedFile file =
      media::DecodeFile((directory_.path() / "out" / "window.mp4").string());
  ASSERT_EQ(file.error, "");
  ASSERT_GE(file.pictures.size(), 1U);
  for (const media::DecodedPicture& picture : file.pictures) {
    ASSERT_EQ(picture.size, (video::Size{320, 320}));
    EXPECT_EQ(BrightPart(picture), Region{});
  }
}

TEST_F(ScreenE2e, AWindowThatIsClosedEndsTheRunAndKeepsWhatThereIs) {
  TestWindow window(desktop_, {{40, 40, 320, 320}, kWhite, "Short-lived", true});
  const auto file = directory_.path() / "out" / "window.mp4";
  int steps = 0;
  const ProcessResult result =
      RunWhile({"--source", "window:Short-lived", "--duration", "60s", "--big",
                "320x320,2M,window.mp4", "--small", "off", "--out", "out"},
               [&] {
                 // Once something has been written.
                 std::error_code error;
                 window.Paint(steps++ % 2 == 0 ? kWhite : 0);
                 if (std::filesystem::file_size(file, error) > 0 && !error && steps > 200)
                   window.Close();
               });
  EXPECT_EQ(result.exit_code, 16) << result.err;
  EXPECT_THAT(result.err, HasSubstr("it was closed; the rest is kept"));
  const media::DecodedFile played = media::DecodeFile(file.string());
  EXPECT_EQ(played.error, "");
  EXPECT_GE(played.pictures.size(), 1U);
}

TEST_F(ScreenE2e, ATitleThatFitsSeveralWindowsIsRefusedWithAllOfThem) {
  const TestWindow first(desktop_, {{40, 40, 100, 100}, 0, "Terminal 1", true});
  const TestWindow second(desktop_, {{200, 40, 100, 100}, 0, "Terminal 2", true});
  const ProcessResult result = RunWhile({"--source", "window:Terminal", "--out", "out"}, [] {});
  EXPECT_EQ(result.exit_code, 14);
  EXPECT_THAT(result.err, HasSubstr("several windows are called 'Terminal': "));
  EXPECT_THAT(result.err, HasSubstr("(Terminal 1)"));
  EXPECT_THAT(result.err, HasSubstr("(Terminal 2)"));
}

TEST_F(ScreenE2e, AMonitorThatIsNotThereIsRefusedWithThoseThatAre) {
  const ProcessResult result = RunWhile({"--source", "screen:beamer", "--out", "out"}, [] {});
  EXPECT_EQ(result.exit_code, 14);
  EXPECT_THAT(result.err,
              HasSubstr("there is no monitor 'beamer'; there is screen:screen, and screen: for the "
                        "whole desktop"));
}

TEST(ScreenE2eWithout, ADisplayThatIsNotThereIsSaid) {
  const media::TemporaryDirectory directory;
  const ProcessResult result =
      RunProcess({.words = {MOVRA_PRODUCER_BINARY, "run", "--source", "screen:", "--out", "out"},
                  .directory = directory.path().string(),
                  .in_child = [] { unsetenv("DISPLAY"); }});
  EXPECT_EQ(result.exit_code, 15);
  EXPECT_THAT(result.err, HasSubstr("there is no X display: DISPLAY is not set"));
}

}  // namespace
}  // namespace movra::app
