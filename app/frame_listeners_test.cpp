#include "app/frame_listeners.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <vector>

#include "media/frame/pictures_for_test.h"

namespace movra::app {
namespace {

using media::PlaneBytes;
using video::InterceptPosition;
using video::PixelFormat;
using video::PixelFrame;

constexpr video::Size kSize{6, 4};

class FrameListenerTest : public ::testing::Test {
 protected:
  static PixelFrame Pass(const std::string& text, const PixelFrame& frame) {
    const auto made = MakeFrameListener(text);
    return ValueOf(made)->OnInterceptFrame(InterceptPosition::kCaptured, frame);
  }
  PixelFrame Picture(PixelFormat format) {
    return media::FlatFrame(pool_, format, kSize, media::kRust);
  }

  media::FramePool pool_;
};

TEST_F(FrameListenerTest, InvertTurnsLumaRoundInACopy) {
  const std::vector<std::uint8_t> turned(24, 255 - media::kRust.y);
  const std::vector<std::uint8_t> before(24, media::kRust.y);
  for (const PixelFormat format : {PixelFormat::kI420, PixelFormat::kNV12, PixelFormat::kI422,
                                   PixelFormat::kI444, PixelFormat::kGray}) {
    const PixelFrame frame = Picture(format);
    const PixelFrame inverted = Pass("invert", frame);
    EXPECT_EQ(PlaneBytes(inverted.info(), 0), turned) << static_cast<int>(format);
    EXPECT_EQ(PlaneBytes(frame.info(), 0), before) << static_cast<int>(format);
    if (format == PixelFormat::kGray) continue;
    EXPECT_EQ(PlaneBytes(inverted.info(), 1), PlaneBytes(frame.info(), 1));
  }
}

TEST_F(FrameListenerTest, InvertLeavesPicturesWithoutLumaOfEightBitsAlone) {
  for (const PixelFormat format : {PixelFormat::kBGRA, PixelFormat::kRGBA, PixelFormat::kI010}) {
    const PixelFrame frame = Picture(format);
    EXPECT_EQ(Pass("invert", frame).owner(), frame.owner());
  }
}

TEST_F(FrameListenerTest, DropDropsEveryNthFrame) {
  const PixelFrame frame = Picture(PixelFormat::kI420);
  const auto made = MakeFrameListener("drop:3");
  std::vector<bool> passed;
  for (int i = 0; i < 7; ++i) {
    passed.push_back(bool{ValueOf(made)->OnInterceptFrame(InterceptPosition::kCaptured, frame)});
  }
  EXPECT_EQ(passed, (std::vector<bool>{true, true, false, true, true, false, true}));
  EXPECT_FALSE(Pass("drop:1", frame));
}

TEST_F(FrameListenerTest, SleepTakesItsTimeAndPassesTheFrameOn) {
  const PixelFrame frame = Picture(PixelFormat::kI420);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(Pass("sleep:2", frame).owner(), frame.owner());
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(2));
}

TEST_F(FrameListenerTest, OtherTextsAreNoListeners) {
  for (const char* text : {"", "invert ", "Invert", "drop", "drop:", "drop:0", "drop:-1",
                           "drop:1.5", "sleep:0", "sleep:60001", "sleep:x", "mirror"}) {
    const auto made = MakeFrameListener(text);
    ASSERT_NE(FailureOf(made), nullptr) << text;
    EXPECT_EQ(FailureOf(made)->text,
              "'" + std::string(text) +
                  "' is no listener; write 'invert', 'drop:N' with an N from 1 on, or 'sleep:MS' "
                  "with 1 to 60000 milliseconds");
  }
}

}  // namespace
}  // namespace movra::app
