// Any clip that a person may have, through the program and through `ffmpeg`.
//
// A row is a clip that `ffmpeg` makes of numbered pictures. The program makes two streams of it;
// its frames are matched by their numbers with those that `ffmpeg` shows of the same clip, scaled
// and cropped by itself, and must resemble them nearly as well as after `ffmpeg`'s own encoding
// with the same preset, tune, rate, buffer and threads. Everything that runs here gives the same
// bits each time, so half a decibel is a margin for other versions of the libraries and not for
// chance.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "app/clip_matrix_for_test.h"
#include "app/program_for_test.h"

namespace movra::app {
namespace {

using ::testing::HasSubstr;
using video::Size;

constexpr char kH264[] = "-c:v libx264 -preset veryfast -crf 12 ";
constexpr char kHevc[] =
    "-c:v libx265 -preset ultrafast -x265-params log-level=none:frame-threads=1:pools=1:crf=10 ";
constexpr char kVp8[] = "-c:v libvpx -deadline realtime -cpu-used 8 -b:v 8M ";
constexpr char kVp9[] = "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -b:v 8M ";
constexpr char kAv1[] = "-c:v libaom-av1 -usage realtime -cpu-used 8 -b:v 8M ";

// What the streams say, in the words of `ffprobe`. Small pictures that say nothing of their matrix
// count as BT.601.
constexpr char kAssumed601[] = "tv smpte170m unknown unknown";
constexpr char kAssumed601Full[] = "pc smpte170m unknown unknown";
constexpr char kStated709[] = "tv bt709 unknown unknown";

constexpr double kMostBelowFfmpegDb = 0.5;

struct Row {
  const char* name;
  const char* file;
  std::string arguments;  // Of `ffmpeg`, which makes the file.
  const char* colors = kAssumed601;

  Size source{640, 360};
  Size big{640, 360};
  Size small{160, 90};
  const char* filter = "null";  // What `ffmpeg` does before it scales.
  const char* scaling = "";     // Further options of its scaler.
  std::array<int, 4> matrix{};  // How an MP4 is to be shown; all 0: as it is stored.
  int frames = 12;
  const char* said = "";  // A line of the program about the clip.
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

class ClipMatrix : public ProgramTest, public ::testing::WithParamInterface<Row> {
 protected:
  void MakeClip(const Row& row) const {
    clips_.Make(row.file, row.arguments, row.frames, row.source);
    const auto& [a, b, c, d] = row.matrix;
    if (row.matrix != std::array<int, 4>{}) {
      media::ClipDirectory::SetDisplayMatrix(clips_.Path(row.file), a, b, c, d);
    }
  }

  static std::string SizeText(const Size& size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
  }

  [[nodiscard]] ProcessResult RunWithStats(const Row& row) const {
    return Run({"--camera", "file:" + clips_.Path(row.file), "--big",
                SizeText(row.big) + ",big.h264", "--small", SizeText(row.small) + ",small.mp4",
                "--stats", "stats.json"});
  }

  // What `ffmpeg` shows of the clip at the sizes of the streams; for the small one of every second
  // frame, which is what its rate leaves.
  [[nodiscard]] std::vector<Pictures> Shown(const Row& row) const {
    const std::string range = std::string(row.colors).substr(0, 2);
    auto shown = ScaleByFfmpeg(clips_, row.file, row.filter, {row.big, row.small},
                               ":out_range=" + range + row.scaling);
    std::vector<std::string>& small = shown[1].frames;
    for (std::size_t i = 0; 2 * i < small.size(); ++i) small[i] = small[2 * i];
    small.resize((small.size() + 1) / 2);
    return shown;
  }
};

TEST_P(ClipMatrix, BecomesTwoStreamsAsGoodAsFfmpegs) {
  const Row& row = GetParam();
  MakeClip(row);
  const ProcessResult result = RunWithStats(row);
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr(row.said));

