#include "media/result/result.h"

#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace movra::media {
namespace {

enum class Trouble { kNone, kDeep };

Result<std::string, Trouble> Try(bool works) {
  if (works) return "it works";
  return Failure<Trouble>{Trouble::kDeep, "the water is too deep"};
}

TEST(Result, IsAValueOrAFailure) {
  const auto value = Try(true);
  EXPECT_EQ(FailureOf(value), nullptr);
  EXPECT_EQ(ValueOf(value), "it works");
  const auto failed = Try(false);
  ASSERT_NE(FailureOf(failed), nullptr);
  EXPECT_EQ(*FailureOf(failed), (Failure<Trouble>{Trouble::kDeep, "the water is too deep"}));
}

TEST(Result, GivesAwayAValueThatCannotBeCopied) {
  Result<std::unique_ptr<int>, Trouble> result = std::make_unique<int>(3);
  *ValueOf(result) = 4;
  const std::unique_ptr<int> taken = ValueOf(std::move(result));
  EXPECT_EQ(*taken, 4);
}

TEST(Result, SaysWhatAFailureIsAbout) {
  EXPECT_EQ(Prefixed("--pool", Failure<Trouble>{Trouble::kDeep, "it is full"}),
            (Failure<Trouble>{Trouble::kDeep, "--pool: it is full"}));
}

}  // namespace
}  // namespace movra::media
