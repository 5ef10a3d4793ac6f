#include "media/output/contact_sheet.h"

#include <cairo.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "media/open_descriptors_for_test.h"
#include "media/temporary_directory_for_test.h"

namespace movra::media {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

constexpr std::chrono::seconds kLength{4};

// A PNG read back.
class Picture {
 public:
  explicit Picture(const std::string& path)
      : surface_(cairo_image_surface_create_from_png(path.c_str()), cairo_surface_destroy) {
    EXPECT_EQ(cairo_surface_status(surface_.get()), CAIRO_STATUS_SUCCESS);
  }
  int width() const { return cairo_image_surface_get_width(surface_.get()); }
  int height() const { return cairo_image_surface_get_height(surface_.get()); }

  std::uint32_t At(int x, int y) const {
    std::uint32_t pixel = 0;
    std::memcpy(&pixel,
                cairo_image_surface_get_data(surface_.get()) +
                    y * cairo_image_surface_get_stride(surface_.get()) + 4 * x,
                sizeof pixel);
    return pixel & 0xFFFFFF;
  }

  // "red", "green" or "blue" where one of them rules; otherwise "none".
  std::string ColorAt(int x, int y) const {
    const unsigned char* const pixel = cairo_image_surface_get_data(surface_.get()) +
                                       y * cairo_image_surface_get_stride(surface_.get()) + 4 * x;
    const std::array<int, 3> bgr{pixel[0], pixel[1], pixel[2]};
    const std::array<const char*, 3> names{"blue", "green", "red"};
    for (std::size_t i = 0; i < 3; ++i) {
      if (bgr[i] > 120 && bgr[(i + 1) % 3] < 60 && bgr[(i + 2) % 3] < 60) return names[i];
    }
    return "none";
  }

 private:
  std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> surface_;
};

class ContactSheetTest : public testing::Test {
 protected:
  // Four seconds in four colours, ten frames each, with one key frame for every fifteen.
  std::string Clip(const std::string& name, const std::string& size) const {
    const std::string path = directory_ / name;
    std::string inputs;
    for (const char* color : {"red", "0x00E000", "blue", "red"}) {
      inputs += std::string(" -f lavfi -i color=") + color + ":s=" + size + ":r=10:d=1";
    }
    const std::string command = "ffmpeg -v error" + inputs +
                                " -filter_complex concat=n=4 -pix_fmt yuv420p -c:v libx264"
                                " -bf 0 -g 15 " +
                                path;
    EXPECT_EQ(std::system(command.c_str()), 0);
    return path;
  }

  // Colours of half a second each, of which ffmpeg's filter trim keeps a part.
  std::string Colors(const std::string& name, const std::string& part, int rate,
                     int key_frames) const {
    const std::string path = directory_ / name;
    std::string inputs;
    for (int i = 0; i < 12; ++i) {
      const std::array<const char*, 3> colors{"red", "0x00E000", "blue"};
      inputs += std::string(" -f lavfi -i color=") + colors[static_cast<std::size_t>(i % 3)] +
                ":s=320x180:r=10:d=0.5";
    }
    const std::string command = "ffmpeg -v error" + inputs +
                                " -filter_complex 'concat=n=12,trim=" + part +
                                ",setpts=PTS-STARTPTS,fps=" + std::to_string(rate) +
                                ":round=up' -pix_fmt yuv420p -c:v libx264 -bf 0 -sc_threshold 0 " +
                                "-g " + std::to_string(key_frames) + " " + path;
    EXPECT_EQ(std::system(command.c_str()), 0);
    return path;
  }

  std::string sheet() const { return directory_ / "sheet.png"; }

