// What comes out of the program, read back by a decoder that knows nothing of it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "app/program_for_test.h"

namespace movra::app {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

class RunE2e : public ProgramTest {
 protected:
  // The stream plays, and its frames carry the numbers at the times that belong to them.
  void ExpectStream(const std::string& file, video::Size size,
                    const std::vector<std::uint32_t>& numbers, double source_rate) const {
    const PlayedFile played = Play(directory_ / file);
    EXPECT_EQ(played.error, "") << file;
    EXPECT_EQ(played.size, size) << file;
    ASSERT_EQ(played.numbers, numbers) << file;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      EXPECT_NEAR(played.times_s[i], numbers[i] / source_rate, 1e-4) << file << " frame " << i;
    }
  }

  static std::string FirstBytes(const std::string& path, std::size_t count) {
    std::string bytes(count, '\0');
    std::ifstream(path, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(count));
    return bytes;
  }
};

TEST_F(RunE2e, AClipBecomesABigAndASmallStreamAndNoFrameIsLost) {
  const std::string clip = MakeClip(60, {1280, 720});
  const ProcessResult result = Run({"--camera", "file:" + clip});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(result.out, "");
  ExpectStream("out/big.mp4", {1280, 720}, Numbers(60), 30);
  ExpectStream("out/small.mp4", {320, 180}, Numbers(60, 2), 30);
  EXPECT_THAT(result.err, HasSubstr("out/big.mp4"));
  EXPECT_THAT(result.err, HasSubstr("60 frames in, none lost"));
  EXPECT_EQ(FirstBytes(directory_ / "out/contact-sheet.png", 4), "\x89PNG");
}

TEST_F(RunE2e, APortraitClipKeepsItsShape) {
  const std::string clip = MakeClip(10, {360, 640});
  EXPECT_EQ(Run({"--camera", "file:" + clip, "--small", "180x320"}).exit_code, 0);
  ExpectStream("out/big.mp4", {360, 640}, Numbers(10), 30);
  ExpectStream("out/small.mp4", {180, 320}, Numbers(10, 2), 30);
}

TEST_F(RunE2e, EveryContainerAndEveryPieceOfASpecHolds) {
  const std::string clip = MakeClip(30);
  const ProcessResult result = Run({"--camera", "file:" + clip, "--big", "640x360@30,900k,a.mkv",
                                    "--small", "320x180@10,120k,b.ts"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  ExpectStream("out/a.mkv", {640, 360}, Numbers(30), 30);
  ExpectStream("out/b.ts", {320, 180}, Numbers(30, 3), 30);
  EXPECT_FALSE(Exists("out/big.mp4"));
}

TEST_F(RunE2e, AStreamGoesToEachOfItsPlacesAndNoFrameIsLost) {
  const std::string clip = MakeClip(30);
  const ProcessResult result =
      Run({"--camera", "file:" + clip, "--big", "640x360,-", "--also", "big=a.mkv", "--also",
           "big=file:a:b.mp4", "--small", "off", "--stats", "stats.json"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  std::ofstream(directory_ / "piped.ts", std::ios::binary) << result.out;
  for (const char* const file : {"piped.ts", "out/a.mkv", "out/a:b.mp4"}) {
    ExpectStream(file, {640, 360}, Numbers(30), 30);
  }
  const auto stats = nlohmann::json::parse(std::ifstream(directory_ / "out/stats.json"));
  const auto& sinks = stats["streams"][0]["sinks"];
  ASSERT_EQ(sinks.size(), 3U);
  for (const auto& sink : sinks) {
    EXPECT_EQ(sink["frames_handed"], 30);
    EXPECT_EQ(sink["frames_written"], 30);
  }
}

TEST_F(RunE2e, APlaceOfAKindThatThereIsNotIsRefusedAndLeavesNothing) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"--big", "rtmp://host/x.mp4"}, {"--also", "small=srt://host:9"}}) {
    const ProcessResult result = Run(words);
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_THAT(result.err, HasSubstr("file:PATH"));
    EXPECT_TRUE(fs::is_empty(directory_.path()));
  }
}

