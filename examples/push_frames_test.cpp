#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <numeric>
#include <string>
#include <system_error>
#include <vector>

#include "app/played_file_for_test.h"
#include "app/process_for_test.h"
#include "media/file/clip_for_test.h"

namespace movra {
namespace {

app::ProcessResult PushFrames(const std::string& count, const std::string& output,
                              const std::vector<std::string>& distances_ms = {}) {
  std::vector<std::string> words{PUSH_FRAMES_BINARY, count, output};
  words.insert(words.end(), distances_ms.begin(), distances_ms.end());
  return app::RunProcess({.words = words});
}

TEST(PushFramesExample, EncodesEveryPushedPictureOnceAndInOrder) {
  const media::ClipDirectory directory;
  const std::string output = directory.Path("out.mp4");
  const app::ProcessResult result = PushFrames("90", output);
  EXPECT_EQ(result.exit_code, 0) << result.err;
  const app::PlayedFile played = app::Play(output);
  EXPECT_EQ(played.error, "");
  EXPECT_EQ(played.size, (video::Size{640, 360}));
  std::vector<std::uint32_t> expected(90);
  std::iota(expected.begin(), expected.end(), 0u);
  EXPECT_EQ(played.numbers, expected);
  ASSERT_EQ(played.times_s.size(), 90u);
  EXPECT_NEAR(played.times_s.back(), 89 / 30.0, 0.001);
}

TEST(PushFramesExample, UnevenTimesOfThePicturesAreThoseOfTheFile) {
  const media::ClipDirectory directory;
  const std::string output = directory.Path("out.mp4");
  const std::vector<int> distances_ms{40, 250, 10, 1000, 33};
  std::vector<std::string> words;
  for (const int distance : distances_ms) words.push_back(std::to_string(distance));
  const app::ProcessResult result = PushFrames("23", output, words);
  EXPECT_EQ(result.exit_code, 0) << result.err;
  const app::PlayedFile played = app::Play(output);
  EXPECT_EQ(played.error, "");
  ASSERT_EQ(played.numbers.size(), 23u);
  int time_ms = 0;
  for (std::size_t i = 0; i < 23; ++i) {
    EXPECT_EQ(played.numbers[i], i);
    EXPECT_NEAR(played.times_s[i], time_ms / 1000.0, 0.0001) << i;
    time_ms += distances_ms[i % distances_ms.size()];
  }
}

TEST(PushFramesExample, EndsWhenItHasNothingToPush) {
  const media::ClipDirectory directory;
  const app::ProcessResult result = PushFrames("0", directory.Path("out.mp4"));
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_FALSE(std::filesystem::exists(directory.Path("out.mp4")));
}

TEST(PushFramesExample, ASignalInMidRunEndsItWithAFileThatPlays) {
  const media::ClipDirectory directory;
  const std::string output = directory.Path("out.mp4");
  app::Process process({.words = {PUSH_FRAMES_BINARY, "1000000", output}});
  ASSERT_TRUE(app::WaitUntil([&] {
    std::error_code error;
    return std::filesystem::file_size(output, error) > 10'000 && !error;
  }));
  process.Signal(SIGINT);
  const app::ProcessResult result = process.Wait();
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(result.err, "");
  const app::PlayedFile played = app::Play(output);
  EXPECT_EQ(played.error, "");
  std::vector<std::uint32_t> expected(played.numbers.size());
  std::iota(expected.begin(), expected.end(), 0u);
  EXPECT_EQ(played.numbers, expected);
  EXPECT_FALSE(expected.empty());
}

TEST(PushFramesExample, EndsWhileItPushesWhenTheFileBreaksOff) {
  const app::ProcessResult result = PushFrames("1000000", "/dev/full");
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.err, testing::HasSubstr("No space left on device"));
}

}  // namespace
}  // namespace movra
