#include "app/picture_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "media/frame/pictures_for_test.h"
#include "media/temporary_directory_for_test.h"

namespace movra::app {
namespace {

class PictureFileTest : public ::testing::Test {
 protected:
  static std::string FailureText(const std::string& path) {
    const auto read = ReadPictureFile(path);
    return FailureOf(read) ? FailureOf(read)->text : "";
  }

  // Raw video of one colour, with as many pictures as are asked for.
  std::string RawVideo(int pictures) {
    std::string text = "YUV4MPEG2 W4 H2 F25:1\n";
    for (int i = 0; i < pictures; ++i) {
      text += "FRAME\n" + std::string(8, static_cast<char>(media::kRust.y)) +
              std::string(2, static_cast<char>(media::kRust.u)) +
              std::string(2, static_cast<char>(media::kRust.v));
    }
    return directory_.Write("rust.y4m", text);
  }

  media::TemporaryDirectory directory_;
};

TEST_F(PictureFileTest, TheFirstPictureIsReadAsBgra) {
  const auto read = ReadPictureFile(RawVideo(2));
  ASSERT_EQ(FailureOf(read), nullptr) << FailureOf(read)->text;
  const video::PixelFrameInfo& info = ValueOf(read).info();
  EXPECT_EQ(info.format, video::PixelFormat::kBGRA);
  EXPECT_EQ(info.size, (video::Size{4, 2}));
  EXPECT_LE(media::DistanceFrom(info, media::kRust), 3);
}

TEST_F(PictureFileTest, WhatCannotBeReadIsRefused) {
  const std::string right = "; write a picture file, or '#rrggbb' for one colour";
  const std::string missing = directory_ / "missing.png";
  EXPECT_EQ(FailureText(missing), "'" + missing + "' is no file" + right);
  const std::string folder = directory_ / "folder";
  ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
  EXPECT_EQ(FailureText(folder), "'" + folder + "' is no file" + right);
  const std::string pipe = directory_ / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(FailureText(pipe), "'" + pipe + "' is no file" + right);
  const std::string words = directory_.Write("words.png", "words and no picture");
  EXPECT_EQ(FailureText(words).find("'" + words + "' is no picture ("), 0u) << FailureText(words);
  const std::string none = RawVideo(0);
  EXPECT_NE(FailureText(none), "");
}

}  // namespace
}  // namespace movra::app