TEST_F(RunE2e, RawAnnexBPlaysToo) {
  const std::string clip = MakeClip(10);
  EXPECT_EQ(Run({"--camera", "file:" + clip, "--big", "a.h264", "--small", "off"}).exit_code, 0);
  EXPECT_EQ(Play(directory_ / "out/a.h264").numbers, Numbers(10));
  EXPECT_FALSE(Exists("out/small.mp4"));
}

TEST_F(RunE2e, UnevenRatesKeepTheirTimeStamps) {
  const std::string clip =
      MakeClip(30, {640, 360}, "uneven.mp4", "-vf setpts=N*1001/30000/TB -r 30000/1001");
  EXPECT_EQ(Run({"--camera", "file:" + clip, "--small", "off"}).exit_code, 0);
  ExpectStream("out/big.mp4", {640, 360}, Numbers(30), 30000.0 / 1001);
}

TEST_F(RunE2e, ARunWithoutADirectoryGetsOneAndLatestPointsAtIt) {
  const std::string clip = MakeClip(10);
  const ProcessResult result = RunProcess(Program({"run", "--camera", "file:" + clip}));
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_TRUE(Exists("movra-out/latest/big.mp4"));
  EXPECT_TRUE(Exists("movra-out/latest/contact-sheet.png"));
  EXPECT_EQ(Play(directory_ / "movra-out/latest/big.mp4").numbers, Numbers(10));
}

TEST_F(RunE2e, TheTestCameraRunsInRealTimeForItsDuration) {
  const ProcessResult result = Run({"--duration", "1s", "--stats", "-"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  const auto stream = nlohmann::json::parse(result.out)["streams"][0];
  ExpectWholeSum(stream);
  const PlayedFile big = Play(directory_ / "out/big.mp4");
  EXPECT_EQ(big.error, "");
  EXPECT_EQ(big.size, (video::Size{1280, 720}));
  // A busy machine may lose some of the thirty, and counts them; what comes is in order.
  EXPECT_LE(big.numbers.size(), 30U);
  EXPECT_EQ(big.numbers.size(), stream["frames_written"]);
  EXPECT_FALSE(big.numbers.empty());
  EXPECT_TRUE(std::is_sorted(big.numbers.begin(), big.numbers.end()));
  EXPECT_THAT(result.err, HasSubstr("duration over"));
}

TEST_F(RunE2e, ADurationOfAFileIsMediaTimeToTheFrame) {
  const std::string clip = MakeClip(60);
  EXPECT_EQ(Run({"--camera", "file:" + clip, "--duration", "1s"}).exit_code, 0);
  EXPECT_EQ(Play(directory_ / "out/big.mp4").numbers, Numbers(30));
  const auto small = RunProcess(
      {.words = {"ffprobe", "-v", "error", "-count_frames", "-show_entries",
                 "stream=nb_read_frames", "-of", "csv=p=0", directory_ / "out/small.mp4"}});
  EXPECT_EQ(small.out, "15\n");
}

TEST_F(RunE2e, ALoopedFileGoesOnWhereItEnded) {
  const std::string clip = MakeClip(20);
  EXPECT_EQ(
      Run({"--camera", "file:" + clip, "--loop", "--duration", "2s", "--small", "off"}).exit_code,
      0);
  const PlayedFile big = Play(directory_ / "out/big.mp4");
  ASSERT_EQ(big.numbers.size(), 60U);
  for (std::size_t i = 0; i < 60; ++i) {
    EXPECT_EQ(big.numbers[i], i % 20);
    EXPECT_NEAR(big.times_s[i], static_cast<double>(i) / 30, 1e-3);
  }
}

TEST_F(RunE2e, InRealTimeAFileTakesAsLongAsItPlays) {
  const std::string clip = MakeClip(30);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Run({"--camera", "file:" + clip, "--realtime"}).exit_code, 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(29 * 1000 / 30));
}

TEST_F(RunE2e, AStreamMayGoToStandardOutputAndNothingElseDoes) {
  const std::string clip = MakeClip(30);
  for (const auto& [spec, container] :
       {std::pair{"-", "ts"}, std::pair{"-.mp4", "mp4"}, std::pair{"-.mkv", "mkv"}}) {
    const ProcessResult result =
        RunProcess(Program({"run", "--camera", "file:" + clip, "--big", spec, "--small", "off"}));
    EXPECT_EQ(result.exit_code, 0) << result.err;
    const std::string copy = directory_.Write(std::string("copy.") + container, result.out);
    EXPECT_EQ(Play(copy).numbers, Numbers(30)) << spec;
  }
  EXPECT_FALSE(Exists("movra-out"));
}

TEST_F(RunE2e, TheStatsAreTheFiguresOfWhatWasWritten) {
  const std::string clip = MakeClip(30);
  const ProcessResult result = Run({"--camera", "file:" + clip, "--quiet", "--stats", "-"});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.err, "");
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json["ending"], "source ended");
  EXPECT_EQ(json["frames_captured"], 30);
  EXPECT_EQ(json["source"]["frame_rate_fps"], 30.0);
  EXPECT_GT(json["time_to_first_frame_s"], 0.0);
  ASSERT_EQ(json["streams"].size(), 2U);
  EXPECT_EQ(json["streams"][0]["frames_written"], 30);
  for (const auto& stream : json["streams"]) {
    EXPECT_EQ(stream["frames_delivered"], 30);
    ExpectWholeSum(stream);
  }
  EXPECT_GT(json["streams"][0]["bytes_written"], 0);
  EXPECT_EQ(json["streams"][1]["frames_written"], 15);
  EXPECT_EQ(json["streams"][1]["frames_dropped_to_rate"], 15);
  EXPECT_NEAR(json["streams"][1]["frame_rate_fps"], 15.0, 0.01);
  EXPECT_GT(json["streams"][0]["picture_bytes_written"], 0);
}

