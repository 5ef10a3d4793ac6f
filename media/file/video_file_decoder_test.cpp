#include "media/file/video_file_decoder.h"

#include <sys/fsuid.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numeric>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "media/camera/frame_marker.h"
#include "media/capture/camera_error.h"
#include "media/capture/fit_frame.h"
#include "media/file/clip_for_test.h"
#include "media/file/decoded_for_test.h"
#include "media/frame/convert_frame.h"

namespace movra::media {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using video::CameraInfo;
using video::PixelFormat;
using video::PixelFrame;
using video::Size;
using video::StreamEnd;
using video::VideoRotation;

constexpr char kFastH264[] = "-c:v libx264 -preset veryfast -crf 20";

std::vector<int> Range(int begin, int end) {
  std::vector<int> numbers(static_cast<std::size_t>(end - begin));
  std::iota(numbers.begin(), numbers.end(), begin);
  return numbers;
}

// Time stamps of 30 frames a second, as a container stores them whose clock has `ticks` a second.
std::vector<nanoseconds> TimestampsAt30(int frames, std::int64_t ticks) {
  std::vector<nanoseconds> timestamps;
  for (std::int64_t i = 0; i < frames; ++i) {
    const std::int64_t tick = (i * ticks * 2 + 30) / 60;
    timestamps.emplace_back((tick * 1'000'000'000 * 2 + ticks) / (2 * ticks));
  }
  return timestamps;
}

class VideoFileDecoderTest : public ::testing::Test {
 protected:
  static void ExpectError(const std::string& path, CameraError error, const std::string& words) {
    VideoFileDecoder decoder;
    const CameraInfo info = decoder.Open(path);
    EXPECT_EQ(info.error_code, static_cast<int>(error)) << info.error_text;
    EXPECT_THAT(info.error_text, HasSubstr("'" + path + "'"));
    EXPECT_THAT(info.error_text, HasSubstr(words));
  }

  ClipDirectory clips_;
};

TEST_F(VideoFileDecoderTest, DeliversEveryFrameInTheOrderOfItsShowing) {
  const Decoded decoded = Decode(clips_.Make("b.mp4", std::string(kFastH264) + " -bf 3", 40));
  EXPECT_EQ(decoded.info.natural_size, (Size{320, 180}));
  EXPECT_EQ(decoded.info.rate_numerator, 30 * decoded.info.rate_denominator);
  EXPECT_NEAR(static_cast<double>(decoded.info.duration.count()), 40 / 30.0 * 1e9, 1e6);
  EXPECT_TRUE(decoded.info.traits.replayable);
  EXPECT_FALSE(decoded.info.has_audio);
  EXPECT_THAT(decoded.Numbers(), ElementsAreArray(Range(0, 40)));
  EXPECT_THAT(decoded.Timestamps(), ElementsAreArray(TimestampsAt30(40, 15360)));
  for (std::size_t i = 0; i < 40; ++i) EXPECT_EQ(decoded.frames[i].frame.info().sequence, i);
  EXPECT_EQ(decoded.end.error_code, 0);
  EXPECT_EQ(decoded.end.damaged_frames, 0u);
  EXPECT_EQ(decoded.end.reason, "");
}

TEST_F(VideoFileDecoderTest, DeliversTheSameFramesWithSeveralThreads) {
  const std::string path = clips_.Make("b.mp4", std::string(kFastH264) + " -bf 3", 40);
  const Decoded decoded = Decode(path, 3);
  EXPECT_THAT(decoded.Numbers(), ElementsAreArray(Range(0, 40)));
  EXPECT_THAT(decoded.Timestamps(), ElementsAreArray(TimestampsAt30(40, 15360)));
}

TEST_F(VideoFileDecoderTest, RemovesTheOffsetAtWhichAFileStarts) {
  const Decoded decoded =
      Decode(clips_.Make("offset.ts", std::string(kFastH264) + " -output_ts_offset 10", 10));
  EXPECT_THAT(decoded.Numbers(), ElementsAreArray(Range(0, 10)));
  EXPECT_THAT(decoded.Timestamps(), ElementsAreArray(TimestampsAt30(10, 90000)));
}

TEST_F(VideoFileDecoderTest, GoesOnCountingWhereAFileBeginsToCountAnew) {
  const std::string arguments = std::string(kFastH264) + " -bf 0";
  clips_.Make("now.ts", arguments, 30);
  clips_.Make("later.ts", arguments + " -output_ts_offset 3600", 30);
  for (const std::string order : {"now.ts later.ts", "later.ts now.ts"}) {
    ASSERT_EQ(std::system(("cd '" + clips_.Path("") + "' && cat " + order + " > both.ts").c_str()),
              0);
    const Decoded decoded = Decode(clips_.Path("both.ts"));
    ASSERT_THAT(decoded.frames, SizeIs(60)) << order;
    const std::vector<nanoseconds> timestamps = decoded.Timestamps();
    for (std::size_t i = 0; i < timestamps.size(); ++i) {
      EXPECT_NEAR(static_cast<double>(timestamps[i].count()), static_cast<double>(i) / 30 * 1e9,
                  1e6)
          << order;
    }
  }
}

TEST_F(VideoFileDecoderTest, KeepsAVariableFrameRate) {
  const Decoded decoded = Decode(
      clips_.Make("vfr.mkv",
                  std::string(kFastH264) +
                      " -vf \"settb=1/1000,setpts='if(lt(N,3),N*0.02,N*0.25)/TB'\" -vsync vfr "
                      "-enc_time_base 1:1000",
                  6));
  EXPECT_THAT(decoded.Numbers(), ElementsAreArray(Range(0, 6)));
  EXPECT_THAT(decoded.Timestamps(),
              ElementsAre(milliseconds(0), milliseconds(20), milliseconds(40), milliseconds(750),
                          milliseconds(1000), milliseconds(1250)));
}

TEST_F(VideoFileDecoderTest, TellsTheRotationAndTheUprightSize) {
  // Stored lying on its left side, to be turned clockwise.
  const Decoded decoded = Decode(clips_.MakeTurned("turned.mp4"));
  EXPECT_EQ(decoded.info.natural_size, (Size{320, 180}));
  EXPECT_EQ(decoded.frames[0].frame.info().size, (Size{180, 320}));
  EXPECT_EQ(decoded.frames[0].frame.info().rotation, VideoRotation::k90);
  EXPECT_EQ(decoded.frames[0].upright_size, (Size{320, 180}));
  EXPECT_THAT(decoded.Numbers(), ElementsAreArray(Range(0, 10)));
}

TEST_F(VideoFileDecoderTest, TellsEveryWayInWhichAPictureMayLie) {
  struct Case {
    std::string stored;  // As a filter of what is to be seen.
    int x_to_x, x_to_y, y_to_x, y_to_y;
    VideoRotation rotation;
    bool mirrored;
  };
  for (const Case& c : {Case{"null", 1, 0, 0, 1, VideoRotation::k0, false},
                        Case{"transpose=cclock", 0, 1, -1, 0, VideoRotation::k90, false},
                        Case{"hflip,vflip", -1, 0, 0, -1, VideoRotation::k180, false},
                        Case{"transpose=clock", 0, -1, 1, 0, VideoRotation::k270, false},
                        Case{"hflip", -1, 0, 0, 1, VideoRotation::k0, true},
                        Case{"transpose=cclock_flip", 0, 1, 1, 0, VideoRotation::k90, true},
                        Case{"vflip", 1, 0, 0, -1, VideoRotation::k180, true},
                        Case{"transpose=clock_flip", 0, -1, -1, 0, VideoRotation::k270, true}}) {
    const std::string path =
        clips_.Make("lying.mp4", std::string(kFastH264) + " -vf " + c.stored, 2);
    ClipDirectory::SetDisplayMatrix(path, c.x_to_x, c.x_to_y, c.y_to_x, c.y_to_y);
    const Decoded decoded = Decode(path);
    ASSERT_THAT(decoded.frames, SizeIs(2));
    EXPECT_EQ(decoded.frames[0].frame.info().rotation, c.rotation) << c.stored;
    EXPECT_EQ(decoded.frames[0].mirrored, c.mirrored) << c.stored;
    EXPECT_EQ(decoded.info.natural_size, (Size{320, 180})) << c.stored;
    EXPECT_THAT(decoded.Numbers(), ElementsAre(0, 1)) << c.stored;
  }
}

TEST_F(VideoFileDecoderTest, PicturesMayTellThemselvesHowTheyLie) {
  clips_.Make("plain.mp4", std::string(kFastH264) + " -vf hflip", 2);
  clips_.RunFfmpeg(
      "-i plain.mp4 -c copy -bsf:v h264_metadata=display_orientation=insert:flip=horizontal "
      "flip.mkv");
  const Decoded decoded = Decode(clips_.Path("flip.mkv"));
  EXPECT_TRUE(decoded.frames.at(0).mirrored);
  EXPECT_EQ(decoded.frames.at(0).frame.info().rotation, VideoRotation::k0);
  EXPECT_THAT(decoded.Numbers(), ElementsAre(0, 1));
}

TEST_F(VideoFileDecoderTest, TellsTheSizeWithSquarePixels) {
  const Decoded decoded =
      Decode(clips_.Make("wide.mp4", std::string(kFastH264) + " -vf scale=240:180,setsar=4/3"));
  EXPECT_EQ(decoded.info.natural_size, (Size{320, 180}));
  EXPECT_EQ(decoded.frames[0].frame.info().size, (Size{240, 180}));
  EXPECT_EQ(decoded.frames[0].upright_size, (Size{320, 180}));
  EXPECT_THAT(decoded.Numbers(), ElementsAreArray(Range(0, 10)));
}

TEST_F(VideoFileDecoderTest, DecodesWhatPeopleHave) {
  for (const auto& [name, arguments] : std::vector<std::pair<std::string, std::string>>{
           {"raw.y4m", ""},
           {"hevc.mp4",
            "-c:v libx265 -preset ultrafast -x265-params log-level=none:frame-threads=1:pools=1"},
           {"vp8.webm", "-c:v libvpx -deadline realtime -cpu-used 8 -b:v 1M"},
           {"vp9.webm", "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -b:v 1M"},
           {"mjpeg.avi", "-c:v mjpeg -q:v 4 -pix_fmt yuvj422p"},
           {"mpeg4.avi", "-c:v mpeg4 -q:v 4 -bf 2"},
           {"h264.mov", kFastH264}}) {
    const Decoded decoded = Decode(clips_.Make(name, arguments));
    EXPECT_THAT(decoded.Numbers(), ElementsAreArray(Range(0, 10))) << name;
    EXPECT_EQ(decoded.end.error_code, 0) << name;
    EXPECT_EQ(decoded.end.damaged_frames, 0u) << name;
  }
}

TEST_F(VideoFileDecoderTest, KeepsFormatsThatFramesCanHave) {
  for (const auto& [pixels, format] :
       std::vector<std::pair<std::string, PixelFormat>>{{"yuv420p", PixelFormat::kI420},
                                                        {"yuv422p", PixelFormat::kI422},
                                                        {"yuv444p", PixelFormat::kI444},
                                                        {"gray", PixelFormat::kGray},
                                                        {"yuv420p10le", PixelFormat::kI010},
                                                        {"yuva420p", PixelFormat::kI420}}) {
    const Decoded decoded = Decode(clips_.Make(pixels + ".mkv", "-c:v ffv1 -pix_fmt " + pixels, 2));
    ASSERT_THAT(decoded.frames, SizeIs(2));
    EXPECT_EQ(decoded.frames[0].frame.info().format, format) << pixels;
    EXPECT_THAT(decoded.Numbers(), ElementsAre(0, 1)) << pixels;
  }
}

TEST_F(VideoFileDecoderTest, ConvertsOtherFormats) {
  for (const std::string pixels : {"bgr0", "yuv422p10le", "yuv410p", "gray16le", "yuv444p12le"}) {
    const Decoded decoded = Decode(clips_.Make(pixels + ".mkv", "-c:v ffv1 -pix_fmt " + pixels, 2));
    ASSERT_THAT(decoded.frames, SizeIs(2));
    EXPECT_EQ(decoded.frames[0].frame.info().format, PixelFormat::kI420) << pixels;
    EXPECT_THAT(decoded.Numbers(), ElementsAre(0, 1)) << pixels;
  }
}

TEST_F(VideoFileDecoderTest, TellsTheColoursOfTheFile) {
  const Decoded decoded = Decode(clips_.Make(
      "color.mp4",
      std::string(kFastH264) + " -color_primaries bt470bg -color_trc gamma28 -colorspace "
                               "bt470bg -color_range pc",
      2));
  EXPECT_EQ(
      decoded.frames[0].frame.info().color,
      (video::ColorDescription{.primaries = 5, .transfer = 5, .matrix = 5, .full_range = true}));
  // What is not told is what players assume of a small picture.
  const Decoded plain = Decode(clips_.Make("plain.mp4", kFastH264, 2));
  EXPECT_EQ(plain.frames[0].frame.info().color, (video::ColorDescription{.matrix = 6}));
}

TEST_F(VideoFileDecoderTest, ConvertsFramesWhoseColoursDifferFromTheFirst) {
  // One flat colour, stored in two ways one behind the other.
  const auto make = [this](const std::string& name, const std::string& matrix,
                           const std::string& range) {
    clips_.RunFfmpeg("-f lavfi -i color=0xC04080:s=64x64:r=30:d=0.2 -vf scale=out_color_matrix=" +
                     matrix + ":out_range=" + range + ",format=yuv420p " + kFastH264 +
                     " -colorspace " + matrix + " -color_range " + range + " " + name);
  };
  make("a.ts", "bt709", "tv");
  make("b.ts", "bt470bg", "pc");
  clips_.RunFfmpeg("-i b.ts -c copy -output_ts_offset 1 c.ts");
  clips_.RunFfmpeg("-i 'concat:a.ts|c.ts' -c copy both.ts");
  const Decoded decoded = Decode(clips_.Path("both.ts"));
  ASSERT_THAT(decoded.frames, SizeIs(12));
  const video::PixelFrameInfo& first = decoded.frames.front().frame.info();
  const video::PixelFrameInfo& last = decoded.frames.back().frame.info();
  EXPECT_EQ(first.color.matrix, 1);
  EXPECT_FALSE(first.color.full_range);
  EXPECT_EQ(last.color.matrix, first.color.matrix);
  EXPECT_EQ(last.color.full_range, first.color.full_range);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(last.planes[i].data[0], first.planes[i].data[0], 2) << i;
  }
}

TEST_F(VideoFileDecoderTest, TellsWhetherPicturesAreInterlaced) {
  const std::string coded = "-c:v mpeg2video -q:v 3 ";
  EXPECT_FALSE(Decode(clips_.Make("whole.ts", coded, 5)).info.is_interlaced);
  EXPECT_TRUE(Decode(clips_.Make("woven.ts", coded + "-flags +ildct+ilme -vf setfield=tff", 5))
                  .info.is_interlaced);
}

TEST_F(VideoFileDecoderTest, DescribesConvertedRgbAsTheYuvThatItBecame) {
  // White, whose luma tells the range.
  clips_.RunFfmpeg("-f lavfi -i color=white:s=64x64:d=0.1 -c:v ffv1 -pix_fmt bgr0 white.mkv");
  const Decoded decoded = Decode(clips_.Path("white.mkv"));
  const video::PixelFrameInfo& info = decoded.frames.at(0).frame.info();
  EXPECT_EQ(info.color.matrix, 1);
  EXPECT_FALSE(info.color.full_range);
  EXPECT_NEAR(info.planes[0].data[0], 235, 1);
}

TEST_F(VideoFileDecoderTest, KeepsOddSizes) {
  const Decoded decoded = Decode(clips_.Make("odd.mkv", "-c:v ffv1 -vf scale=321:179,setsar=1", 3));
  EXPECT_EQ(decoded.info.natural_size, (Size{321, 179}));
  EXPECT_EQ(decoded.frames[0].frame.info().size, (Size{321, 179}));
  EXPECT_THAT(decoded.Numbers(), ElementsAre(0, 1, 2));
}

TEST_F(VideoFileDecoderTest, TellsOfAudioAndLeavesItAside) {
  const Decoded decoded = Decode(clips_.Make(
      "audio.mp4", std::string("-f lavfi -i sine=d=1 -c:a aac -shortest ") + kFastH264));
  EXPECT_TRUE(decoded.info.has_audio);
  EXPECT_THAT(decoded.Numbers(), ElementsAreArray(Range(0, 10)));
}

TEST_F(VideoFileDecoderTest, StartsAgainAsIfTheFileWereStoredTwice) {
  for (const std::string name : {"loop.mp4", "loop.mkv", "loop.ts", "loop.avi"}) {
    VideoFileDecoder decoder;
    Decoded decoded;
    ASSERT_EQ(decoder.Open(clips_.Make(name, std::string(kFastH264) + " -bf 2 -r 25")).error_code,
              0);
    ReadToTheEnd(decoder, decoded);
    const std::size_t pass = decoded.frames.size();
    const std::vector<int> first_numbers = decoded.Numbers();
    ASSERT_TRUE(decoder.Rewind());
    ReadToTheEnd(decoder, decoded);
    ASSERT_EQ(decoded.frames.size(), 2 * pass) << name;
    std::vector<int> expected = first_numbers;
    expected.insert(expected.end(), first_numbers.begin(), first_numbers.end());
    EXPECT_THAT(decoded.Numbers(), ElementsAreArray(expected)) << name;
    for (std::size_t i = 0; i < 2 * pass; ++i) {
      const auto at = milliseconds(40 * static_cast<int>(i));
      EXPECT_NEAR(static_cast<double>((decoded.Timestamps()[i] - at).count()), 0, 1e6) << name;
      EXPECT_EQ(decoded.frames[i].frame.info().sequence, i);
    }
  }
}

TEST_F(VideoFileDecoderTest, KeepsWhatComesBeforeTheEndOfATruncatedFile) {
  const std::string arguments = std::string(kFastH264) + " -g 15 -movflags +faststart";
  for (const std::string ending : {"mp4", "mkv"}) {
    const std::string whole = clips_.Make("whole." + ending, arguments, 60);
    const Decoded decoded = Decode(clips_.MakeTruncated(whole, "cut." + ending, 0.6));
    EXPECT_EQ(decoded.end.error_code, static_cast<int>(CameraError::kBrokenOff)) << ending;
    EXPECT_THAT(decoded.end.reason, HasSubstr("breaks off after")) << ending;
    EXPECT_GT(decoded.frames.size(), 20u) << ending;
    EXPECT_LT(decoded.frames.size(), 60u) << ending;
    const std::vector<int> numbers = decoded.Numbers();
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end())) << ending;
    EXPECT_EQ(numbers.front(), 0) << ending;
  }
}

