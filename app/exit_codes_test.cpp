#include "app/exit_codes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

namespace movra::app {
namespace {

TEST(ExitCodes, EveryCodeIsListedOnceInTheOrderOfTheNumbers) {
  int previous = -1;
  for (const ExitCodeText& text : ExitCodeTexts()) {
    EXPECT_GT(static_cast<int>(text.code), previous) << text.meaning;
    previous = static_cast<int>(text.code);
  }
  EXPECT_EQ(ExitCodeTexts().size(), 23U);
}

TEST(ExitCodes, NoTwoCodesReadAlike) {
  std::set<std::string_view> meanings;
  for (const ExitCodeText& text : ExitCodeTexts()) meanings.insert(text.meaning);
  EXPECT_EQ(meanings.size(), ExitCodeTexts().size());
}

// A signal's exit is 128 and its number, which no code of ours may be taken for.
TEST(ExitCodes, StayBelowTheNumbersOfSignals) {
  for (const ExitCodeText& text : ExitCodeTexts()) EXPECT_LT(static_cast<int>(text.code), 64);
}

TEST(ExitCodes, TheHelpHasALineForEachCodeWithinEightyColumns) {
  const std::string help = ExitCodeHelp();
  EXPECT_THAT(help, testing::HasSubstr("\n  10  no such video file\n"));
  EXPECT_THAT(help, testing::StartsWith("   0  "));
  std::size_t begin = 0;
  for (std::size_t end = help.find('\n'); end != std::string::npos;
       begin = end + 1, end = help.find('\n', begin)) {
    EXPECT_LE(end - begin, 84U) << help.substr(begin, end - begin);
  }
}

}  // namespace
}  // namespace movra::app
