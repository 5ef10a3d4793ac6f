// What files lack, told and counted; and files that lack nothing, of the kinds that look as if.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>

#include "media/capture/camera_error.h"
#include "media/file/clip_for_test.h"
#include "media/file/decoded_for_test.h"

namespace movra::media {
namespace {

using ::testing::HasSubstr;

constexpr int kFrames = 60;
constexpr char kFastH264[] = "-c:v libx264 -preset veryfast -crf 20 ";

std::string Content(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

struct Sound {
  const char* name;
  const char* file;
  const char* arguments;
  const char* again = "";  // What `ffmpeg` makes the file of the first one with; named then "from".
  int at_least = kFrames;
};

void PrintTo(const Sound& row, std::ostream* out) { *out << row.name; }

class SoundFile : public ::testing::TestWithParam<Sound> {
 protected:
  const ClipDirectory clips_;
};

TEST_P(SoundFile, IsSaidToLackNothing) {
  const Sound& row = GetParam();
  const std::string file = row.file;
  const bool is_copied = *row.again != '\0';
  clips_.Make(is_copied ? "from-" + file : file, row.arguments, kFrames);
  if (is_copied) clips_.RunFfmpeg(row.again);
  for (const int threads : {1, 3}) {
    const Decoded decoded = Decode(clips_.Path(file), threads);
    EXPECT_EQ(decoded.end.error_code, 0) << decoded.end.reason;
    EXPECT_EQ(decoded.end.damaged_frames, 0U);
    EXPECT_GE(decoded.frames.size(), static_cast<std::size_t>(row.at_least));
    EXPECT_LE(decoded.frames.size(), static_cast<std::size_t>(kFrames));
    EXPECT_EQ(decoded.frames.back().frame.info().sequence + 1, decoded.frames.size());
  }
}

INSTANTIATE_TEST_SUITE_P(
    PicturesThatAreNotShown, SoundFile,
    ::testing::Values(
        Sound{"Vp8WithHiddenReferences", "a.webm",
              "-c:v libvpx -b:v 400k -auto-alt-ref 1 -lag-in-frames 16 -deadline good -cpu-used 4"},
        Sound{"Vp9WithHiddenReferences", "a.webm",
              "-c:v libvpx-vp9 -b:v 400k -auto-alt-ref 1 -lag-in-frames 25 -deadline good "
              "-cpu-used 5"},
        Sound{"Av1WithHiddenReferences", "a.mkv",
              "-c:v libaom-av1 -b:v 400k -lag-in-frames 19 -cpu-used 8 -usage good"},
        Sound{"BFramesOfMpeg4", "a.avi", "-c:v mpeg4 -q:v 4 -bf 2"},
        Sound{"AnMp4ThatAnEditCutsInTheFront", "a.mp4",
              "-c:v libx264 -preset veryfast -crf 20 -g 60 -bf 2",
              "-ss 0.5 -i from-a.mp4 -c copy a.mp4", 40},
        Sound{"AnOpenGroupInTheFrontOfH264", "a.mkv",
              "-c:v libx264 -preset veryfast -x264-params "
              "open-gop=1:bframes=3:b-adapt=0:keyint=20:min-keyint=20:scenecut=0",
              "-ss 1.4 -i from-a.mkv -c copy a.mkv", 20},
        Sound{"AnOpenGroupInTheFrontOfHevc", "a.mkv",
              "-c:v libx265 -preset ultrafast -x265-params log-level=none:frame-threads=1:pools=1:"
              "open-gop=1:bframes=3:b-adapt=0:keyint=20:min-keyint=20:scenecut=0",
              "-ss 1.4 -i from-a.mkv -c copy a.mkv", 20},
        Sound{"AnOpenGroupInTheFrontOfMpeg2", "a.mpg", "-c:v mpeg2video -q:v 4 -g 15 -bf 2",
              "-ss 0.6 -i from-a.mpg -c copy a.mpg", 30},
        Sound{"AnOpenGroupInTheFrontOfBareMpeg2", "a.m2v",
              "-c:v mpeg2video -q:v 4 -g 15 -bf 2 -f mpeg", "-ss 0.6 -i from-a.m2v -c copy a.m2v",
              30},
        Sound{"AnOpenGroupInTheFrontOfBareHevc", "a.hevc",
              "-c:v libx265 -preset ultrafast -x265-params log-level=none:frame-threads=1:pools=1:"
              "open-gop=1:bframes=3:b-adapt=0:keyint=20:min-keyint=20:scenecut=0 -f matroska",
              "-ss 1.4 -i from-a.hevc -c copy a.hevc", 20}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    OfEveryKind, SoundFile,
    ::testing::Values(
        Sound{"Gif", "a.gif", "-vf scale=160:90"},
        Sound{"MotionJpeg", "a.avi", "-c:v mjpeg -q:v 4"},
        Sound{"Fields", "a.ts", "-c:v mpeg2video -q:v 4 -flags +ildct+ilme -vf setfield=tff"},
        Sound{"FieldsOfH264", "a.mp4",
              "-c:v libx264 -preset veryfast -flags +ildct+ilme -vf setfield=tff"},
        Sound{"FieldsOfH264InTs", "a.ts",
              "-c:v libx264 -preset veryfast -flags +ildct+ilme -vf setfield=tff"},
        Sound{"Flash", "a.flv", "-c:v flv1 -q:v 4"},
        Sound{"WindowsMedia", "a.wmv", "-c:v wmv2 -q:v 4"},
        Sound{"Lossless", "a.mkv", "-c:v ffv1 -level 3 -slicecrc 1"},
        Sound{"ProRes", "a.mov", "-c:v prores_ks"},
        Sound{"Fragments", "a.mp4",
              "-c:v libx264 -preset veryfast -movflags frag_keyframe+empty_moov -g 10"},
        Sound{"AMatroskaWithoutALength", "a.mkv", "-c:v libx264 -preset veryfast -live 1"},
        Sound{"AMatroskaThatWasPiped", "a.mkv", "-c:v libx264 -preset veryfast",
              "-i from-a.mkv -c copy -f matroska - > a.mkv"},
        Sound{"AnAviThatWasPiped", "a.avi", "-c:v mjpeg -q:v 4",
              "-i from-a.avi -c copy -f avi - > a.avi"},
        Sound{"AVariableRateInTs", "a.ts",
              "-c:v libx264 -preset veryfast -bf 0 -vf \"setpts='if(lt(N,20),N,N*3)/30/TB'\" "
              "-vsync vfr"},
        Sound{"ALateSound", "a.mkv",
              "-f lavfi -i sine=d=4 -map 0 -map 1 -c:a aac -c:v libx264 -preset veryfast"},
        Sound{"AProgramStreamOfSmallPictures", "a.mpg", "-c:v mpeg2video",
              "-f lavfi -i testsrc2=s=640x360:r=30:d=2 -c:v mpeg2video -q:v 31 -g 4 -bf 2 a.mpg"},
        Sound{"AVideoThatBeginsLaterThanItsSound", "a.mkv", "-c:v libx264 -preset veryfast",
              "-itsoffset 0.7 -i from-a.mkv -f lavfi -i sine=d=4 -map 0:v -map 1:a -c:v copy "
              "-c:a aac a.mkv"},
        Sound{"WindowsMediaWithALongSound", "a.wmv",
              "-f lavfi -i sine=d=4 -map 0 -map 1 -c:v wmv2 -q:v 4 -c:a wmav2"},
        Sound{"AnOggThatCarriesTheLengthOfAMatroska", "a.ogg", "-c:v libtheora -f matroska",
              "-i from-a.ogg -t 1 -c copy a.ogg", 28}),
    [](const auto& row) { return std::string(row.param.name); });

class FileDamageTest : public ::testing::Test {
 protected:
  // Decodes the first part of the file.
  [[nodiscard]] Decoded DecodeCut(const std::string& whole, double share) const {
    const std::string name =
        std::to_string(share) + std::filesystem::path(whole).filename().string();
    return Decode(clips_.MakeTruncated(whole, name, share));
  }

  static std::uint64_t Sum(const Decoded& decoded) {
    return decoded.frames.size() + decoded.end.damaged_frames;
  }

  const ClipDirectory clips_;
};

// Wherever it is cut: within a picture, between two, or within the sound.
TEST_F(FileDamageTest, AnInterruptedDownloadTellsHowManyPicturesItLacks) {
  const std::string whole = clips_.Make(
      "a.mp4",
      std::string(
          "-f lavfi -i sine=d=2 -map 0 -map 1 -c:a pcm_s16be -f mov -movflags +faststart ") +
          kFastH264 + "-g 15",
      kFrames);
  for (double share = 0.3; share < 0.999; share += 0.035) {
    const Decoded decoded = DecodeCut(whole, share);
    EXPECT_EQ(decoded.end.error_code, static_cast<int>(CameraError::kBrokenOff)) << share;
    EXPECT_EQ(Sum(decoded), std::uint64_t{kFrames}) << share;
    EXPECT_THAT(decoded.end.reason, HasSubstr("breaks off after ")) << share;
    // Close to the end it may lack a picture between others alone.
    EXPECT_THAT(decoded.end.reason, HasSubstr(share < 0.9 ? " s of 2.00 s" : "2.00 s")) << share;
  }
}

TEST_F(FileDamageTest, AnAviThatWasCutTellsHowManyPicturesItLacks) {
  for (const std::string codec : {"mjpeg", "mpeg4"}) {
    const std::string whole = clips_.Make(codec + ".avi", "-q:v 4 -c:v " + codec, kFrames);
    for (double share = 0.31; share < 0.97; share += 0.13) {
      const Decoded decoded = DecodeCut(whole, share);
      EXPECT_EQ(decoded.end.error_code, static_cast<int>(CameraError::kBrokenOff)) << share;
      EXPECT_EQ(Sum(decoded), std::uint64_t{kFrames}) << codec << share;
      EXPECT_LT(decoded.frames.size(), std::size_t{kFrames}) << codec << share;
    }
  }
}

// By less than what a stated duration may be off.
TEST_F(FileDamageTest, AMatroskaFileThatLacksItsLastBytesWasCut) {
  const std::string whole = clips_.Make("a.mkv", kFastH264, kFrames);
  for (const double share : {0.9, 0.97, 0.99}) {
    EXPECT_EQ(DecodeCut(whole, share).end.error_code, static_cast<int>(CameraError::kBrokenOff))
        << share;
  }
}

// By its length alone: the duration may be that of its sound.
TEST_F(FileDamageTest, AWindowsMediaFileThatWasCutIsTold) {
  const std::string whole = clips_.Make(
      "a.wmv", "-f lavfi -i sine=d=2 -map 0 -map 1 -c:v wmv2 -q:v 4 -c:a wmav2", kFrames);
  for (const double share : {0.4, 0.7, 0.95}) {
    EXPECT_EQ(DecodeCut(whole, share).end.error_code, static_cast<int>(CameraError::kBrokenOff))
        << share;
  }
}

// Nothing but the stream's own duration tells of what was wiped out.
TEST_F(FileDamageTest, AMatroskaFileWhoseRestWasWipedOutIsTold) {
  clips_.Make("v.mkv", kFastH264, kFrames);
  for (const std::string begin : {"0", "0.7"}) {
    clips_.RunFfmpeg("-itsoffset " + begin +
                     " -i v.mkv -f lavfi -i sine=d=4 -map 0:v -map 1:a -c:v copy -c:a aac a.mkv");
    std::string bytes = Content(clips_.Path("a.mkv"));
    const std::size_t from = bytes.size() / 2;
    bytes.replace(from, std::string::npos, bytes.size() - from, '\0');
    const Decoded decoded = Decode(clips_.MakeText("wiped.mkv", bytes));
    EXPECT_EQ(decoded.end.error_code, static_cast<int>(CameraError::kBrokenOff)) << begin;
    EXPECT_LT(decoded.frames.size(), std::size_t{kFrames} - 10) << begin;
  }
}

TEST_F(FileDamageTest, AGifThatBreaksOffIsTold) {
  const std::string whole = clips_.Make("a.gif", "-vf scale=160:90", kFrames);
  for (const double share : {0.37, 0.61, 0.83}) {
    const Decoded decoded = DecodeCut(whole, share);
    EXPECT_EQ(decoded.end.error_code, static_cast<int>(CameraError::kBrokenOff)) << share;
    EXPECT_GT(decoded.frames.size(), 10U);
  }
}

TEST_F(FileDamageTest, WhatStandsBehindTheTrailerOfAGifIsNoPartOfIt) {
  const std::string bytes = Content(clips_.Make("a.gif", "-vf scale=160:90", 20));
  const std::string comment = "\x21\xFE\x05hello\x02!!";
  const std::string body = bytes.substr(0, bytes.size() - 1);
  for (const std::string& behind :
       {bytes + '\n', bytes + std::string(2, '\0'), body + comment + '\0' + bytes.back(),
        body + comment + '\0' + bytes.back() + '\n'}) {
    VideoFileDecoder decoder;
    Decoded decoded;
    ASSERT_EQ(decoder.Open(clips_.MakeText("behind.gif", behind)).error_code, 0);
    for (std::size_t pass = 1; pass <= 2; ++pass) {
      ReadToTheEnd(decoder, decoded);
      EXPECT_EQ(decoded.end.error_code, 0) << decoded.end.reason;
      EXPECT_EQ(decoded.end.damaged_frames, 0U);
      EXPECT_EQ(decoded.frames.size(), pass * 20);
      ASSERT_TRUE(decoder.Rewind());
    }
  }
  for (const std::string& cut : {body, body + comment, body + '\n', body + std::string(1, '\0')}) {
    EXPECT_EQ(Decode(clips_.MakeText("cut.gif", cut)).end.error_code,
              static_cast<int>(CameraError::kBrokenOff));
  }
}

// Its decoder says so in words alone, and hands the pictures out.
TEST_F(FileDamageTest, PicturesOfWhichTheirDecoderComplainsAreCounted) {
  const std::string whole = clips_.Make("a.avi", "-c:v mjpeg -q:v 4", kFrames);
  std::string bytes = Content(whole);
  for (std::size_t at = bytes.size() / 4; at < bytes.size() * 3 / 4; at += bytes.size() / 16) {
    bytes.replace(at, 4, "\xFF\x5A\xFF\x5A");
  }
  const std::string path = clips_.MakeText("damaged.avi", bytes);
  for (const int threads : {1, 3}) {
    const Decoded decoded = Decode(path, threads);
    EXPECT_GE(decoded.end.damaged_frames, 4U);
    EXPECT_LE(decoded.end.damaged_frames, 9U);
    EXPECT_EQ(Sum(decoded), std::uint64_t{kFrames});
    EXPECT_EQ(decoded.Numbers().back(), kFrames - 1);
  }
}

TEST_F(FileDamageTest, PlayedAgainAFileThatBreaksOffLacksAsManyPicturesEachTime) {
  const std::string whole =
      clips_.Make("a.mp4", std::string(kFastH264) + "-g 15 -movflags +faststart", kFrames);
  VideoFileDecoder decoder;
  Decoded decoded;
  ASSERT_EQ(decoder.Open(clips_.MakeTruncated(whole, "cut.mp4", 0.6)).error_code, 0);
  for (std::uint64_t pass = 1; pass <= 3; ++pass) {
    ReadToTheEnd(decoder, decoded);
    EXPECT_EQ(Sum(decoded), pass * kFrames);
    ASSERT_TRUE(decoder.Rewind());
  }
}

}  // namespace
}  // namespace movra::media
