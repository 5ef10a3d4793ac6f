#include "media/file/y4m_header.h"

#include <gtest/gtest.h>

namespace movra::media {
namespace {

TEST(Y4mHeader, TellsSizeRateShapeAndRange) {
  const Y4mHeader expected{{642, 360}, 30000, 1001, 4, 3, true};
  EXPECT_EQ(ParseY4mHeader(
                "YUV4MPEG2 W642 H360 F30000:1001 Ip A4:3 C420jpeg XYSCSS=420JPEG XCOLORRANGE=FULL"),
            expected);
}

TEST(Y4mHeader, NeedsASizeAndARateAlone) {
  const Y4mHeader expected{{64, 48}, 25, 1, 0, 0, false};
  EXPECT_EQ(ParseY4mHeader("YUV4MPEG2 F25:1 H48 W64"), expected);
  EXPECT_EQ(ParseY4mHeader("YUV4MPEG2 F25:1 H48 W64 XCOLORRANGE=LIMITED"), expected);
  EXPECT_EQ(ParseY4mHeader("YUV4MPEG2 F25:1 H48"), std::nullopt);
  EXPECT_EQ(ParseY4mHeader("YUV4MPEG2 F25:1 W64"), std::nullopt);
  EXPECT_EQ(ParseY4mHeader("YUV4MPEG2 W64 H48"), std::nullopt);
}

TEST(Y4mHeader, TakesEverySitingOfTheChromaOf420) {
  for (const char* layout : {"420", "420jpeg", "420mpeg2", "420paldv"}) {
    EXPECT_TRUE(ParseY4mHeader("YUV4MPEG2 W64 H48 F25:1 I? C" + std::string(layout))) << layout;
  }
}

struct Foreign {
  const char* line;
};

class ForeignHeaders : public testing::TestWithParam<Foreign> {};

TEST_P(ForeignHeaders, AreLeftToOthers) {
  EXPECT_EQ(ParseY4mHeader(GetParam().line), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    Y4mHeader, ForeignHeaders,
    testing::Values(Foreign{""}, Foreign{"RIFF"}, Foreign{"YUV4MPEG2"},
                    Foreign{"YUV4MPEG2x W64 H48 F25:1"}, Foreign{"YUV4MPEG2 W64 H48 F25:1 C422"},
                    Foreign{"YUV4MPEG2 W64 H48 F25:1 C420p10"},
                    Foreign{"YUV4MPEG2 W64 H48 F25:1 Cmono"},
                    Foreign{"YUV4MPEG2 W64 H48 F25:1 XYSCSS=422"},
                    Foreign{"YUV4MPEG2 W64 H48 F25:1 It"}, Foreign{"YUV4MPEG2 W64 H48 F25:0"},
                    Foreign{"YUV4MPEG2 W64 H48 F0:1"}, Foreign{"YUV4MPEG2 W64 H48 F25"},
                    Foreign{"YUV4MPEG2 W64 H48 F-25:1"}, Foreign{"YUV4MPEG2 W64 H48x F25:1"},
                    Foreign{"YUV4MPEG2 W0 H48 F25:1"}, Foreign{"YUV4MPEG2 W64 H99999999999 F25:1"},
                    Foreign{"YUV4MPEG2 W64 H40000 F25:1"}, Foreign{"YUV4MPEG2 W64 H48 F25:1 A1"}));

}  // namespace
}  // namespace movra::media
