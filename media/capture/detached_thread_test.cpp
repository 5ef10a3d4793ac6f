#include "media/capture/detached_thread.h"

#include <gtest/gtest.h>

#include <chrono>
#include <latch>
#include <memory>

namespace movra::media {
namespace {

using std::chrono::hours;
using std::chrono::nanoseconds;

TEST(DetachedThread, IsWaitedForUntilItHasLetGoOfWhatItHeld) {
  const auto held = std::make_shared<int>();
  std::latch may_end(1);
  ASSERT_TRUE(
      StartDetachedThread("test", movra_base::BindOnce([held, &may_end] { may_end.wait(); })));
  EXPECT_FALSE(WaitForDetachedThreads(nanoseconds(0)));
  may_end.count_down();
  EXPECT_TRUE(WaitForDetachedThreads(hours(1)));
  EXPECT_EQ(held.use_count(), 1);
}

TEST(DetachedThread, NothingIsWaitedForWhereNoneRuns) {
  EXPECT_TRUE(WaitForDetachedThreads(nanoseconds(0)));
}

}  // namespace
}  // namespace movra::media
