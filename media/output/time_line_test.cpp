#include "media/output/time_line.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>

namespace movra::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

constexpr milliseconds kFrame{40};

TEST(TimeLine, BeginsWithItsOwnFirstFrameUnlessAnOriginIsShared) {
  TimeLine line(nullptr);
  EXPECT_EQ(line.last(), std::nullopt);
  EXPECT_EQ(line.Add(seconds(7), kFrame), seconds(0));
  EXPECT_EQ(line.last(), seconds(0));
  EXPECT_EQ(line.Add(seconds(9), kFrame), seconds(2));
  EXPECT_EQ(line.PlaceOf(seconds(12)), seconds(5));
}

TEST(TimeLine, OfASharedOriginHasTheSameInstantsAndNoneBelowIt) {
  const auto origin = std::make_shared<TimeOrigin>();
  TimeLine first(origin);
  TimeLine second(origin);
  TimeLine older(origin);
  first.Add(seconds(7), kFrame);
  EXPECT_EQ(second.Add(seconds(8), kFrame), seconds(1));
  EXPECT_EQ(older.Add(seconds(6), kFrame), seconds(0));
  EXPECT_EQ(older.Add(seconds(8), kFrame), seconds(1));
}

TEST(TimeLine, GoesOnWhereTheSourceJumpsBack) {
  TimeLine line(nullptr);
  line.Add(seconds(7), kFrame);
  line.Add(seconds(8), kFrame);
  EXPECT_EQ(line.Add(seconds(3), kFrame), seconds(1) + kFrame);
  EXPECT_EQ(line.Add(seconds(4), kFrame), seconds(2) + kFrame);
  EXPECT_EQ(line.PlaceOf(seconds(5)), seconds(3) + kFrame) << "so does what ends it";
}

}  // namespace
}  // namespace movra::media
