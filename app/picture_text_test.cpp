#include "app/picture_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace movra::app {
namespace {

using testing::HasSubstr;

struct BadText {
  const char* text;
  ExitCode code;
  const char* says;
};

TEST(PictureText, ReadsSizes) {
  EXPECT_EQ(ValueOf(ParseSize("1280x720")), (video::Size{1280, 720}));
  EXPECT_EQ(ValueOf(ParseSize("720X1280")), (video::Size{720, 1280}));
  EXPECT_EQ(ValueOf(ParseSize("16x16")), (video::Size{16, 16}));
  EXPECT_EQ(ValueOf(ParseSize("8192x8192")), (video::Size{8192, 8192}));
}

class BadSize : public testing::TestWithParam<BadText> {};

TEST_P(BadSize, IsRefusedWithItsCodeAndReason) {
  const auto result = ParseSize(GetParam().text);
  ASSERT_NE(FailureOf(result), nullptr);
  EXPECT_EQ(FailureOf(result)->code, GetParam().code);
  EXPECT_THAT(FailureOf(result)->text, HasSubstr(GetParam().says));
}

INSTANTIATE_TEST_SUITE_P(
    PictureText, BadSize,
    testing::Values(
        BadText{"", ExitCode::kMalformed, "'' is not a size; write 1280x720"},
        BadText{"1280", ExitCode::kMalformed, "'1280' is not a size"},
        BadText{"1280x", ExitCode::kMalformed, "not a size"},
        BadText{"x720", ExitCode::kMalformed, "not a size"},
        BadText{"1280*720", ExitCode::kMalformed, "not a size"},
        BadText{"1280x720x30", ExitCode::kMalformed, "not a size"},
        BadText{"-1280x720", ExitCode::kMalformed, "not a size"},
        BadText{"1280 x 720", ExitCode::kMalformed, "not a size"},
        BadText{"0x720", ExitCode::kZero, "'0x720': the width is 0; both sides must be even"},
        BadText{"1280x0", ExitCode::kZero, "the height is 0"},
        BadText{"1281x720", ExitCode::kOutOfRange, "the width is odd"},
        BadText{"1280x719", ExitCode::kOutOfRange, "the height is odd"},
        BadText{"14x720", ExitCode::kOutOfRange, "the width is out of range"},
        BadText{"1280x8194", ExitCode::kOutOfRange, "the height is out of range"},
        BadText{"99999999999999999999x2", ExitCode::kOutOfRange, "the width is out of range"}));

TEST(PictureText, ReadsBitRates) {
  EXPECT_EQ(ValueOf(ParseBitrate("1500k")), 1'500'000);
  EXPECT_EQ(ValueOf(ParseBitrate("1.5M")), 1'500'000);
  EXPECT_EQ(ValueOf(ParseBitrate("1.5m")), 1'500'000);
  EXPECT_EQ(ValueOf(ParseBitrate("2000000")), 2'000'000);
  EXPECT_EQ(ValueOf(ParseBitrate("10K")), 10'000);
  EXPECT_EQ(ValueOf(ParseBitrate("500M")), 500'000'000);
  EXPECT_EQ(FailureOf(ParseBitrate("0k"))->code, ExitCode::kZero);
  EXPECT_EQ(FailureOf(ParseBitrate("0"))->code, ExitCode::kZero);
  EXPECT_EQ(FailureOf(ParseBitrate("1500"))->code, ExitCode::kOutOfRange);
  EXPECT_EQ(FailureOf(ParseBitrate("501M"))->code, ExitCode::kOutOfRange);
  EXPECT_EQ(FailureOf(ParseBitrate("99999999999999999999999k"))->code, ExitCode::kOutOfRange);
  for (const char* text : {"", "k", "-5k", "1500kb", "1.5.0M", "1e6"}) {
    ASSERT_NE(FailureOf(ParseBitrate(text)), nullptr) << text;
    EXPECT_EQ(FailureOf(ParseBitrate(text))->code, ExitCode::kMalformed) << text;
  }
}

TEST(PictureText, WritesFiguresShortly) {
  EXPECT_EQ(SizeText({1280, 720}), "1280x720");
  EXPECT_EQ(BitrateText(1'499'600), "1500 kb/s");
  EXPECT_EQ(BytesText(0), "0 B");
  EXPECT_EQ(BytesText(999), "999 B");
  EXPECT_EQ(BytesText(1'900'000), "1.9 MB");
  EXPECT_EQ(BytesText(999'960), "1.0 MB");
}

}  // namespace
}  // namespace movra::app
