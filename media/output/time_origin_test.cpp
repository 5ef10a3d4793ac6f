#include "media/output/time_origin.h"

#include <gtest/gtest.h>

namespace movra::media {
namespace {

using std::chrono::milliseconds;

TEST(TimeOrigin, TheFirstFrameOfAnyStreamIsTimeZero) {
  TimeOrigin origin;
  EXPECT_EQ(origin.Since(milliseconds(5000)), milliseconds(0));
  EXPECT_EQ(origin.Since(milliseconds(5040)), milliseconds(40));
  EXPECT_EQ(origin.Since(milliseconds(4990)), milliseconds(-10));
}

}  // namespace
}  // namespace movra::media