TEST_F(VideoFileDecoderTest, APictureThatIsNotWholeAtTheEndOfAY4mFileIsABreak) {
  const std::string whole = clips_.Make("whole.y4m", "-pix_fmt yuv422p", 3);
  for (const double part : {0.4, 0.9}) {
    const std::string name = std::to_string(part) + ".y4m";
    const Decoded decoded = Decode(clips_.MakeTruncated(whole, name, part));
    EXPECT_EQ(decoded.end.error_code, static_cast<int>(CameraError::kBrokenOff)) << part;
    EXPECT_EQ(decoded.frames.size(), part < 0.5 ? 1U : 2U);
  }
  EXPECT_EQ(Decode(whole).end.error_code, 0);
}

TEST_F(VideoFileDecoderTest, AFileThatBreaksOffCountsAsDamagedEachTimeItIsPlayed) {
  VideoFileDecoder decoder;
  Decoded decoded;
  const std::string whole = clips_.Make("whole.y4m", "-pix_fmt yuv422p", 3);
  ASSERT_EQ(decoder.Open(clips_.MakeTruncated(whole, "cut.y4m", 0.5)).error_code, 0);
  for (int pass = 0; pass < 3; ++pass) {
    ReadToTheEnd(decoder, decoded);
    EXPECT_EQ(decoded.end.error_code, static_cast<int>(CameraError::kBrokenOff));
    ASSERT_TRUE(decoder.Rewind());
  }
  ASSERT_EQ(decoded.frames.size(), 3U);
  for (std::uint64_t pass = 0; pass < 3; ++pass) {
    EXPECT_EQ(decoded.frames[pass].frame.info().damaged_frames, pass);
    EXPECT_EQ(decoded.frames[pass].frame.info().sequence, 2 * pass) << "a loss leaves a gap";
  }
}