  const std::vector<std::string> files{directory_ / "out/big.h264", directory_ / "out/small.mp4"};
  const auto stored = ReadPictures(clips_, {{files[0], row.big}, {files[1], row.small}});
  const auto shown = Shown(row);
  std::ifstream stats_file(directory_ / "out/stats.json");
  const auto streams = nlohmann::json::parse(stats_file)["streams"];
  const auto encoded = EncodeByFfmpeg(clips_, {{shown[0], 30, streams[0]["target_bitrate_bps"]},
                                               {shown[1], 15, streams[1]["target_bitrate_bps"]}});
  ASSERT_EQ(shown[0].frames.size(), static_cast<std::size_t>(row.frames));
  for (std::size_t i = 0; i < files.size(); ++i) {
    SCOPED_TRACE(files[i]);
    EXPECT_EQ(ColorsOf(files[i]), row.colors);
    ASSERT_EQ(stored[i].frames.size(), shown[i].frames.size());
    ASSERT_EQ(encoded[i].frames.size(), shown[i].frames.size());
    EXPECT_EQ(stored[i].Numbers(), shown[i].Numbers());
    const Psnr ours = Compare(stored[i], shown[i]);
    const Psnr theirs = Compare(encoded[i], shown[i]);
    EXPECT_GE(ours.luma_db, theirs.luma_db - kMostBelowFfmpegDb);
    EXPECT_GE(ours.chroma_db, theirs.chroma_db - kMostBelowFfmpegDb);
  }
}

std::string NameOf(const ::testing::TestParamInfo<Row>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(
    Codecs, ClipMatrix,
    ::testing::Values(Row{"H264WithBFramesInMp4", "clip.mp4", std::string(kH264) + "-bf 3"},
                      Row{"H264InMov", "clip.mov", kH264}, Row{"H264InMkv", "clip.mkv", kH264},
                      Row{"H264InAvi", "clip.avi", std::string(kH264) + "-bf 0"},
                      Row{"H264WithBFramesInTs", "clip.ts", std::string(kH264) + "-bf 3"},
                      Row{"HevcInMp4", "clip.mp4", kHevc},
                      Row{"HevcOfTenBitsInMkv", "clip.mkv",
                          std::string(kHevc) + "-pix_fmt yuv420p10le"},
                      Row{"Vp8InWebm", "clip.webm", kVp8, "tv bt470bg unknown unknown"},
                      Row{"Vp9InWebm", "clip.webm", kVp9}, Row{"Av1InMp4", "clip.mp4", kAv1},
                      Row{"Av1InMkv", "clip.mkv", kAv1},
                      Row{"MjpegInAvi", "clip.avi", "-c:v mjpeg -q:v 2 -pix_fmt yuvj422p",
                          "pc bt470bg unknown unknown"},
                      Row{"MjpegInMov", "clip.mov", "-c:v mjpeg -q:v 2 -pix_fmt yuvj420p",
                          "pc bt470bg unknown unknown"},
                      Row{"Mpeg4WithBFramesInAvi", "clip.avi", "-c:v mpeg4 -q:v 2 -bf 2"},
                      Row{"Mpeg4InMp4", "clip.mp4", "-c:v mpeg4 -q:v 2"},
                      Row{"RawInY4m", "clip.y4m", ""}),
    NameOf);

INSTANTIATE_TEST_SUITE_P(
    Samples, ClipMatrix,
    ::testing::Values(
        Row{"FourTwoTwo", "clip.mp4", std::string(kH264) + "-pix_fmt yuv422p"},
        Row{"FourFourFour", "clip.mp4", std::string(kH264) + "-pix_fmt yuv444p"},
        Row{"FourFourFourInVp9", "clip.webm", std::string(kVp9) + "-pix_fmt yuv444p"},
        Row{"FourTwoTwoOfTenBits", "clip.mkv", std::string(kH264) + "-pix_fmt yuv422p10le"},
        Row{"FourFourFourOfTenBits", "clip.mkv", std::string(kH264) + "-pix_fmt yuv444p10le"},
        Row{"H264OfTenBits", "clip.mp4", std::string(kH264) + "-pix_fmt yuv420p10le"},
        Row{"FourTwoTwoInY4m", "clip.y4m", "-pix_fmt yuv422p"},
        Row{"FourFourFourInY4m", "clip.y4m", "-pix_fmt yuv444p"},
        Row{"GreyInY4m", "clip.y4m", "-pix_fmt gray", kAssumed601Full},
        Row{"GreyInH264", "clip.mp4", std::string(kH264) + "-pix_fmt gray", kAssumed601Full},
        Row{"GreyInHevc", "clip.mkv", std::string(kHevc) + "-pix_fmt gray", kAssumed601Full},
        Row{.name = "Rgb",
            .file = "clip.mkv",
            .arguments = "-c:v ffv1 -pix_fmt bgr0",
            .colors = kStated709,
            .scaling = ":out_color_matrix=bt709"}),
    NameOf);

INSTANTIATE_TEST_SUITE_P(
    Colours, ClipMatrix,
    ::testing::Values(
        Row{"Limited709", "clip.mp4",
            std::string(kH264) + "-color_range tv -colorspace bt709 -color_primaries bt709 "
                                 "-color_trc bt709",
            "tv bt709 bt709 bt709"},
        Row{"Full709", "clip.mp4",
            std::string(kH264) + "-vf scale=out_range=pc -color_range pc -colorspace bt709 "
                                 "-color_primaries bt709 -color_trc bt709",
            "pc bt709 bt709 bt709"},
        Row{"Limited601", "clip.mp4",
            std::string(kH264) + "-color_range tv -colorspace smpte170m -color_primaries smpte170m "
                                 "-color_trc smpte170m",
            "tv smpte170m smpte170m smpte170m"},
        Row{"Full601InVp9", "clip.webm",
            std::string(kVp9) + "-vf scale=out_range=pc -color_range pc -colorspace bt470bg",
            "pc bt470bg unknown unknown"},
        Row{"FullWithoutAMatrix", "clip.mp4", std::string(kH264) + "-pix_fmt yuvj420p",
            kAssumed601Full},
        Row{.name = "FullOfTenBits2020",
            .file = "clip.mkv",
            .arguments = std::string(kHevc) +
                         "-vf scale=out_range=pc -pix_fmt yuv420p10le -color_range pc "
                         "-colorspace bt2020nc -color_primaries bt2020 -color_trc smpte2084",
            .colors = "pc bt2020nc smpte2084 bt2020",
            .said = "HDR and is not tone-mapped"}),
    NameOf);

// How an upright picture is stored and what the file then says of it.
Row Lying(const char* name, const char* stored, std::array<int, 4> matrix) {
  return {.name = name,
          .file = "clip.mp4",
          .arguments = std::string(kH264) + "-vf " + stored,
          .matrix = matrix};
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, ClipMatrix,
    ::testing::Values(Lying("TurnedRight", "transpose=cclock", {0, 1, -1, 0}),
                      Lying("UpsideDown", "hflip,vflip", {-1, 0, 0, -1}),
                      Lying("TurnedLeft", "transpose=clock", {0, -1, 1, 0}),
                      Lying("Mirrored", "hflip", {-1, 0, 0, 1}),
                      Lying("HeadOver", "vflip", {1, 0, 0, -1}),
                      Lying("Transposed", "transpose=cclock_flip", {0, 1, 1, 0}),
                      Lying("TransposedTheOtherWay", "transpose=clock_flip", {0, -1, -1, 0}),
                      Row{.name = "Portrait",
                          .file = "clip.mp4",
                          .arguments = kH264,
                          .source = {360, 640},
                          .big = {360, 640},
                          .small = {90, 160}},
                      Row{.name = "ScaledByTwoThirds",
                          .file = "clip.y4m",
                          .arguments = "",
                          .source = {960, 540},
                          .small = {160, 90}},
                      Row{.name = "ScaledToNearlyTheSameSizes",
                          .file = "clip.y4m",
                          .arguments = "",
                          .source = {960, 540},
                          .small = {480, 270}},
                      Row{.name = "SmallLargerThanBig",
                          .file = "clip.mp4",
                          .arguments = kH264,
                          .big = {160, 90},
                          .small = {480, 270}},
                      Row{.name = "ScaledUp",
                          .file = "clip.mp4",
                          .arguments = kH264,
                          .source = {320, 180},
                          .big = {480, 270}},
                      Row{.name = "FourToThreeCroppedToSixteenToNine",
                          .file = "clip.mp4",
                          .arguments = kH264,
                          .source = {480, 360},
                          .big = {480, 270},
                          .small = {160, 90},
                          .filter = "crop=480:270:0:44"},
                      Row{.name = "WidePixels",
                          .file = "clip.mp4",
                          .arguments = std::string(kH264) + "-vf scale=480:360,setsar=4/3"},
                      Row{.name = "NarrowPixels",
                          .file = "clip.mkv",
                          .arguments = std::string(kH264) + "-vf scale=720:360,setsar=8/9"},
                      Row{.name = "OddSize",
                          .file = "clip.mkv",
                          .arguments = "-c:v ffv1 -vf scale=641:361,setsar=1"},
                      Row{.name = "Square64",
                          .file = "clip.mp4",
                          .arguments = kH264,
                          .source = {64, 64},
                          .big = {64, 64},
                          .small = {32, 32}},
                      Row{.name = "UltraHighDefinition",
                          .file = "clip.mp4",
                          .arguments = "-c:v libx264 -preset ultrafast -crf 16",
                          .colors = kStated709,
                          .source = {3840, 2160},
                          .big = {1280, 720},
                          .small = {320, 180},
                          .frames = 3},
                      Row{.name = "InterlacedMpeg2",
                          .file = "clip.ts",
                          .arguments = "-c:v mpeg2video -q:v 2 -flags +ildct+ilme -vf setfield=tff",
                          .said = "interlaced"},
                      Row{.name = "InterlacedH264",
                          .file = "clip.mp4",
                          .arguments = std::string(kH264) + "-flags +ildct+ilme -vf setfield=tff",
                          .said = "interlaced"}),
    NameOf);

class OddClips : public ProgramTest {
 protected:
  [[nodiscard]] ProcessResult RunOver(const std::string& clip, const std::string& rate) const {
    return Run({"--camera", "file:" + clip, "--big", "640x360@" + rate + ",big.mp4", "--small",
                "160x90@" + rate + ",small.mp4"});
  }

  // The streams hold the same frames: those of the clip with these numbers.
  void ExpectNumbers(const std::vector<std::uint32_t>& numbers) const {
    for (const char* const file : {"out/big.mp4", "out/small.mp4"}) {
      const PlayedFile played = Play(directory_ / file);
      EXPECT_EQ(played.error, "") << file;
      EXPECT_EQ(played.numbers, numbers) << file;
    }
  }
};

TEST_F(OddClips, AVariableRateKeepsItsTimes) {
  for (const std::string file : {"clip.mkv", "clip.mp4"}) {
    const std::string clip =
        clips_.Make(file,
                    std::string(kH264) +
                        "-bf 2 -vf \"settb=1/1000,setpts='if(lt(N,6),N*20,N*50)'\" -vsync vfr "
                        "-enc_time_base 1:1000",
                    12, {640, 360});
    const ProcessResult result = RunOver(clip, "60");
    ASSERT_EQ(result.exit_code, 0) << result.err;
    ExpectNumbers(Numbers(12));
    const std::vector<double> times = Play(directory_ / "out/big.mp4").times_s;
    for (std::size_t i = 0; i < times.size(); ++i) {
      EXPECT_NEAR(times[i], static_cast<double>(i) * (i < 6 ? 0.02 : 0.05), 1e-3) << file;
    }
    std::filesystem::remove_all(directory_ / "out");
  }
}

TEST_F(OddClips, AMatrixThatChangesIsConvertedToTheFirst) {
  clips_.Make("a.ts", std::string(kH264) + "-color_range tv -colorspace bt709", 6, {640, 360});
  clips_.Make("b.ts",
              std::string(kH264) +
                  "-vf scale=in_color_matrix=bt709:out_color_matrix=bt601:out_range=pc "
                  "-color_range pc -colorspace smpte170m -output_ts_offset 1",
              6, {640, 360});
  clips_.RunFfmpeg("-i 'concat:a.ts|b.ts' -c copy both.ts");
  ASSERT_EQ(RunOver(clips_.Path("both.ts"), "30").exit_code, 0);
  ExpectNumbers({0, 1, 2, 3, 4, 5, 0, 1, 2, 3, 4, 5});
  EXPECT_EQ(ColorsOf(directory_ / "out/big.mp4"), "tv bt709 unknown unknown");
  const auto stored = ReadPictures(clips_, {{directory_ / "out/big.mp4", {640, 360}}});
  const Pictures before{{640, 360}, {stored[0].frames[5]}};
  const Pictures after{{640, 360}, {stored[0].frames[11]}};
  // The same picture, encoded twice.
  EXPECT_GT(Compare(before, after).luma_db, 30);
  EXPECT_GT(Compare(before, after).chroma_db, 38);
}

TEST_F(OddClips, ADamagedBeginningIsToldAndTheRestIsKept) {
  const std::string whole =
      clips_.Make("whole.ts", std::string(kH264) + "-g 10 -bf 0", 40, {640, 360});
  // Whole packets of 188 bytes, from the middle of the first group of pictures on.
  const std::uintmax_t begin = std::filesystem::file_size(whole) / 188 / 8 * 188;
  std::ifstream in(whole, std::ios::binary);
  in.seekg(static_cast<std::streamoff>(begin));
  std::ofstream(clips_.Path("headless.ts"), std::ios::binary) << in.rdbuf();
  const ProcessResult result = RunOver(clips_.Path("headless.ts"), "30");
  std::vector<std::uint32_t> numbers = Numbers(40);
  numbers.erase(numbers.begin(), numbers.begin() + 10);
  EXPECT_EQ(result.exit_code, 16) << result.err;
  EXPECT_THAT(result.err, HasSubstr("damaged"));
  ExpectNumbers(numbers);
}

TEST_F(OddClips, WhatIsTransparentIsShownOverBlackAndThatIsSaid) {
  const std::string clip = clips_.Make(
      "clip.mov", "-vf \"format=rgba,colorchannelmixer=aa=0\" -c:v qtrle", 6, {640, 360});
  const ProcessResult result = RunOver(clip, "30");
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("transparent"));
  const auto stored = ReadPictures(clips_, {{directory_ / "out/big.mp4", {640, 360}}});
  ASSERT_EQ(stored[0].frames.size(), 6U);
  const std::string& picture = stored[0].frames[5];
  for (const std::size_t at : {std::size_t{0}, std::size_t{640 * 180 + 320}}) {
    EXPECT_NEAR(static_cast<std::uint8_t>(picture[at]), 16, 2);
  }
}

// Both streams carry the count of the one source.
TEST_F(OddClips, DamageCountsOnceHoweverManyStreamsThereAre) {
  const std::string clip = clips_.Make("clip.mp4", std::string(kH264) + "-g 10", 40, {640, 360});
  {
    std::fstream file(clip, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(static_cast<std::streamoff>(std::filesystem::file_size(clip) / 3));
    file << std::string(2000, '\xA5');
  }
  std::vector<std::uint64_t> damaged;
  for (const std::string small : {"off", "160x90@30"}) {
    const ProcessResult result =
        Run({"--camera", "file:" + clip, "--big", "640x360@30", "--small", small, "--stats",
             "stats.json", "--force", "--duration", "1.2s"});
    EXPECT_EQ(result.exit_code, 16) << result.err;
    std::ifstream stats(directory_ / "out/stats.json");
    damaged.push_back(nlohmann::json::parse(stats)["frames_damaged"]);
  }
  EXPECT_GT(damaged[0], 0U);
  EXPECT_EQ(damaged[1], damaged[0]);
}

TEST_F(OddClips, AFileThatBreaksOffIsToldAndItsBeginningIsKept) {
  const std::string whole = clips_.Make(
      "whole.mp4", std::string(kH264) + "-g 10 -bf 0 -movflags +faststart", 40, {640, 360});
  const ProcessResult result = RunOver(clips_.MakeTruncated(whole, "cut.mp4", 0.6), "30");
  EXPECT_EQ(result.exit_code, 16) << result.err;
  EXPECT_THAT(result.err, HasSubstr("breaks off"));
  const auto kept = static_cast<std::uint32_t>(Play(directory_ / "out/big.mp4").numbers.size());
  EXPECT_GT(kept, 15U);
  EXPECT_LT(kept, 35U);
  ExpectNumbers(Numbers(kept));
}

}  // namespace
}  // namespace movra::app
