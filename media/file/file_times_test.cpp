// Which times the pictures of a file get where its own are odd.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "media/file/clip_for_test.h"
#include "media/file/decoded_for_test.h"

namespace movra::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using ::testing::ElementsAreArray;
using ::testing::SizeIs;

constexpr char kFastH264[] = "-c:v libx264 -preset veryfast -crf 20 ";

double Seconds(nanoseconds time) { return std::chrono::duration<double>(time).count(); }

class FileTimesTest : public ::testing::Test {
 protected:
  // A second of pictures, whose clock begins at that time.
  void MakeSecond(const std::string& name, double begin) const {
    clips_.Make(
        name,
        std::string(kFastH264) + "-bf 0 -muxdelay 0 -output_ts_offset " + std::to_string(begin),
        30);
  }

  [[nodiscard]] Decoded DecodeTogether(const std::string& names) const {
    EXPECT_EQ(
        std::system(("cd '" + clips_.Path("") + "' && cat " + names + " > together.ts").c_str()),
        0);
    return Decode(clips_.Path("together.ts"));
  }

  const ClipDirectory clips_;
};

TEST_F(FileTimesTest, RecordingsPutTogetherLastAsLongAsAllOfThem) {
  MakeSecond("a.ts", 10);
  const Decoded decoded = DecodeTogether("a.ts a.ts a.ts");
  ASSERT_THAT(decoded.frames, SizeIs(90));
  for (std::size_t i = 0; i < 90; ++i) {
    EXPECT_NEAR(Seconds(decoded.Timestamps()[i]), static_cast<double>(i) / 30, 1e-3) << i;
  }
  EXPECT_EQ(decoded.end.error_code, 0) << decoded.end.reason;
  EXPECT_EQ(decoded.end.damaged_frames, 0U);
}

TEST_F(FileTimesTest, AClockThatJumpsBackFarIsAnotherOne) {
  MakeSecond("a.ts", 10);
  MakeSecond("b.ts", 10.4);
  const std::vector<nanoseconds> times = DecodeTogether("a.ts b.ts").Timestamps();
  ASSERT_THAT(times, SizeIs(60));
  for (std::size_t i = 0; i < 60; ++i) {
    EXPECT_NEAR(Seconds(times[i]), static_cast<double>(i) / 30, 1e-3) << i;
  }
}

TEST_F(FileTimesTest, AClockThatJumpsBackALittleStaysTheSame) {
  MakeSecond("a.ts", 10);
  MakeSecond("b.ts", 10.6);
  const std::vector<nanoseconds> times = DecodeTogether("a.ts b.ts").Timestamps();
  ASSERT_THAT(times, SizeIs(60));
  for (std::size_t i = 1; i < 60; ++i) EXPECT_GT(times[i], times[i - 1]) << i;
  // What it jumped over stands close together.
  for (std::size_t i = 30; i < 41; ++i) EXPECT_NEAR(Seconds(times[i]), 29.0 / 30, 1e-3) << i;
  for (std::size_t i = 42; i < 60; ++i) {
    EXPECT_NEAR(Seconds(times[i]), 0.6 + static_cast<double>(i - 30) / 30, 1e-3) << i;
  }
}