TEST_F(VideoFileDecoderTest, CountsDamageAndGoesOnBehindIt) {
  const std::string path = clips_.Make("damaged.ts", std::string(kFastH264) + " -g 15 -bf 0", 60);
  {
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(static_cast<std::streamoff>(fs::file_size(path) * 2 / 5));
    const std::string noise(3000, '\x5A');
    file.write(noise.data(), static_cast<std::streamsize>(noise.size()));
  }
  const Decoded decoded = Decode(path);
  EXPECT_GT(decoded.end.damaged_frames, 0u);
  EXPECT_GT(decoded.frames.size(), 20u);
  EXPECT_LT(decoded.frames.size(), 60u);
  EXPECT_EQ(decoded.Numbers().back(), 59);
  EXPECT_EQ(decoded.end.error_code, 0);
  const video::PixelFrameInfo& first = decoded.frames.front().frame.info();
  const video::PixelFrameInfo& last = decoded.frames.back().frame.info();
  EXPECT_EQ(last.sequence + 1, decoded.frames.size() + decoded.end.damaged_frames);
  EXPECT_EQ(first.damaged_frames, 0U);
  EXPECT_EQ(last.damaged_frames, decoded.end.damaged_frames);
}

TEST_F(VideoFileDecoderTest, CountsFramesThatLackTheirBeginning) {
  const std::string whole = clips_.Make("whole.ts", std::string(kFastH264) + " -g 20 -bf 0", 60);
  std::ifstream in(whole, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  // Whole packets of 188 bytes, from the middle of the first group of pictures on.
  const std::string path =
      clips_.MakeText("headless.ts", bytes.substr(188 * (bytes.size() / 188 / 8)));
  const Decoded decoded = Decode(path);
  EXPECT_GE(decoded.frames.size(), 40u);
  EXPECT_EQ(decoded.Numbers().back(), 59);
  EXPECT_EQ(decoded.Timestamps().front(), nanoseconds(0));
}

TEST_F(VideoFileDecoderTest, SaysInClearWordsWhyAFileCannotBeOpened) {
  ExpectError(clips_.Path("none.mp4"), CameraError::kNoSuchFile, "there is no file");
  ExpectError(clips_.Path("none/clip.mp4"), CameraError::kNoSuchFile, "there is no file");
  ExpectError(clips_.Path(""), CameraError::kNotAFile, "is a directory");
  ExpectError("/dev/null", CameraError::kNotAFile, "not a regular file");
  ExpectError(clips_.MakeText("empty.mp4", ""), CameraError::kEmptyFile, "is empty");
  ExpectError(clips_.MakeText("note.txt", "Dear diary,\nnothing moved today.\n"),
              CameraError::kNotAVideo, "no");
  ExpectError(clips_.MakeText("zeros.mp4", std::string(5000, '\0')), CameraError::kNotAVideo,
              "not a video");
  clips_.RunFfmpeg("-f lavfi -i sine=d=0.2 sound.wav");
  ExpectError(clips_.Path("sound.wav"), CameraError::kNotAVideo, "has no video");
  clips_.RunFfmpeg(
      "-f lavfi -i sine=d=0.2 -f lavfi -i color=red:s=64x64:d=0.1 -map 0 -map 1 -c:v png "
      "-frames:v 1 -disposition:v attached_pic cover.m4a");
  ExpectError(clips_.Path("cover.m4a"), CameraError::kNotAVideo, "has no video");
}

TEST_F(VideoFileDecoderTest, SaysThatAFileMayNotBeRead) {
  const std::string path = clips_.MakeText("secret.mp4", "x");
  fs::permissions(path, fs::perms::none);
  // Nothing is forbidden to the superuser, so the test gives that right away for a while.
  constexpr uid_t kNobody = 65534;
  if (geteuid() == 0) setfsuid(kNobody);
  ExpectError(path, CameraError::kNoPermission, "no permission");
  setfsuid(geteuid());
}

TEST_F(VideoFileDecoderTest, SaysThatNobodyKnowsACodec) {
  const std::string path = clips_.Make("odd.avi", "-c:v mjpeg -pix_fmt yuvj420p", 2);
  std::ifstream in(path, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  for (std::size_t at = bytes.find("MJPG"); at != std::string::npos; at = bytes.find("MJPG")) {
    bytes.replace(at, 4, "XQZW");
  }
  ExpectError(clips_.MakeText("unknown.avi", bytes), CameraError::kUnsupported, "decode");
}

TEST_F(VideoFileDecoderTest, EndsWithAnErrorWhenNothingCanBeDecoded) {
  const std::string whole = clips_.Make("whole.mkv", std::string(kFastH264) + " -g 15", 30);
  std::fstream file(whole, std::ios::in | std::ios::out | std::ios::binary);
  const auto size = static_cast<std::streamoff>(fs::file_size(whole));
  file.seekp(2000);
  const std::string noise(static_cast<std::size_t>(size - 2000), '\x11');
  file.write(noise.data(), static_cast<std::streamsize>(noise.size()));
  file.close();
  VideoFileDecoder decoder;
  Decoded decoded;
  ASSERT_EQ(decoder.Open(whole).error_code, 0);
  ReadToTheEnd(decoder, decoded);
  EXPECT_EQ(decoded.end.error_code, static_cast<int>(CameraError::kNothingDecoded));
  EXPECT_FALSE(decoder.Rewind());
}

TEST_F(VideoFileDecoderTest, GivesUpWhenItIsInterrupted) {
  VideoFileDecoder decoder;
  ASSERT_EQ(decoder.Open(clips_.Make("a.mp4", kFastH264)).error_code, 0);
  EXPECT_TRUE(std::holds_alternative<SourceFrame>(decoder.Next()));
  decoder.Interrupt();
  EXPECT_TRUE(std::holds_alternative<std::monostate>(decoder.Next()));

  VideoFileDecoder opened;
  ASSERT_EQ(opened.Open(clips_.Path("a.mp4")).error_code, 0);
  opened.Interrupt();
  EXPECT_TRUE(std::holds_alternative<std::monostate>(opened.Next()));
}

TEST_F(VideoFileDecoderTest, ItsFramesOutliveIt) {
  const std::string path = clips_.Make("a.mp4", kFastH264, 5);
  std::vector<SourceFrame> frames = Decode(path).frames;
  EXPECT_EQ(ReadFrameMarker(frames.back().frame), 4u);
}

}  // namespace
}  // namespace movra::media
