#include "media/preprocess/stream_clock.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <variant>

#include <gtest/gtest.h>

namespace movra::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using video::FrameDelivery;
using video::PixelFrame;
using video::StreamEnd;

class StreamClockTest : public ::testing::Test {
 protected:
  // Where a frame of that source is placed.
  milliseconds Place(std::uint64_t run, int timestamp_ms, std::optional<int> captured_at_ms) {
    video::PixelFrameInfo info;
    info.source_run = run;
    info.timestamp = milliseconds(timestamp_ms);
    if (captured_at_ms) info.capture_time = milliseconds(*captured_at_ms);
    info.delivery = delivery_;
    video::TrackItem item = PixelFrame(info, std::make_shared<int>());
    clock_.Place(item);
    return std::chrono::duration_cast<milliseconds>(std::get<PixelFrame>(item).info().timestamp);
  }

  std::optional<nanoseconds> PlaceEnd(std::optional<milliseconds> end_time) {
    StreamEnd end;
    if (end_time) end.end_time = *end_time;
    video::TrackItem item = end;
    clock_.Place(item);
    return std::get<StreamEnd>(item).end_time;
  }

  FrameDelivery delivery_ = FrameDelivery::kLive;
  StreamClock clock_;
};

TEST_F(StreamClockTest, LeavesTheTimesOfTheFirstSourceAsTheyAre) {
  EXPECT_EQ(Place(5, 7000, 100), milliseconds(7000));
  EXPECT_EQ(Place(5, 7033, 90'000), milliseconds(7033));
  EXPECT_EQ(Place(5, 20, 90'033), milliseconds(20));  // A clock of its own that jumps.
  EXPECT_EQ(PlaceEnd(milliseconds(53)), milliseconds(53));
  EXPECT_EQ(PlaceEnd(std::nullopt), std::nullopt);
}

TEST_F(StreamClockTest, ALiveSourceComesAsMuchLaterAsItCame) {
  EXPECT_EQ(Place(1, 0, 1000), milliseconds(0));
  EXPECT_EQ(Place(1, 40, 1040), milliseconds(40));
  EXPECT_EQ(Place(2, 500, 3040), milliseconds(2040));
  EXPECT_EQ(Place(2, 520, 3061), milliseconds(2060));
  EXPECT_EQ(Place(3, 9, 3161), milliseconds(2160));
}

TEST_F(StreamClockTest, WhatIsTakenAsFastAsItGoesFollowsWhenTheLastPictureHasStoodItsTime) {
  delivery_ = FrameDelivery::kLossless;
  EXPECT_EQ(Place(1, 0, 1000), milliseconds(0));
  EXPECT_EQ(Place(1, 40, 1001), milliseconds(40));
  EXPECT_EQ(Place(2, 0, 5000), milliseconds(80));  // By the distance of its pictures.
  EXPECT_EQ(PlaceEnd(milliseconds(25)), milliseconds(105));
  EXPECT_EQ(Place(3, 100, 5001), milliseconds(105));  // By its end.
}

TEST_F(StreamClockTest, AFileComesAsMuchLaterThanALiveSourceAsItCame) {
  EXPECT_EQ(Place(1, 0, 1000), milliseconds(0));
  EXPECT_EQ(Place(1, 40, 1040), milliseconds(40));
  PlaceEnd(milliseconds(60));  // It stood until the next one came.
  delivery_ = FrameDelivery::kLossless;
  EXPECT_EQ(Place(2, 0, 9040), milliseconds(8040));
  EXPECT_EQ(Place(2, 20, 9041), milliseconds(8060));
  delivery_ = FrameDelivery::kLive;
  EXPECT_EQ(Place(3, 0, 20'000), milliseconds(8080));
}

TEST_F(StreamClockTest, ASourceOfOnePictureStandsForATime) {
  EXPECT_EQ(Place(1, 1000, std::nullopt), milliseconds(1000));
  EXPECT_EQ(Place(2, 0, 5), milliseconds(1033));
  EXPECT_EQ(Place(3, 0, 5), milliseconds(1066));  // Captured at one time, as it says.
  PlaceEnd(milliseconds(-5));                     // Before its last picture: not to be believed.
  EXPECT_EQ(Place(4, 7, 5), milliseconds(1099));
}

TEST_F(StreamClockTest, AnEndIsOfTheSourceBeforeAlone) {
  delivery_ = FrameDelivery::kLossless;
  EXPECT_EQ(Place(1, 0, 1000), milliseconds(0));
  PlaceEnd(milliseconds(500));
  EXPECT_EQ(Place(2, 0, 1010), milliseconds(500));
  EXPECT_EQ(Place(2, 40, 1050), milliseconds(540));
  EXPECT_EQ(Place(3, 0, 1060), milliseconds(580));
}

}  // namespace
}  // namespace movra::media
