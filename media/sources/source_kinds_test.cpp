#include "media/sources/source_kinds.h"

#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "media/capture/camera_error.h"

namespace movra::media {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

CameraError ErrorOf(const std::string& id) {
  return static_cast<CameraError>(MakeFrameSource(id)->Describe().error_code);
}

TEST(SourceKinds, EachSaysWhatItIsAndHasTheIdsThatItShows) {
  for (const SourceKind& kind : SourceKinds()) {
    EXPECT_TRUE(kind.form.starts_with(kind.prefix)) << kind.form;
    EXPECT_THAT(std::string(kind.help), Not(IsEmpty()));
    EXPECT_NE(kind.make, nullptr);
    for (const SourceOptionKind& option : kind.options) {
      EXPECT_TRUE(kind.Takes(option.name));
      EXPECT_THAT(std::string(option.help), Not(IsEmpty()));
    }
    EXPECT_FALSE(kind.Takes("nothing of the kind"));
  }
  EXPECT_EQ(SourceForms(), "test:, file:PATH, /dev/videoN, screen:NAME or window:TITLE");
}

TEST(SourceKinds, AnIdIsOfOneKindOrOfNone) {
  EXPECT_EQ(FindSourceKind("test:?frames=1")->prefix, "test:");
  EXPECT_EQ(FindSourceKind("file:")->prefix, "file:");
  EXPECT_EQ(FindSourceKind("file:/dev/video0")->prefix, "file:");
  EXPECT_EQ(FindSourceKind("/dev/video12")->prefix, "/dev/video");
  EXPECT_EQ(FindSourceKind("screen:")->prefix, "screen:");
  EXPECT_EQ(FindSourceKind("screen:")->operation, SourceOperation::kDesktop);
  EXPECT_EQ(FindSourceKind("test:")->operation, SourceOperation::kCamera);
  for (const char* const id : {"", "test", "/dev/video", "/dev/video0x", "a.mp4", "File:a.mp4"}) {
    EXPECT_EQ(FindSourceKind(id), nullptr) << id;
  }
}

TEST(SourceKinds, ForAnyOtherIdThereIsASourceThatSaysWhatThereIs) {
  const auto source = MakeFrameSource("webcam");
  const video::CameraInfo info = source->Open({});
  EXPECT_EQ(static_cast<CameraError>(info.error_code), CameraError::kNoSuchCamera);
  EXPECT_EQ(info.error_text,
            "no camera is called 'webcam': use test:, file:PATH, /dev/videoN, screen:NAME or "
            "window:TITLE");
}

TEST(SourceKinds, TheOptionsOfAnIdReachItsSource) {
  EXPECT_EQ(ErrorOf("test:?rate=25"), CameraError::kNone);
  EXPECT_EQ(MakeFrameSource("test:?rate=25")->Describe().rate_numerator, 25);
  EXPECT_EQ(ErrorOf("test:?start=5s"), CameraError::kUnsupported);
  EXPECT_EQ(ErrorOf("file:there is none.mp4?loop"), CameraError::kNoSuchFile);
  EXPECT_EQ(ErrorOf("file:there is none.mp4?lop"), CameraError::kBadOption);
  EXPECT_THAT(MakeFrameSource("file:a.mp4?lop")->Describe().error_text,
              HasSubstr("'file:a.mp4?lop': a file is not played with 'lop'"));
}

TEST(SourceKinds, AFileMayHaveAnyName) {
  for (const char* const path :
       {"/none/who?.mp4", "/none/100%.mp4", "/none/%3F?loop", "none&a=b"}) {
    EXPECT_THAT(MakeFrameSource(FileSourceId(path))->Describe().error_text,
                HasSubstr("'" + std::string(path) + "'"));
  }
}

}  // namespace
}  // namespace movra::media
