#include "media/file/playback.h"

#include <chrono>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace movra::media {
namespace {

using std::chrono::seconds;
using ::testing::HasSubstr;

Result<Playback, CameraError> Parse(std::string_view id) {
  return ParsePlayback(ParseSourceId(id).options);
}

TEST(Playback, IsOnceAsFastAsItGoesFromTheBeginningUnlessAskedOtherwise) {
  EXPECT_EQ(ValueOf(Parse("a.mp4")), Playback());
  EXPECT_EQ(ValueOf(Parse("a.mp4?loop")), (Playback{.loop = true}));
  EXPECT_EQ(ValueOf(Parse("a.mp4?realtime")), (Playback{.realtime = true}));
  EXPECT_EQ(ValueOf(Parse("a.mp4?start=1m30s")), (Playback{.start = seconds(90)}));
  EXPECT_EQ(ValueOf(Parse("a.mp4?start=0s&realtime&loop")),
            (Playback{.loop = true, .realtime = true}));
}

TEST(Playback, SaysWhichOptionIsNone) {
  for (const char* const option : {"lop", "loop=yes", "realtime=1", "start", "start=", "start=5",
                                   "start=1001h", "start=-1s", "", "=", "start=5s=6s"}) {
    const auto parsed = Parse(std::string("a.mp4?loop&") + option);
    ASSERT_NE(FailureOf(parsed), nullptr) << option;
    EXPECT_EQ(FailureOf(parsed)->code, CameraError::kBadOption);
    EXPECT_THAT(FailureOf(parsed)->text, HasSubstr("'" + std::string(option) + "'"));
    EXPECT_THAT(FailureOf(parsed)->text,
                HasSubstr("some of loop, realtime, start=T, and a ? in a name is written %3F"));
  }
}

}  // namespace
}  // namespace movra::media
