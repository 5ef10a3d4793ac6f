// The program of a build without encoders: it says what is missing.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/process_for_test.h"
#include "media/temporary_directory_for_test.h"

namespace movra::app {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

TEST(NotBuiltE2e, ARunSaysWhatIsMissingAndLeavesNothingBehind) {
  const media::TemporaryDirectory directory;
  const ProcessResult result =
      RunProcess({.words = {MOVRA_PRODUCER_BINARY, "run"}, .directory = directory.path().string()});
  EXPECT_EQ(result.exit_code, 32);
  EXPECT_THAT(result.err, HasSubstr("libx264"));
  EXPECT_THAT(result.err, HasSubstr("MOVRA_WITH_GPL=ON"));
  EXPECT_THAT(directory.Names(), IsEmpty());
}

TEST(NotBuiltE2e, TheVersionSaysThatThereIsNoEncoder) {
  const ProcessResult result = RunProcess({.words = {MOVRA_PRODUCER_BINARY, "--version"}});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_THAT(result.out, HasSubstr("encoder: none"));
}

}  // namespace
}  // namespace movra::app
