#include "media/output/contact_sheet.h"

#include <cairo.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "media/temporary_directory_for_test.h"

namespace movra::media {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

// A PNG read back.
class Picture {
 public:
  explicit Picture(const std::string& path)
      : surface_(cairo_image_surface_create_from_png(path.c_str()), cairo_surface_destroy) {
    EXPECT_EQ(cairo_surface_status(surface_.get()), CAIRO_STATUS_SUCCESS);
  }
  int width() const { return cairo_image_surface_get_width(surface_.get()); }
  int height() const { return cairo_image_surface_get_height(surface_.get()); }

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

  std::string sheet() const { return directory_ / "sheet.png"; }

  const TemporaryDirectory directory_;
  std::string error_;
};

TEST_F(ContactSheetTest, ARowOfFourPicturesSpreadOverEachVideo) {
  ASSERT_TRUE(WriteContactSheet(
      {{Clip("big.mp4", "1280x720"), "big", 40}, {Clip("small.mkv", "320x180"), "small", 40}},
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

TEST_F(ContactSheetTest, APortraitVideoKeepsItsShape) {
  ASSERT_TRUE(WriteContactSheet({{Clip("p.mp4", "180x320"), "portrait", 40}}, sheet(), &error_));
  const Picture picture(sheet());
  EXPECT_EQ(picture.width(), 2 * 20 + 4 * 136 + 3 * 12);
  EXPECT_EQ(picture.height(), 2 * 20 + 30 + 240 + 24);
}

TEST_F(ContactSheetTest, AVideoOfFewerPicturesHasAShorterRow) {
  // Told to be a single frame, it shows that one, in the first place.
  ASSERT_TRUE(WriteContactSheet({{Clip("a.mp4", "320x180"), "one", 1}}, sheet(), &error_));
  const Picture picture(sheet());
  EXPECT_EQ(picture.ColorAt(20 + 160, 20 + 30 + 90), "red");
  EXPECT_EQ(picture.ColorAt(20 + 332 + 160, 20 + 30 + 90), "none");
}

TEST_F(ContactSheetTest, AVideoThatCannotBePlayedIsNamedAndLeavesNoSheet) {
  const std::string path = directory_ / "text.mp4";
  std::ofstream(path) << "no video";
  EXPECT_FALSE(WriteContactSheet({{path, "text", 10}}, sheet(), &error_));
  EXPECT_THAT(error_, HasSubstr("'" + path + "': "));
  EXPECT_FALSE(fs::exists(sheet()));
}

TEST_F(ContactSheetTest, ASheetThatCannotBeWrittenIsNamed) {
  const std::string path = directory_ / "missing/sheet.png";
  EXPECT_FALSE(WriteContactSheet({{Clip("a.mp4", "320x180"), "a", 40}}, path, &error_));
  EXPECT_THAT(error_, HasSubstr("'" + path + "': "));
}

}  // namespace
}  // namespace movra::media
