#include "app/stall_watch.h"

#include <gtest/gtest.h>

namespace movra::app {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

const std::chrono::steady_clock::time_point kStart{seconds(1000)};

TEST(StallWatch, SaysNothingWhileFramesCome) {
  StallWatch watch(kStart);
  for (int i = 1; i < 20; ++i) {
    EXPECT_EQ(watch.Notice(kStart + seconds(i), static_cast<std::uint64_t>(i), ""), "");
  }
}

TEST(StallWatch, ASourceThatGivesNothingIsNamedOnceAndSoIsThatItGoesOn) {
  StallWatch watch(kStart);
  EXPECT_EQ(watch.Notice(kStart + seconds(1), 5, ""), "");
  EXPECT_EQ(watch.Notice(kStart + milliseconds(2999), 5, ""), "");
  EXPECT_EQ(watch.Notice(kStart + seconds(3), 5, ""),
            "note: the source gives nothing; waiting for it");
  EXPECT_EQ(watch.Notice(kStart + seconds(4), 5, ""), "");
  EXPECT_EQ(watch.Notice(kStart + seconds(6), 6, ""), "note: it goes on, after 0:05.0");
  EXPECT_EQ(watch.Notice(kStart + seconds(7), 6, ""), "");
  EXPECT_EQ(watch.Notice(kStart + seconds(8), 6, ""),
            "note: the source gives nothing; waiting for it");
}

TEST(StallWatch, AReaderThatTakesNothingIsNamedInsteadOfTheSource) {
  StallWatch watch(kStart);
  EXPECT_EQ(watch.Notice(kStart + seconds(2), 0, "--big"),
            "note: the reader of --big takes nothing; waiting for it");
}

}  // namespace
}  // namespace movra::app
