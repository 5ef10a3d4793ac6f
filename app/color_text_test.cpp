#include "app/color_text.h"

#include <gtest/gtest.h>

namespace movra::app {
namespace {

TEST(ParseColor, ReadsColoursWithAndWithoutTransparency) {
  EXPECT_EQ(ParseColor("#102aFe"), (ColorText{0x102AFE, std::nullopt}));
  EXPECT_EQ(ParseColor("#80102030"), (ColorText{0x102030, 0x80}));
  EXPECT_EQ(ParseColor("#00000000"), (ColorText{0, 0}));
}

TEST(ParseColor, IsAbsentForWhatIsNone) {
  for (const char* text : {"", "#", "102030", "#10203", "#1020304", "#1020304050", "#10203g",
                           "#-10203", "#+10203", "# 10203", "x102030"}) {
    EXPECT_EQ(ParseColor(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace movra::app
