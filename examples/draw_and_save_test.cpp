#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "app/played_file_for_test.h"
#include "app/process_for_test.h"
#include "media/ffmpeg/decode_for_test.h"
#include "media/file/clip_for_test.h"

namespace movra {
namespace {

// How many samples of a row are bright, one every `step` bytes.
int BrightSamples(const std::uint8_t* row, int width, int step) {
  int count = 0;
  for (int x = 0; x < width; ++x) count += row[std::ptrdiff_t{x} * step] > 128 ? 1 : 0;
  return count;
}

std::string ReadAll(const std::string& path) {
  std::stringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

TEST(DrawAndSaveExample, WhatIsDrawnIsInTheStreamAndInTheSavedPicturesBehindIt) {
  const media::ClipDirectory directory;
  const std::string output = directory.Path("out.mp4");
  const app::ProcessResult result =
      app::RunProcess({.words = {DRAW_AND_SAVE_BINARY, "test:?frames=75&size=640x360&lossless",
                                 output, directory.Path("picture-")}});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.err, "");

  EXPECT_EQ(app::Play(output).error, "");
  const media::DecodedFile file = media::DecodeFile(output);
  ASSERT_EQ(file.pictures.size(), 75u);
  for (int i = 0; i < 75; ++i) {
    const auto& luma = file.pictures[static_cast<std::size_t>(i)].luma;
    EXPECT_NEAR(BrightSamples(luma.data() + std::ptrdiff_t{350} * 640, 640, 1), i * 2, 4) << i;
  }

  const std::string header = "P6\n640 360\n255\n";
  for (int second = 0; second < 3; ++second) {
    const std::string picture =
        ReadAll(directory.Path("picture-" + std::to_string(second) + ".ppm"));
    ASSERT_EQ(picture.size(), header.size() + std::size_t{640} * 360 * 3);
    EXPECT_EQ(picture.substr(0, header.size()), header);
    const auto* const row = reinterpret_cast<const std::uint8_t*>(picture.data()) + header.size() +
                            std::ptrdiff_t{350} * 640 * 3;
    EXPECT_NEAR(BrightSamples(row, 640, 3), second * 60, 4) << second;
  }
  EXPECT_FALSE(std::filesystem::exists(directory.Path("picture-3.ppm")));
}

TEST(DrawAndSaveExample, SaysWhichPictureItCannotSaveAndGoesOn) {
  const media::ClipDirectory directory;
  const std::string output = directory.Path("out.mp4");
  const std::string prefix = directory.Path("missing/picture-");
  const app::ProcessResult result = app::RunProcess(
      {.words = {DRAW_AND_SAVE_BINARY, "test:?frames=20&size=640x360&lossless", output, prefix}});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.err, "cannot write " + prefix + "0.ppm\n");
  EXPECT_EQ(app::Play(output).numbers.size(), 20u);
}

}  // namespace
}  // namespace movra