// The length of a pause is said of another picture than the one before it.
TEST_F(FileTimesTest, ALengthThatAPictureSaysIsNoTime) {
  clips_.Make("paused.mkv",
              std::string(kFastH264) +
                  "-bf 3 -vf \"settb=1/1000,setpts='if(lt(N,20),N*40,N*40+60000)'\" -vsync vfr "
                  "-enc_time_base 1:1000",
              40);
  clips_.RunFfmpeg("-i paused.mkv -c copy copied.mkv");
  clips_.RunFfmpeg("-i paused.mkv -c copy copied.mp4");
  for (const std::string name : {"paused.mkv", "copied.mkv", "copied.mp4"}) {
    const Decoded decoded = Decode(clips_.Path(name));
    std::vector<nanoseconds> expected;
    for (int i = 0; i < 40; ++i)
      expected.emplace_back(milliseconds(40 * i + (i < 20 ? 0 : 60'000)));
    EXPECT_THAT(decoded.Timestamps(), ElementsAreArray(expected)) << name;
  }
}

// No picture of it says when it is shown.
TEST_F(FileTimesTest, ABareVideoIsShownAtItsRate) {
  for (const auto& [name, arguments] :
       std::vector<std::pair<std::string, std::string>>{{"a.m1v", "-c:v mpeg1video -q:v 4"},
                                                        {"b.m1v", "-c:v mpeg1video -q:v 4 -bf 2"},
                                                        {"a.m2v", "-c:v mpeg2video -q:v 4"},
                                                        {"b.m2v", "-c:v mpeg2video -q:v 4 -bf 2"},
                                                        {"a.m4v", "-c:v mpeg4 -q:v 4"},
                                                        {"b.m4v", "-c:v mpeg4 -q:v 4 -bf 2"}}) {
    clips_.Make(name, arguments, 40);
    VideoFileDecoder decoder;
    Decoded decoded;
    ASSERT_EQ(decoder.Open(clips_.Path(name)).error_code, 0) << name;
    ReadToTheEnd(decoder, decoded);
    ASSERT_TRUE(decoder.Rewind()) << name;
    ReadToTheEnd(decoder, decoded);
    ASSERT_THAT(decoded.frames, SizeIs(80)) << name;
    for (std::size_t i = 0; i < 80; ++i) {
      EXPECT_NEAR(Seconds(decoded.Timestamps()[i]), static_cast<double>(i) / 30, 1e-3)
          << name << " " << i;
    }
    EXPECT_NEAR(Seconds(decoded.end.end_time.value_or(nanoseconds(0))), 80.0 / 30, 1e-3) << name;
  }
}

// Nothing in it leads back to its beginning.
TEST_F(FileTimesTest, AMatroskaThatBeginsBeforeItsTimeIsPlayedAgain) {
  clips_.Make("a.mp4", std::string(kFastH264) + "-g 30", 60);
  clips_.RunFfmpeg(
      "-itsoffset -1 -i a.mp4 -f lavfi -i sine=d=1 -map 0 -map 1 -c:v copy -c:a aac "
      "-avoid_negative_ts disabled a.mkv");
  VideoFileDecoder decoder;
  Decoded decoded;
  ASSERT_EQ(decoder.Open(clips_.Path("a.mkv")).error_code, 0);
  for (std::size_t pass = 1; pass <= 3; ++pass) {
    ReadToTheEnd(decoder, decoded);
    ASSERT_THAT(decoded.frames, SizeIs(pass * 60));
    EXPECT_EQ(decoded.end.error_code, 0) << decoded.end.reason;
    EXPECT_EQ(decoded.end.damaged_frames, 0U);
    ASSERT_TRUE(decoder.Rewind());
  }
  const std::vector<int> numbers = decoded.Numbers();
  for (int i = 0; i < 180; ++i) EXPECT_EQ(numbers[static_cast<std::size_t>(i)], i % 60);
}

TEST_F(FileTimesTest, TheOnlyPictureOfAFileIsPlayedAgainAndAgain) {
  clips_.RunFfmpeg("-f lavfi -i testsrc=s=1920x1080 -frames:v 1 -q:v 1 a.jpg");
  clips_.RunFfmpeg("-i a.jpg a.png");
  clips_.RunFfmpeg("-i a.jpg -c:v libx264 -preset ultrafast -pix_fmt yuv420p a.mp4");
  for (const std::string name : {"a.jpg", "a.png", "a.mp4"}) {
    VideoFileDecoder decoder;
    Decoded decoded;
    ASSERT_EQ(decoder.Open(clips_.Path(name)).error_code, 0) << name;
    for (std::size_t pass = 1; pass < 5; ++pass) {
      ReadToTheEnd(decoder, decoded);
      ASSERT_THAT(decoded.frames, SizeIs(pass)) << name;
      ASSERT_TRUE(decoder.Rewind()) << name;
    }
    for (std::size_t i = 0; i < 4; ++i) {
      const video::PixelFrameInfo& info = decoded.frames[i].frame.info();
      EXPECT_EQ(info.timestamp, milliseconds(40) * static_cast<int>(i)) << name;
      EXPECT_EQ(info.sequence, i) << name;
      EXPECT_EQ(info.size, (video::Size{1920, 1080})) << name;
    }
    decoder.Interrupt();
    EXPECT_TRUE(std::holds_alternative<std::monostate>(decoder.Next()));
  }
}

}  // namespace
}  // namespace movra::media
