#include "video/capture_params.h"

#include <gtest/gtest.h>

namespace movra::video {
namespace {

// Image is incomplete here on purpose: a record passes images on without looking.
std::shared_ptr<ObjcWrapper<NSImage>> AnImage() {
  const auto owner = std::make_shared<int>();
  return {owner, reinterpret_cast<ObjcWrapper<NSImage>*>(owner.get())};
}

TEST(CameraParams, PrintsItsIdAndWhetherThereIsACover) {
  CameraParams params;
  EXPECT_EQ(params.ToString(), "CameraParams{camera_id: cover_image:false}");
  params.camera_id = "cam-1";
  params.cover_image = std::shared_ptr<ObjcWrapper<NSImage>>();
  EXPECT_EQ(params.ToString(), "CameraParams{camera_id:cam-1 cover_image:false}");
  params.cover_image = AnImage();
  EXPECT_EQ(params.ToString(), "CameraParams{camera_id:cam-1 cover_image:true}");
}

TEST(CameraParams, PrintsTheFieldsThatAreThereInTheirOrder) {
  CameraParams params;
  params.camera_id = "cam-1";
  params.facing = std::uint8_t{1};
  params.orientation = 90;
  params.frame_rate = 30;
  params.width = 1280;
  params.height = 720;
  EXPECT_EQ(params.ToString(),
            "CameraParams{camera_id:cam-1 facing:1 orientation:90 frame_rate:30 width:1280 "
            "height:720 cover_image:false}");
}

TEST(CameraParams, CopyingMakesAbsentWhatIsAbsentInTheSource) {
  CameraParams target;
  target.facing = std::uint8_t{1};
  target.orientation = 90;
  target.frame_rate = 30;
  target.width = 1280;
  target.height = 720;
  target.cover_image = AnImage();
  CameraParams source;
  source.camera_id = "cam-2";
  source.width = 640;
  target = source;
  EXPECT_EQ(target.ToString(), "CameraParams{camera_id:cam-2 width:640 cover_image:false}");
  EXPECT_FALSE(target.cover_image.has_value());
}

TEST(DesktopScreenParams, PrintsTheFieldsThatAreThereInTheirOrder) {
  DesktopScreenParams params;
  EXPECT_EQ(params.ToString(), "DesktopScreenParams{}");
  params.frame_rate = 15;
  params.source_id = std::int64_t{5'000'000'000};
  params.region = Region{10, -20, 640, 360};
  params.source_kind = 1;
  params.capture_cursor = true;
  params.capture_children = false;
  params.show_border = true;
  params.border_color = 255;
  params.border_width = 2;
  params.exclude_own_windows = true;
  params.capture_covered = false;
  params.activate_window = true;
  params.high_dpi = false;
  EXPECT_EQ(params.ToString(),
            "DesktopScreenParams{frame_rate:15 source_id:5000000000 region:640x360+10+-20 "
            "source_kind:1 capture_cursor:true capture_children:false show_border:true "
            "border_color:255 border_width:2 exclude_own_windows:true capture_covered:false "
            "activate_window:true high_dpi:false}");
}

TEST(DesktopScreenParams, CopyingMakesAbsentWhatIsAbsentInTheSource) {
  DesktopScreenParams target;
  target.source_id = std::int64_t{5};
  target.region = Region{};
  target.high_dpi = true;
  DesktopScreenParams source;
  source.frame_rate = 15;
  target = source;
  EXPECT_EQ(target.ToString(), "DesktopScreenParams{frame_rate:15}");
}

TEST(MobileScreenParams, PrintsTheFieldsThatAreThereInTheirOrder) {
  MobileScreenParams params;
  EXPECT_EQ(params.ToString(), "MobileScreenParams{}");
  params.frame_rate = 15;
  params.landscape = true;
  params.region = Region{1, 2, 3, 4};
  EXPECT_EQ(params.ToString(), "MobileScreenParams{frame_rate:15 landscape:true region:3x4+1+2}");
}

TEST(VideoCoverImageParams, PrintsWhetherThereIsAnImageAndItsOption) {
  VideoCoverImageParams params;
  EXPECT_EQ(params.ToString(), "VideoCoverImageParams{image:false image_option:0}");
  params.image = AnImage();
  params.image_option = 2;
  EXPECT_EQ(params.ToString(), "VideoCoverImageParams{image:true image_option:2}");
}

}  // namespace
}  // namespace movra::video
