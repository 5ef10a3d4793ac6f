#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <numeric>
#include <string>
#include <vector>

#include "app/played_file_for_test.h"
#include "app/process_for_test.h"
#include "media/file/clip_for_test.h"

namespace movra {
namespace {

app::ProcessResult OwnCamera(const std::string& camera, const std::string& output) {
  return app::RunProcess({.words = {OWN_CAMERA_BINARY, camera, output}});
}

void ExpectPictures(const std::string& output, std::size_t count) {
  const app::PlayedFile played = app::Play(output);
  EXPECT_EQ(played.error, "");
  std::vector<std::uint32_t> expected(count);
  std::iota(expected.begin(), expected.end(), 0u);
  EXPECT_EQ(played.numbers, expected);
}

void ExpectEveryPictureOf(const std::string& camera, std::size_t count) {
  const media::ClipDirectory directory;
  const std::string output = directory.Path("out.mp4");
  const app::ProcessResult result = OwnCamera(camera, output);
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.err, "");
  ExpectPictures(output, count);
}

TEST(OwnCameraExample, EncodesEveryPictureOfItsOwnCamera) {
  ExpectEveryPictureOf("stripes:75", 75);
}

TEST(OwnCameraExample, StillHasTheCamerasOfTheLibrary) {
  ExpectEveryPictureOf("test:?frames=40&size=640x360&lossless", 40);
}

TEST(OwnCameraExample, SaysWhichCameraItDoesNotKnow) {
  const media::ClipDirectory directory;
  const app::ProcessResult result = OwnCamera("checks:75", directory.Path("out.mp4"));
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.err, testing::HasSubstr("cannot start checks:75"));
  EXPECT_FALSE(std::filesystem::exists(directory.Path("out.mp4")));
}

TEST(OwnCameraExample, TellsInItsWordsWhyItBrokeOffAndKeepsWhatThereWas) {
  const media::ClipDirectory directory;
  const std::string output = directory.Path("out.mp4");
  const app::ProcessResult result = OwnCamera("stripes:90?fails=60", output);
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.err,
            "log: The camera stripes:90?fails=60 broke off: somebody pulled the plug\n"
            "stripes:90?fails=60 broke off: somebody pulled the plug\n");
  ExpectPictures(output, 60);
}

TEST(OwnCameraExample, TellsInItsWordsWhyItCannotBeStarted) {
  const media::ClipDirectory directory;
  const app::ProcessResult result = OwnCamera("stripes:9?color", directory.Path("out.mp4"));
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.err,
            "log: The camera stripes:9?color cannot be started: the stripes have no option "
            "'color': use fails=N\n"
            "cannot start stripes:9?color: the stripes have no option 'color': use fails=N\n");
}

}  // namespace
}  // namespace movra
