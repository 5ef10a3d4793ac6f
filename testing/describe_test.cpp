#include "testing/describe.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace movra::testing {
namespace {

using video::CameraParams;
using video::CustomProcessParams;
using video::EncodeParams;

TEST(Describe, NumbersPrintSoThatTheyReadBackTheSame) {
  EXPECT_EQ(Describe(1.0f / 9.0f), "0.11111111");
  EXPECT_EQ(Describe(1.0 / 9.0), "0.1111111111111111");
  EXPECT_EQ(Describe(0.5), "0.5");
  EXPECT_EQ(Describe(-3), "-3");
  EXPECT_EQ(Describe(std::uint8_t{7}), "7");
  EXPECT_EQ(Describe(~std::uint64_t{0}), "18446744073709551615");
  EXPECT_EQ(Describe(true), "true");
  EXPECT_EQ(Describe(false), "false");
}

TEST(Describe, EnumerationsPrintTheirTextOrElseTheirNumber) {
  EXPECT_EQ(Describe(video::VideoSourceType::kScreen), "kScreen");
  EXPECT_EQ(Describe(video::VideoStreamType::kSmall), "kSmall");
  EXPECT_EQ(Describe(video::PixelFormat::kNone), "kNone");
  EXPECT_EQ(Describe(video::BufferType::kTexture), "kTexture");
  EXPECT_EQ(Describe(video::MirrorMode::kEnabled), "kEnabled");
  EXPECT_EQ(Describe(video::VideoRotation::k90), "k90");
  EXPECT_EQ(Describe(video::FillMode::kFit), "kFit");
  EXPECT_EQ(Describe(video::GSensorMode::kFollowLayout), "kFollowLayout");
  EXPECT_EQ(Describe(video::FrameAdaptiveMode::kFit), "kFit");
  EXPECT_EQ(Describe(video::ProducerMode::kOwnSize), "kOwnSize");
  EXPECT_EQ(Describe(video::InterceptPosition::kEncoder), "kEncoder");
  EXPECT_EQ(Describe(video::VideoEncoderError::kOpenFailed), "kOpenFailed");
  EXPECT_EQ(Describe(video::BeautyStyle::kClear), "2");
}

TEST(Describe, CameraParamsShowEveryFieldThatIsThere) {
  CameraParams params;
  EXPECT_EQ(Describe(params), "{}");
  params.camera_id = "cam-1";
  EXPECT_EQ(Describe(params), "{cam-1}");
  params.width = 1280;
  EXPECT_EQ(Describe(params), "{cam-1 1280x-}");
  params.height = 720;
  params.frame_rate = 30;
  params.facing = std::uint8_t{1};
  params.orientation = 90;
  params.cover_image = MakeImage("holiday");
  EXPECT_EQ(Describe(params), "{cam-1 1280x720@30 facing=1 orientation=90 cover=holiday}");
  params.cover_image = std::shared_ptr<Image>();
  EXPECT_EQ(Describe(params), "{cam-1 1280x720@30 facing=1 orientation=90 cover=null}");
  params = {};
  params.height = 720;
  EXPECT_EQ(Describe(params), "{-x720}");
  params = {};
  params.frame_rate = 15;
  EXPECT_EQ(Describe(params), "{@15}");
}

TEST(Describe, ScreenParamsShowEveryFieldThatIsThere) {
  video::DesktopScreenParams desktop;
  EXPECT_EQ(Describe(desktop), "{}");
  desktop.frame_rate = 15;
  desktop.source_id = 1;
  desktop.region = video::Region{1, 2, 3, 4};
  desktop.source_kind = 2;
  desktop.capture_cursor = true;
  desktop.capture_children = false;
  desktop.show_border = true;
  desktop.border_color = 5;
  desktop.border_width = 6;
  desktop.exclude_own_windows = true;
  desktop.capture_covered = false;
  desktop.activate_window = true;
  desktop.high_dpi = false;
  EXPECT_EQ(Describe(desktop),
            "{@15 source_id=1 region=3x4+1+2 kind=2 cursor=true children=false border=true "
            "border_color=5 border_width=6 exclude_own=true covered=false activate=true "
            "high_dpi=false}");
  video::MobileScreenParams mobile;
  EXPECT_EQ(Describe(mobile), "{}");
  mobile.frame_rate = 10;
  mobile.landscape = true;
  mobile.region = video::Region{1, 2, 3, 4};
  EXPECT_EQ(Describe(mobile), "{@10 landscape=true region=3x4+1+2}");
}

TEST(Describe, EncodeParamsShowEveryFieldThatIsThere) {
  EncodeParams params;
  EXPECT_EQ(Describe(params), "{}");
  params.width = 640;
  params.height = 360;
  params.frame_rate = 15;
  params.codec = video::VideoCodec::kH264;
  params.bitrate_bps = 1;
  params.max_bitrate_bps = 2;
  params.key_frame_interval_ms = 3;
  params.threads = 4;
  params.preset = std::string("fast");
  params.frame_rate_numerator = 25;
  params.frame_rate_denominator = 2;
  EXPECT_EQ(Describe(params),
            "{640x360@15 codec=1 bitrate_bps=1 max_bitrate_bps=2 key_frame_interval_ms=3 "
            "threads=4 preset=fast frame_rate_numerator=25 frame_rate_denominator=2}");
}

TEST(Describe, CustomProcessParamsShowEveryField) {
  CustomProcessParams params;
  EXPECT_EQ(Describe(params), "{0x0 disabled kMemory kNone kBig}");
  params.width = 1280;
  params.height = 720;
  params.enabled = true;
  params.buffer_type = video::BufferType::kTexture;
  params.pixel_format = video::PixelFormat::kNV12;
  params.reserved = 5;
  params.stream_type = video::VideoStreamType::kSmall;
  EXPECT_EQ(Describe(params), "{1280x720 enabled kTexture kNV12 reserved=5 kSmall}");
}

TEST(Describe, OtherRecordsShowTheirFields) {
  EXPECT_EQ(Describe(video::Size{1280, 720}), "1280x720");
  EXPECT_EQ(Describe(video::VideoContext(InstanceTrace(7), "[call]")), "{7 [call]}");
  EXPECT_EQ(
      Describe(video::PixelFrameFormat{video::BufferType::kTexture, video::PixelFormat::kI420}),
      "{kTexture kI420}");
  EXPECT_EQ(Describe(video::EncoderProperty{1, (std::int64_t{1280} << 32) | 720, "x264"}),
            "{1 1280x720 x264}");
  EXPECT_EQ(Describe(video::EncodeAbility{1, 2, 3, 4}), "{1 2 3 4}");
  EXPECT_EQ(Describe(video::RoiConfigInfo{1, 2, 3, 4, -5}), "{3x4+1+2 qp-5}");
  video::GreenScreenParams green;
  green.enabled = true;
  green.background = MakeImage("beach");
  EXPECT_EQ(Describe(green), "{enabled 00FF00 0.4 0.1 beach}");
  EXPECT_EQ(Describe(video::VideoDeviceInfo{"cam-1", "", "", 0}), "{cam-1}");
  EXPECT_EQ(Describe(video::VideoDeviceInfo{"cam-1", "Camera", "test", 3}),
            "{cam-1 name=Camera driver=test capabilities=3}");
  const auto cover = std::make_shared<video::VideoCoverImageParams>();
  cover->image = MakeImage("holiday");
  cover->image_option = 2;
  EXPECT_EQ(Describe(cover), "{holiday 2}");
  EXPECT_EQ(Describe(std::shared_ptr<video::VideoCoverImageParams>()), "null");
  EventMsg message("event=a");
  EXPECT_EQ(Describe(message), "event=a");
  message.detail = "more";
  EXPECT_EQ(Describe(message), "event=a | more");
  EXPECT_EQ(Describe(movra_base::Value(-12)), "-12");
  EXPECT_EQ(Describe(video::PixelFrame()), "no frame");
}

TEST(Describe, VectorsAndOptionalsShowTheirContents) {
  EXPECT_EQ(Describe(std::vector<int>{}), "[]");
  EXPECT_EQ(Describe(std::vector<int>{1, 2}), "[1, 2]");
  movra_base::Optional<int> value;
  EXPECT_EQ(Describe(value), "absent");
  value = 3;
  EXPECT_EQ(Describe(value), "3");
}

TEST(Describe, CallbacksAreThereOrNull) {
  EXPECT_EQ(Describe(movra_base::OnceClosure()), "null");
  EXPECT_EQ(Describe(movra_base::BindOnce([] {})), "callback");
}

struct Role {
  virtual ~Role() = default;
};
struct OtherRole {
  virtual ~OtherRole() = default;
};
struct Actor : Role, OtherRole {};

TEST(Describe, PointersShowTheNameOfTheirObject) {
  EXPECT_EQ(Describe(MakeImage("holiday")), "holiday");
  EXPECT_EQ(Describe(std::shared_ptr<Image>()), "null");
  EXPECT_EQ(Describe(std::make_shared<Role>()), "unnamed");
}

TEST(Describe, AnObjectNamedByAddressHasTheNameInEachOfItsRoles) {
  const auto actor = std::make_shared<Actor>();
  SetNameOf(*actor, "actor");
  EXPECT_EQ(Describe(std::shared_ptr<Role>(actor)), "actor");
  EXPECT_EQ(Describe(std::shared_ptr<OtherRole>(actor)), "actor");
  ForgetNames();
  EXPECT_EQ(Describe(std::shared_ptr<OtherRole>(actor)), "unnamed");
}

TEST(Describe, WeakPointersTellNeverSetFromGone) {
  auto image = MakeImage("holiday");
  const std::weak_ptr<Image> weak = image;
  EXPECT_EQ(Describe(weak), "holiday");
  image.reset();
  EXPECT_EQ(Describe(weak), "expired");
  EXPECT_EQ(Describe(std::weak_ptr<Image>()), "null");
}

TEST(DescribeCall, JoinsObjectOperationAndArguments) {
  EXPECT_EQ(DescribeCall("track", "Reset"), "track.Reset()");
  EXPECT_EQ(DescribeCall("renderer", "Stop", false, 1.5f, "x"), "renderer.Stop(false, 1.5, x)");
  EXPECT_EQ(DescribeCall("", "IsMetalAvailable"), "IsMetalAvailable()");
}

}  // namespace
}  // namespace movra::testing
