#include "media/text/number_text.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace movra::media {
namespace {

TEST(NumberText, ReadsWholeNumbersAndNothingElse) {
  EXPECT_EQ(ParseWhole("0"), 0);
  EXPECT_EQ(ParseWhole("007"), 7);
  EXPECT_EQ(ParseWhole("1280"), 1280);
  for (const char* text : {"", " 1", "1 ", "-1", "+1", "1.0", "0x10", "1e3", "eins"}) {
    EXPECT_FALSE(ParseWhole(text)) << text;
  }
}

TEST(NumberText, AWholeNumberThatDoesNotFitIsTheGreatestOne) {
  EXPECT_EQ(ParseWhole("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(ParseWhole("9223372036854775808"), std::numeric_limits<std::int64_t>::max());
}

TEST(NumberText, ReadsDecimalsAndNothingElse) {
  EXPECT_EQ(ParseDecimal("12"), 12.0);
  EXPECT_EQ(ParseDecimal("1.5"), 1.5);
  EXPECT_EQ(ParseDecimal(".5"), 0.5);
  for (const char* text : {"", ".", "1.5.2", "-1", "+1", "inf", "nan", "1e3", "0x1", "1,5"}) {
    EXPECT_FALSE(ParseDecimal(text)) << text;
  }
  EXPECT_EQ(ParseDecimal(std::string(400, '9')), std::numeric_limits<double>::max());
}

}  // namespace
}  // namespace movra::media
