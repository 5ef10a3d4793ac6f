#include "app/source_failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "media/capture/camera_error.h"

namespace movra::app {
namespace {

using media::CameraError;
using testing::HasSubstr;

ExitCode StartCode(CameraError error) {
  return SourceStartFailure("file:a.mp4", static_cast<std::int32_t>(error), "").code;
}

TEST(SourceFailure, EveryReasonThatAPersonCanMendHasItsCode) {
  EXPECT_EQ(StartCode(CameraError::kNoSuchCamera), ExitCode::kUnknownCamera);
  EXPECT_EQ(StartCode(CameraError::kNoSuchFile), ExitCode::kNoSuchFile);
  EXPECT_EQ(StartCode(CameraError::kNotAFile), ExitCode::kUnreadable);
  EXPECT_EQ(StartCode(CameraError::kNoPermission), ExitCode::kUnreadable);
  EXPECT_EQ(StartCode(CameraError::kEmptyFile), ExitCode::kEmptyFile);
  EXPECT_EQ(StartCode(CameraError::kNotAVideo), ExitCode::kNotAVideo);
  EXPECT_EQ(StartCode(CameraError::kUnsupported), ExitCode::kNotAVideo);
  EXPECT_EQ(StartCode(CameraError::kNothingDecoded), ExitCode::kNotAVideo);
  EXPECT_EQ(StartCode(CameraError::kUnavailable), ExitCode::kNotBuilt);
  EXPECT_EQ(StartCode(CameraError::kBusy), ExitCode::kCaptureFailed);
  EXPECT_EQ(StartCode(static_cast<CameraError>(99)), ExitCode::kCaptureFailed);
}

TEST(SourceFailure, WhatACameraThatIsNoFileDoesNotSupportIsItsName) {
  EXPECT_EQ(SourceStartFailure("test:?x", 7, "").code, ExitCode::kUnknownCamera);
}

TEST(SourceFailure, NamesTheCameraOnce) {
  EXPECT_EQ(SourceStartFailure("file:a.mp4", 2, "").text,
            "file:a.mp4: " + media::CameraErrorToString(CameraError::kNoSuchFile));
  EXPECT_EQ(SourceStartFailure("webcam", 1, "no camera is called 'webcam': use test:").text,
            "no camera is called 'webcam': use test:; "
            "movra-producer devices lists the cameras");
  EXPECT_EQ(SourceStartFailure("file:a.mp4", 2, "there is no file 'a.mp4'").text,
            "there is no file 'a.mp4'");
}

TEST(SourceFailure, NamesAFileAsItIsCalledWithoutWhatIsAskedOfIt) {
  EXPECT_EQ(SourceName("file:/a b/who%3F.mp4?loop&start=5s"), "file:/a b/who?.mp4");
  EXPECT_EQ(SourceName("test:?rate=25"), "test:?rate=25");
  EXPECT_EQ(SourceStartFailure("file:a.mp4?loop", 4, "").text, "file:a.mp4: no permission");
  EXPECT_EQ(SourceDamageFailure("file:a.mp4?loop", 12, "ends", 0)->text,
            "file:a.mp4 broke off: ends; the rest is kept");
}

TEST(SourceFailure, DamageSaysWhatIsLostAndThatTheRestIsKept) {
  const auto broken = SourceDamageFailure("file:a.mp4", 12, "ends at 0:03", 0);
  ASSERT_TRUE(broken);
  EXPECT_EQ(broken->code, ExitCode::kDamagedInput);
  EXPECT_EQ(broken->text, "file:a.mp4 broke off: ends at 0:03; the rest is kept");
  const auto damaged = SourceDamageFailure("file:a.mp4", 0, "", 1);
  ASSERT_TRUE(damaged);
  EXPECT_EQ(damaged->text, "file:a.mp4: 1 frame could not be decoded whole; the rest is kept");
  const auto both = SourceDamageFailure("file:a.mp4", 12, "ends", 3);
  ASSERT_TRUE(both);
  EXPECT_THAT(both->text, HasSubstr("broke off: ends; 3 frames could not be decoded whole"));
  EXPECT_FALSE(SourceDamageFailure("file:a.mp4", 0, "", 0));
}

TEST(SourceFailure, FramesThatADeviceLostOnTheWayAreNoFailure) {
  EXPECT_FALSE(SourceDamageFailure("/dev/video0", 0, "", 3));
  const auto gone = SourceDamageFailure("/dev/video0", 12, "is gone", 3);
  ASSERT_TRUE(gone);
  EXPECT_EQ(gone->code, ExitCode::kDamagedInput);
}

}  // namespace
}  // namespace movra::app