TEST_F(RunE2e, TheBytesAreTheSizeOfTheFile) {
  const std::string clip = MakeClip(30);
  for (const char* file : {"a.mp4", "a.mkv", "a.ts", "a.h264"}) {
    const ProcessResult result = Run({"--camera", "file:" + clip, "--big", file, "--small", "off",
                                      "--quiet", "--force", "--no-contact-sheet", "--stats", "-"});
    EXPECT_EQ(result.err, "") << file;
    const auto stream = nlohmann::json::parse(result.out)["streams"][0];
    const auto size = fs::file_size(directory_ / (std::string("out/") + file));
    EXPECT_EQ(stream["bytes_written"], size) << file;
    EXPECT_LE(stream["picture_bytes_written"], size) << file;
  }
}

// More comes than two slow encoders take: most frames are lost, and each of them is told.
TEST_F(RunE2e, AtOverloadEveryFrameIsInOneFigure) {
  const ProcessResult result =
      Run({"--camera", "test:?rate=240&size=1920x1080", "--big", "1920x1080@240", "--small",
           "960x540@120", "--duration", "1s", "--stats", "-", "--no-contact-sheet"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  const auto json = nlohmann::json::parse(result.out);
  std::uint64_t lost = 0;
  for (const auto& stream : json["streams"]) {
    EXPECT_EQ(stream["frames_delivered"], json["frames_captured"]);
    ExpectWholeSum(stream);
    lost += stream["frames_displaced"].get<std::uint64_t>();
    EXPECT_GE(stream["frames_encoded"], stream["frames_written"]);
  }
  EXPECT_EQ(result.err.find("none lost") == std::string::npos, lost > 0) << result.err;
}

TEST_F(RunE2e, TheStatsMayLandInTheDirectory) {
  const std::string clip = MakeClip(5);
  EXPECT_EQ(Run({"--camera", "file:" + clip, "--stats", "figures.json"}).exit_code, 0);
  std::ifstream file(directory_ / "out/figures.json");
  EXPECT_EQ(nlohmann::json::parse(file)["exit_code"], 0);
}

TEST_F(RunE2e, SaysOnceThatSoundIsNotCarried) {
  const std::string path =
      MakeClip(30, {640, 360}, "loud.mp4", "-f lavfi -i sine=duration=1 -c:a aac -shortest");
  const ProcessResult result = Run({"--camera", "file:" + path});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  const std::size_t at = result.err.find("sound");
  ASSERT_NE(at, std::string::npos);
  EXPECT_EQ(result.err.find("sound", at + 1), std::string::npos);
  EXPECT_EQ(Run({"--camera", "file:" + path, "--force", "--quiet"}).err, "");
  EXPECT_THAT(Run({"--camera", "file:" + MakeClip(5, {640, 360}, "mute.mp4"), "--force"}).err,
              Not(HasSubstr("sound")));
}

TEST_F(RunE2e, NamesWithBlanksAndOtherScriptsWork) {
  const std::string clip = MakeClip(5, {640, 360}, "mein Führungs клип.mp4");
  const ProcessResult result =
      Run({"--camera", "file:" + clip, "--big", "das große Bild, 你好.mp4", "--small", "off"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(Play(directory_ / "out/das große Bild, 你好.mp4").numbers, Numbers(5));
}

TEST_F(RunE2e, ForceReplacesWhatIsThere) {
  const std::string clip = MakeClip(5);
  fs::create_directory(directory_ / "out");
  directory_.Write("out/big.mp4", std::string(1'000'000, 'x'));
  EXPECT_EQ(Run({"--camera", "file:" + clip, "--force"}).exit_code, 0);
  EXPECT_EQ(Play(directory_ / "out/big.mp4").numbers, Numbers(5));
  EXPECT_LT(fs::file_size(directory_ / "out/big.mp4"), 1'000'000U);
}

TEST_F(RunE2e, TheLogGoesToStandardErrorAndTheFilterThinsIt) {
  const std::string clip = MakeClip(30);
  const ProcessResult plain = Run({"--camera", "file:" + clip, "--quiet", "--log-level", "info"});
  EXPECT_EQ(plain.exit_code, 0);
  EXPECT_EQ(plain.out, "");
  EXPECT_THAT(plain.err, HasSubstr("I video_producer2_impl:"));
  EXPECT_THAT(plain.err, HasSubstr("[main]"));
  EXPECT_EQ(Run({"--camera", "file:" + clip, "--quiet", "--force"}).err, "");
}

TEST_F(RunE2e, ATerminalGetsOneLineOfProgress) {
  const std::string clip = MakeClip(90, {1280, 720});
  int master = -1;
  int terminal = -1;
  ASSERT_EQ(openpty(&master, &terminal, nullptr, nullptr, nullptr), 0);
  auto options = Program({"run", "--camera", "file:" + clip, "--out", "out"});
  options.err = terminal;
  EXPECT_EQ(RunProcess(options).exit_code, 0);
  close(terminal);
  std::string text;
  char bytes[4096];
  for (ssize_t size; (size = read(master, bytes, sizeof bytes)) > 0;) {
    text.append(bytes, static_cast<std::size_t>(size));
  }
  close(master);
  EXPECT_THAT(text, HasSubstr("\r\033[K0:0"));
  EXPECT_THAT(text, HasSubstr(" of 0:03.0"));
  const std::size_t table = text.find("stream  size");
  ASSERT_NE(table, std::string::npos);
  EXPECT_EQ(text.substr(table - 4, 4), "\r\033[K") << "the progress is gone before the table";
}

TEST_F(RunE2e, DevicesListsTheTestCamera) {
  const ProcessResult table = RunProcess(Program({"devices"}));
  EXPECT_EQ(table.exit_code, 0);
  EXPECT_THAT(table.out, HasSubstr("test:"));
  const ProcessResult json = RunProcess(Program({"devices", "--json"}));
  EXPECT_EQ(nlohmann::json::parse(json.out)[0]["id"], "test:");
}

TEST_F(RunE2e, HelpAndVersionGoToStandardOutput) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"--help"}, {"run", "--help"}, {"--version"}}) {
    const ProcessResult result = RunProcess(Program(words));
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, HasSubstr("movra-producer"));
  }
}

}  // namespace
}  // namespace movra::app
