#include "video/size.h"

#include <gtest/gtest.h>

namespace movra::video {
namespace {

TEST(Size, StartsAsNone) { EXPECT_EQ(Size(), (Size{0, 0})); }

TEST(Size, IsEqualInBothSidesOrNotAtAll) {
  EXPECT_EQ((Size{1280, 720}), (Size{1280, 720}));
  EXPECT_NE((Size{1280, 720}), (Size{1280, 721}));
  EXPECT_NE((Size{1280, 720}), (Size{1281, 720}));
  EXPECT_NE((Size{1280, 720}), (Size{720, 1280}));
}

TEST(Size, PrintsItsSidesAsPlainDecimals) {
  EXPECT_EQ((Size{1280, 720}).ToString(), "Size{1280x720}");
  EXPECT_EQ((Size{0, -1}).ToString(), "Size{0x-1}");
}

}  // namespace
}  // namespace movra::video
