#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "app/played_file_for_test.h"
#include "app/process_for_test.h"
#include "media/ffmpeg/decode_for_test.h"
#include "media/file/clip_for_test.h"

namespace movra {
namespace {

constexpr char kThirty[] = "test:?frames=30&size=640x360&lossless";
constexpr char kTwenty[] = "test:?frames=20&size=480x640&lossless";

app::ProcessResult SwitchSources(const std::string& output, std::vector<std::string> ids) {
  ids.insert(ids.begin(), {SWITCH_SOURCES_BINARY, output});
  return app::RunProcess({.words = ids});
}

// Behind each other 0, 1, 2 ... of every source, of which each begins with a key frame.
void ExpectSources(const std::string& output, const std::vector<std::uint32_t>& lengths) {
  std::vector<std::uint32_t> expected;
  const media::DecodedFile file = media::DecodeFile(output);
  for (const std::uint32_t length : lengths) {
    ASSERT_LT(expected.size(), file.pictures.size());
    EXPECT_TRUE(file.pictures[expected.size()].key_frame) << expected.size();
    for (std::uint32_t number = 0; number < length; ++number) expected.push_back(number);
  }
  const app::PlayedFile played = app::Play(output);
  EXPECT_EQ(played.error, "");
  EXPECT_EQ(played.numbers, expected);
  EXPECT_EQ(played.size, (video::Size{640, 360}));
}

TEST(SwitchSourcesExample, EveryFrameOfEverySourceIsInOneFile) {
  const media::ClipDirectory clips;
  const std::string clip = clips.Make("clip.mp4", "-c:v libx264 -preset veryfast", 25);
  const std::string output = clips.Path("all.mp4");
  const app::ProcessResult result =
      SwitchSources(output, {kThirty, "file:" + clip, kTwenty, "file:" + clip});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.err, "");
  ExpectSources(output, {30, 25, 20, 25});
}

TEST(SwitchSourcesExample, PlaysTheOthersAndSaysWhichOneItCannotPlay) {
  const media::ClipDirectory clips;
  const std::string output = clips.Path("all.mp4");
  const std::string missing = "file:" + clips.Path("missing.mp4");
  const app::ProcessResult result = SwitchSources(output, {kThirty, missing, kTwenty});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.err, testing::StartsWith(missing + ": "));
  ExpectSources(output, {30, 20});
}

}  // namespace
}  // namespace movra
