#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "app/played_file_for_test.h"
#include "app/process_for_test.h"
#include "media/file/clip_for_test.h"

namespace movra {
namespace {

using app::ProcessResult;
using app::RunProcess;

ProcessResult EncodeFile(const std::string& input, const std::string& output) {
  return RunProcess({.words = {ENCODE_FILE_BINARY, input, output}});
}

TEST(EncodeFileExample, EncodesEveryFrameOfAClipOnceAndInOrder) {
  const media::ClipDirectory clips;
  const std::string clip = clips.Make("clip.mp4", "-c:v libx264", 45, {640, 360});
  const std::string output = clips.Path("out.mp4");
  const ProcessResult result = EncodeFile(clip, output);
  EXPECT_EQ(result.exit_code, 0) << result.err;
  const app::PlayedFile played = app::Play(output);
  EXPECT_EQ(played.error, "");
  EXPECT_EQ(played.size, (video::Size{640, 360}));
  std::vector<std::uint32_t> expected;
  for (std::uint32_t number = 0; number < 45; ++number) expected.push_back(number);
  EXPECT_EQ(played.numbers, expected);
}

TEST(EncodeFileExample, SaysWhatItCannotPlayAndLeavesNoFile) {
  const media::ClipDirectory clips;
  const ProcessResult result = EncodeFile(clips.Path("missing.mp4"), clips.Path("out.mp4"));
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.err, testing::HasSubstr("cannot play"));
  EXPECT_FALSE(std::filesystem::exists(clips.Path("out.mp4")));
}

TEST(EncodeFileExample, SaysHowItIsUsed) {
  const ProcessResult result = RunProcess({.words = {ENCODE_FILE_BINARY}});
  EXPECT_EQ(result.exit_code, 2);
  EXPECT_THAT(result.err, testing::HasSubstr("usage: encode_file"));
}

}  // namespace
}  // namespace movra
