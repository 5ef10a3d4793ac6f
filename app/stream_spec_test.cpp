#include "app/stream_spec.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace movra::app {
namespace {

using media::ContainerFormat;
using testing::HasSubstr;

struct Good {
  const char* text;
  StreamSpec spec;
};

class GoodSpec : public testing::TestWithParam<Good> {};

TEST_P(GoodSpec, IsRead) {
  const Result<StreamSpec> result = ParseStreamSpec(GetParam().text);
  ASSERT_EQ(FailureOf(result), nullptr) << FailureOf(result)->text;
  EXPECT_EQ(ValueOf(result), GetParam().spec);
}

const video::Size k720p{1280, 720};
const StreamTarget kTalk{"talk.mp4", ContainerFormat::kMp4};

INSTANTIATE_TEST_SUITE_P(
    StreamSpec, GoodSpec,
    testing::Values(
        Good{"1280x720@30,1500k,talk.mp4", {false, k720p, FrameRate{30, 1}, 1'500'000, kTalk}},
        Good{"1280x720", {false, k720p, {}, {}, {}}},
        Good{"@30", {false, {}, FrameRate{30, 1}, {}, {}}},
        Good{"1.5M", {false, {}, {}, 1'500'000, {}}}, Good{"talk.mp4", {false, {}, {}, {}, kTalk}},
        Good{"1280x720@30", {false, k720p, FrameRate{30, 1}, {}, {}}},
        Good{"1280x720,talk.mp4", {false, k720p, {}, {}, kTalk}},
        Good{"@15,150k", {false, {}, FrameRate{15, 1}, 150'000, {}}},
        Good{"1500k,talk.mp4", {false, {}, {}, 1'500'000, kTalk}},
        Good{"a,b.mkv", {false, {}, {}, {}, StreamTarget{"a,b.mkv", ContainerFormat::kMkv}}},
        Good{"150k,1280x720.ts",
             {false, {}, {}, 150'000, StreamTarget{"1280x720.ts", ContainerFormat::kMpegTs}}},
        Good{"2x2.mp4", {false, {}, {}, {}, StreamTarget{"2x2.mp4", ContainerFormat::kMp4}}},
        Good{"/tmp/my talk.h264",
             {false, {}, {}, {}, StreamTarget{"/tmp/my talk.h264", ContainerFormat::kAnnexB}}},
        Good{"-", {false, {}, {}, {}, StreamTarget{"-", ContainerFormat::kMpegTs}}},
        Good{"150k,-.mkv", {false, {}, {}, 150'000, StreamTarget{"-", ContainerFormat::kMkv}}},
        Good{"-a.mp4", {false, {}, {}, {}, StreamTarget{"-a.mp4", ContainerFormat::kMp4}}},
        Good{"@12.5", {false, {}, FrameRate{25, 2}, {}, {}}},
        Good{"1280x720@30000/1001,a.mp4",
             {false,
              k720p,
              FrameRate{30000, 1001},
              {},
              StreamTarget{"a.mp4", ContainerFormat::kMp4}}},
        Good{",500k", {false, {}, {}, 500'000, {}}}, Good{",talk.mp4", {false, {}, {}, {}, kTalk}},
        Good{",1500k,talk.mp4", {false, {}, {}, 1'500'000, kTalk}},
        Good{"file:talk.mp4", {false, {}, {}, {}, kTalk}},
        Good{"1500k,file:-",
             {false, {}, {}, 1'500'000, StreamTarget{"-", ContainerFormat::kMpegTs}}},
        Good{"C:x.mp4", {false, {}, {}, {}, StreamTarget{"C:x.mp4", ContainerFormat::kMp4}}},
        Good{"./rtmp://x.mp4",
             {false, {}, {}, {}, StreamTarget{"./rtmp://x.mp4", ContainerFormat::kMp4}}},
        Good{"off", {true, {}, {}, {}, {}}}));

struct Bad {
  const char* text;
  ExitCode code;
  const char* says;
};

class BadSpec : public testing::TestWithParam<Bad> {};

TEST_P(BadSpec, IsRefusedWithItsCodeAndReason) {
  const Result<StreamSpec> result = ParseStreamSpec(GetParam().text);
  ASSERT_NE(FailureOf(result), nullptr);
  EXPECT_EQ(FailureOf(result)->code, GetParam().code);
  EXPECT_THAT(FailureOf(result)->text, HasSubstr(GetParam().says));
}

INSTANTIATE_TEST_SUITE_P(
    StreamSpec, BadSpec,
    testing::Values(Bad{"", ExitCode::kMalformed, "'' has an empty piece"},
                    Bad{",", ExitCode::kMalformed, "has an empty piece"},
                    Bad{",,talk.mp4", ExitCode::kMalformed, "has an empty piece"},
                    Bad{",1280x720", ExitCode::kMalformed, "'1280x720' is neither"},
                    Bad{",@30", ExitCode::kMalformed, "'@30' is neither"},
                    Bad{"1280x720,", ExitCode::kMalformed, "'1280x720,' has an empty piece"},
                    Bad{"1280x720,,a.mp4", ExitCode::kMalformed, "has an empty piece"},
                    Bad{"1280x720@", ExitCode::kMalformed, "'' is not a rate"},
                    Bad{"1280x720@fast", ExitCode::kMalformed, "'fast' is not a rate"},
                    Bad{"1280x720@30@15", ExitCode::kMalformed, "'30@15' is not a rate"},
                    Bad{"1280x", ExitCode::kMalformed,
                        "'1280x' is neither a size, a bit rate nor a file"},
                    Bad{"1280*720", ExitCode::kMalformed, "'1280*720' is neither"},
                    Bad{"720p", ExitCode::kMalformed, "'720p' is neither"},
                    Bad{"1500q", ExitCode::kMalformed, "'1500q' is neither"},
                    Bad{"OFF", ExitCode::kMalformed, "'OFF' is neither"},
                    Bad{"1500k,1280x720", ExitCode::kMalformed, "'1280x720' is neither"},
                    Bad{"1500k,1500k", ExitCode::kMalformed, "'1500k' is neither"},
                    Bad{"0x0", ExitCode::kZero, "the width is 0"},
                    Bad{"1280x720@0", ExitCode::kZero, "the rate is 0"},
                    Bad{"1280x720@30,0k", ExitCode::kZero, "the bit rate is 0"},
                    Bad{"1281x720", ExitCode::kOutOfRange, "the width is odd"},
                    Bad{"100000x100000@30", ExitCode::kOutOfRange, "the width is out of range"},
                    Bad{"@1000", ExitCode::kOutOfRange, "the rate 1000 is too high"},
                    Bad{"5k", ExitCode::kOutOfRange, "the bit rate 5k is out of range"},
                    Bad{"talk.avi", ExitCode::kUnknownEnding, "use .mp4, .mkv, .ts or .h264"},
                    Bad{"out/talk", ExitCode::kUnknownEnding, "'out/talk' has no ending"},
                    Bad{"rtmp://host/x", ExitCode::kMalformed, "'rtmp://'; use file:PATH"},
                    Bad{"1280x720,rtmp://u@host/x.mp4", ExitCode::kMalformed, "no output of the"},
                    Bad{"file:talk", ExitCode::kMalformed, "'file:talk' is neither"},
                    Bad{"file:a/talk.avi", ExitCode::kUnknownEnding, "has no ending"},
                    Bad{"-.avi", ExitCode::kUnknownEnding, "'-.avi' has no ending"}));

TEST(FurtherTarget, IsAStreamAndAFile) {
  EXPECT_EQ(ValueOf(ParseFurtherTarget("big=talk.mp4")),
            (FurtherTarget{video::VideoStreamType::kBig, kTalk}));
  EXPECT_EQ(ValueOf(ParseFurtherTarget("small=a=b,c.ts")),
            (FurtherTarget{video::VideoStreamType::kSmall,
                           StreamTarget{"a=b,c.ts", ContainerFormat::kMpegTs}}));
  EXPECT_EQ(
      ValueOf(ParseFurtherTarget("small=-.mkv")),
      (FurtherTarget{video::VideoStreamType::kSmall, StreamTarget{"-", ContainerFormat::kMkv}}));
}

TEST(FurtherTarget, IsRefusedWithItsReason) {
  for (const char* const text : {"", "big", "big=", "=a.mp4", "huge=a.mp4", "talk.mp4"}) {
    const auto result = ParseFurtherTarget(text);
    ASSERT_NE(FailureOf(result), nullptr) << text;
    EXPECT_EQ(FailureOf(result)->code, ExitCode::kMalformed);
    EXPECT_THAT(FailureOf(result)->text, HasSubstr("write big=FILE or small=FILE"));
  }
  EXPECT_EQ(FailureOf(ParseFurtherTarget("big=talk"))->code, ExitCode::kUnknownEnding);
  EXPECT_THAT(FailureOf(ParseFurtherTarget("big=rtmp://host/x"))->text, HasSubstr("file:PATH"));
}

}  // namespace
}  // namespace movra::app