  const TemporaryDirectory directory_;
  std::string error_;
};

TEST_F(ContactSheetTest, ARowOfFourPicturesSpreadOverEachVideo) {
  ASSERT_TRUE(WriteContactSheet({{Clip("big.mp4", "1280x720"), "big", 40, kLength, {}},
                                 {Clip("small.mkv", "320x180"), "small", 40, kLength, {}}},
                                sheet(), &error_))
      << error_;
  const Picture picture(sheet());
  // Margins of 20, gaps of 12, pictures of 320x180, 30 above for the title, 24 below for the time.
  EXPECT_EQ(picture.width(), 2 * 20 + 4 * 320 + 3 * 12);
  EXPECT_EQ(picture.height(), 2 * 20 + 2 * (30 + 180 + 24) + 12);
  for (const int row : {0, 1}) {
    const int y = 20 + row * (30 + 180 + 24 + 12) + 30 + 90;
    const std::array<const char*, 4> expected{"red", "green", "blue", "red"};
    for (int column = 0; column < 4; ++column) {
      const int left = 20 + column * (320 + 12);
      EXPECT_EQ(picture.ColorAt(left + 160, y), expected[static_cast<std::size_t>(column)])
          << row << " " << column;
      EXPECT_NE(picture.ColorAt(left + 1, y), "none");
      EXPECT_NE(picture.ColorAt(left + 318, y), "none");
      EXPECT_EQ(picture.ColorAt(left - 3, y), "none");
    }
  }
}

// Of what is below two rows' pictures, the times.
void ExpectTheSameTimes(const Picture& picture) {
  constexpr int kRowHeight = 30 + 180 + 24 + 12;
  constexpr int kTimes = 20 + 30 + 180;
  int painted = 0;
  for (int y = kTimes; y < kTimes + 24; ++y) {
    for (int x = 20; x < picture.width() - 20; ++x) {
      ASSERT_EQ(picture.At(x, y), picture.At(x, y + kRowHeight)) << x << " " << y;
      painted += picture.At(x, y) == picture.At(0, 0) ? 0 : 1;
    }
  }
  EXPECT_GT(painted, 100) << "times are told";
}

void ExpectTheSameColors(const Picture& picture) {
  for (int column = 0; column < 4; ++column) {
    const int x = 20 + column * 332 + 160;
    const std::string color = picture.ColorAt(x, 20 + 30 + 90);
    EXPECT_NE(color, "none") << column;
    EXPECT_EQ(picture.ColorAt(x, 20 + 246 + 30 + 90), color) << column;
  }
}

TEST_F(ContactSheetTest, TheColumnsShowTheSameMomentsWhateverTheRateAndTheKeyFrames) {
  const std::chrono::seconds length(6);
  for (const char* small : {"small.mp4", "small.ts", "small.h264"}) {
    ASSERT_TRUE(WriteContactSheet({{Colors("big.mkv", "start=0", 10, 8), "big", 60, length, {}},
                                   {Colors(small, "start=0", 5, 100), "small", 30, length, {}}},
                                  sheet(), &error_))
        << error_;
    const Picture picture(sheet());
    ExpectTheSameColors(picture);
    ExpectTheSameTimes(picture);
    fs::remove(directory_ / "big.mkv");
  }
}

TEST_F(ContactSheetTest, AVideoThatBeginsLaterShowsTheSameMoments) {
  using std::chrono::milliseconds;
  ASSERT_TRUE(
      WriteContactSheet({{Colors("big.mp4", "start=0", 10, 8), "big", 60, milliseconds(6000), {}},
                         {Colors("small.mp4", "start=0.7", 10, 8), "small", 53, milliseconds(5300),
                          milliseconds(700)}},
                        sheet(), &error_))
      << error_;
  const Picture picture(sheet());
  // The first moment is the first picture of the one, before there is any of the other.
  for (int column = 1; column < 4; ++column) {
    const int x = 20 + column * 332 + 160;
    EXPECT_EQ(picture.ColorAt(x, 20 + 246 + 30 + 90), picture.ColorAt(x, 20 + 30 + 90)) << column;
  }
  ExpectTheSameTimes(picture);
}

TEST_F(ContactSheetTest, AVideoThatEndsEarlierHasNoPicturesBehindItsEnd) {
  using std::chrono::milliseconds;
  ASSERT_TRUE(WriteContactSheet(
      {{Colors("big.mp4", "start=0", 10, 8), "big", 60, milliseconds(6000), {}},
       {Colors("small.mp4", "end=2.5", 10, 8), "small", 25, milliseconds(2500), {}}},
      sheet(), &error_))
      << error_;
  const Picture picture(sheet());
  EXPECT_NE(picture.ColorAt(20 + 332 + 160, 20 + 246 + 30 + 90), "none");
  EXPECT_EQ(picture.ColorAt(20 + 2 * 332 + 160, 20 + 246 + 30 + 90), "none");
}

TEST_F(ContactSheetTest, APortraitVideoKeepsItsShape) {
  ASSERT_TRUE(WriteContactSheet({{Clip("p.mp4", "180x320"), "portrait", 40, kLength, {}}}, sheet(),
                                &error_));
  const Picture picture(sheet());
  EXPECT_EQ(picture.width(), 2 * 20 + 4 * 136 + 3 * 12);
  EXPECT_EQ(picture.height(), 2 * 20 + 30 + 240 + 24);
}

TEST_F(ContactSheetTest, AVideoOfFewerPicturesHasAShorterRow) {
  // Told to be a single frame, it shows that one, in the first place.
  ASSERT_TRUE(
      WriteContactSheet({{Clip("a.mp4", "320x180"), "one", 1, kLength, {}}}, sheet(), &error_));
  const Picture picture(sheet());
  EXPECT_EQ(picture.ColorAt(20 + 160, 20 + 30 + 90), "red");
  EXPECT_EQ(picture.ColorAt(20 + 332 + 160, 20 + 30 + 90), "none");
}

TEST_F(ContactSheetTest, AVideoThatCannotBePlayedIsNamedAndLeavesNoSheet) {
  const std::string path = directory_ / "text.mp4";
  std::ofstream(path) << "no video";
  EXPECT_FALSE(WriteContactSheet({{path, "text", 10, kLength, {}}}, sheet(), &error_));
  EXPECT_THAT(error_, HasSubstr("'" + path + "': "));
  EXPECT_FALSE(fs::exists(sheet()));
}

TEST_F(ContactSheetTest, ASheetThatCannotBeWrittenIsNamed) {
  const std::string path = directory_ / "missing/sheet.png";
  EXPECT_FALSE(
      WriteContactSheet({{Clip("a.mp4", "320x180"), "a", 40, kLength, {}}}, path, &error_));
  EXPECT_THAT(error_, HasSubstr("'" + path + "': "));
}

TEST_F(ContactSheetTest, WhatIsOpenedIsClosed) {
  const std::string clip = Clip("a.mp4", "320x180");
  ASSERT_TRUE(
      WriteContactSheet({{clip, "what is loaded once stays", 40, kLength, {}}}, sheet(), &error_));
  const auto before = OpenDescriptors();
  EXPECT_TRUE(WriteContactSheet({{clip, "a", 40, kLength, {}}}, sheet(), &error_));
  EXPECT_FALSE(WriteContactSheet({{sheet() + ".none", "none", 40, kLength, {}}}, sheet(), &error_));
  EXPECT_FALSE(
      WriteContactSheet({{clip, "a", 40, kLength, {}}}, directory_ / "missing/sheet.png", &error_));
  EXPECT_EQ(OpenDescriptors(), before);
}

}  // namespace
}  // namespace movra::media
