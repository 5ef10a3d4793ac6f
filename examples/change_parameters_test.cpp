#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "app/played_file_for_test.h"
#include "app/process_for_test.h"
#include "media/ffmpeg/decode_for_test.h"
#include "media/file/clip_for_test.h"

namespace movra {
namespace {

app::ProcessResult ChangeParameters(const std::string& camera, const std::string& output) {
  return app::RunProcess({.words = {CHANGE_PARAMETERS_BINARY, camera, output}});
}

TEST(ChangeParametersExample, ChangesTheRunningStreamAndARefusedChangeLeavesItRunning) {
  const media::ClipDirectory directory;
  const std::string output = directory.Path("out.mp4");
  const app::ProcessResult result = ChangeParameters("test:", output);
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_THAT(result.out,
              testing::MatchesRegex("event: 640x360 by [^\n]*\n"
                                    "[0-9]+ frames, now 640x360, 600000 bits per second\n"
                                    "[0-9]+ frames, now 640x360, 900000 bits per second\n"
                                    "event: 320x180 by [^\n]*\n"
                                    "[0-9]+ frames, now 320x180, 300000 bits per second\n"
                                    "event: kReconfigureFailed, [^\n]*321x181[^\n]*\n"
                                    "[0-9]+ frames, now 320x180, 300000 bits per second\n"));

  const media::DecodedFile file = media::DecodeFile(output);
  EXPECT_EQ(file.error, "");
  const auto changed =
      std::find_if(file.pictures.begin(), file.pictures.end(), [](const auto& picture) {
        return picture.size != video::Size{640, 360};
      });
  EXPECT_GE(changed - file.pictures.begin(), 60);
  // Thirty before the refused change and thirty behind it, but for those under way at the change.
  EXPECT_GE(file.pictures.end() - changed, 45);
  EXPECT_TRUE(std::all_of(changed, file.pictures.end(), [](const auto& picture) {
    return picture.size == video::Size{320, 180};
  }));
  EXPECT_EQ(app::Play(output).error, "");
}

TEST(ChangeParametersExample, EndsWithItsSource) {
  const media::ClipDirectory directory;
  const std::string output = directory.Path("out.mp4");
  const app::ProcessResult result =
      ChangeParameters("test:?frames=20&size=640x360&lossless", output);
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(app::Play(output).numbers.size(), 20u);
}

}  // namespace
}  // namespace movra
