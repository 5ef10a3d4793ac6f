// Times: those of the source in the files, those of the clock in real time.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "app/program_for_test.h"

namespace movra::app {
namespace {

using std::chrono::nanoseconds;
using testing::SizeIs;

class TimesE2e : public ProgramTest {
 protected:
  // The times of the file's video as its container has them, from the first one on, in their order.
  [[nodiscard]] static std::vector<nanoseconds> TimesOf(const std::string& file) {
    const auto probe = [&](const std::string& entry) {
      return RunProcess({.words = {"ffprobe", "-v", "error", "-select_streams", "v",
                                   "-show_entries", entry, "-of", "default=nw=1:nk=1", file}})
          .out;
    };
    double numerator = 0;
    double denominator = 1;
    char slash = 0;
    std::istringstream(probe("stream=time_base")) >> numerator >> slash >> denominator;
    std::istringstream list(probe("packet=pts"));
    std::vector<double> units;
    for (double pts = 0; list >> pts;) units.push_back(pts);
    // In the order of decoding, which is another one where there are B-frames.
    std::sort(units.begin(), units.end());
    std::vector<nanoseconds> times;
    for (const double pts : units) {
      times.emplace_back(std::llround((pts - units.front()) * numerator / denominator * 1e9));
    }
    return times;
  }

  // As its container states it, in seconds.
  [[nodiscard]] static double DurationOf(const std::string& file) {
    return std::stod(RunProcess({.words = {"ffprobe", "-v", "error", "-show_entries",
                                           "format=duration", "-of", "default=nw=1:nk=1", file}})
                         .out);
  }

  // A clip of so many frames a second.
  [[nodiscard]] std::string MakeClipAt(const std::string& rate, int frames) const {
    const std::string filter = "settb=1/1000000,setpts=round(N*1000000/(" + rate + "))";
    return MakeClip(frames, {640, 360}, "clip.mp4", "-vf '" + filter + "' -r " + rate);
  }

  // The streams' times are those of the source, to the container's unit.
  void ExpectTimesOfSource(const std::string& clip, std::size_t frames) const {
    const std::vector<nanoseconds> source = TimesOf(clip);
    ASSERT_THAT(source, SizeIs(frames));
    const ProcessResult result = Run({"--camera", "file:" + clip, "--big", "@240", "--small",
                                      "160x90@240,small.mkv", "--force"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    // Half a unit of 90 kHz or 10 us, and as much for the source's own rounding.
    for (const char* name : {"out/big.mp4", "out/small.mkv"}) {
      const std::vector<nanoseconds> written = TimesOf(directory_ / name);
      ASSERT_THAT(written, SizeIs(frames)) << name;
      for (std::size_t i = 0; i < frames; ++i) {
        EXPECT_NEAR(static_cast<double>(written[i].count()), static_cast<double>(source[i].count()),
                    6000)
            << name << " frame " << i;
      }
    }
  }
};

TEST_F(TimesE2e, TimeStampsAreTheSourcesToTheContainersUnit) {
  ExpectTimesOfSource(MakeClip(30), 30);
  ExpectTimesOfSource(
      MakeClip(30, {640, 360}, "ntsc.mp4", "-vf setpts=N*1001/30000/TB -r 30000/1001"), 30);
}

TEST_F(TimesE2e, TimeStampsOfAVariableRateAndOfBFramesAreTheSourcesToo) {
  const std::string uneven =
      "-vf 'settb=1/1000,setpts=40*N+7*mod(N*N\\,5)+900*gt(N\\,20)' -enc_time_base 1:1000 "
      "-vsync passthrough";
  ExpectTimesOfSource(MakeClip(30, {640, 360}, "uneven.mp4", uneven), 30);
  ExpectTimesOfSource(MakeClip(30, {640, 360}, "uneven.mkv", uneven + " -bf 2"), 30);
}

TEST_F(TimesE2e, ADurationEndsBeforeTheFirstFrameThatStandsOnIt) {
  // The thirty-first frame stands on 1.001 s.
  const std::string ntsc =
      MakeClip(40, {640, 360}, "ntsc.mp4", "-vf setpts=N*1001/30000/TB -r 30000/1001");
  for (const auto& [duration, frames] :
       {std::pair{"1s", 30U}, std::pair{"1001ms", 30U}, std::pair{"1002ms", 31U},
        std::pair{"1ms", 1U}, std::pair{"1h", 40U}}) {
    const ProcessResult result = Run({"--camera", "file:" + ntsc, "--duration", duration, "--force",
                                      "--small", "off", "--no-contact-sheet"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_THAT(TimesOf(directory_ / "out/big.mp4"), SizeIs(frames)) << duration;
  }
}

// As a show of slides: a picture every seven seconds, the last of which stands for a moment.
TEST_F(TimesE2e, APictureThatStandsForLongIsCutOffByTheDurationAndNothingElse) {
  const std::string slides =
      MakeClip(4, {640, 360}, "slides.mp4", "-vf setpts=N*7/TB -vsync passthrough");
  for (const auto& [duration, seconds, frames] :
       {std::tuple{"5s", 5.0, 1}, std::tuple{"7s", 7.0, 1}, std::tuple{"10s", 10.0, 2},
        std::tuple{"1h", 21.0, 4}}) {
    const ProcessResult result =
        Run({"--camera", "file:" + slides, "--duration", duration, "--force", "--small",
             "160x90@30,small.mkv", "--no-contact-sheet", "--quiet", "--stats", "-"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    const auto json = nlohmann::json::parse(result.out);
    for (const auto& stream : json["streams"]) {
      EXPECT_NEAR(stream["duration_s"], seconds, 0.05) << duration;
      EXPECT_EQ(stream["frames_written"], frames) << duration;
      ExpectWholeSum(stream);
    }
    for (const char* name : {"out/big.mp4", "out/small.mkv"}) {
      EXPECT_NEAR(DurationOf(directory_ / name), seconds, 0.05) << name << " of " << duration;
    }
  }
}

TEST_F(TimesE2e, InRealTimeAPictureStandsUntilTheEndOfTheDurationToo) {
  const std::string gap =
      MakeClip(20, {640, 360}, "gap.mp4", "-vf 'setpts=PTS+gte(N\\,10)*9/TB' -vsync passthrough");
  const ProcessResult result = Run({"--camera", "file:" + gap, "--realtime", "--duration", "1s",
                                    "--small", "off", "--no-contact-sheet", "--stats", "-"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_THAT(result.err, testing::HasSubstr("; duration over"));
  // Ten of them, unless the machine is so busy that some come too late.
  const auto stream = nlohmann::json::parse(result.out)["streams"][0];
  ExpectWholeSum(stream);
  EXPECT_EQ(TimesOf(directory_ / "out/big.mp4").size(), stream["frames_written"]);
  EXPECT_LE(stream["frames_written"], 10);
  EXPECT_NEAR(DurationOf(directory_ / "out/big.mp4"), 1, 1e-3);
}

// How much later is for the stress test, on a machine that has nothing else to do.
TEST_F(TimesE2e, InRealTimeNoFrameIsTakenBeforeItIsDue) {
  const std::string clip = MakeClip(60);
  const ProcessResult result =
      Run({"--camera", "file:" + clip, "--realtime", "--small", "off", "--quiet", "--stats", "-"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_GE(json["wall_time_s"], 59.0 / 30);
}

TEST_F(TimesE2e, TheFiguresOfAnInterruptedRunAreThoseOfItsFiles) {
  Process process(Program({"run", "--camera", "test:?lossless&size=640x360", "--out", "out",
                           "--quiet", "--stats", "stats.json"}));
  ASSERT_TRUE(WaitUntil([&] {
    return Exists("out/small.mp4") &&
           std::filesystem::file_size(directory_ / "out/small.mp4") > 6000;
  }));
  process.Signal(SIGINT);
  EXPECT_EQ(process.Wait().exit_code, 0);
  std::ifstream file(directory_ / "out/stats.json");
  const auto json = nlohmann::json::parse(file);
  for (const auto& [index, name] : {std::pair{0, "out/big.mp4"}, std::pair{1, "out/small.mp4"}}) {
    const auto& stream = json["streams"][static_cast<std::size_t>(index)];
    EXPECT_THAT(TimesOf(directory_ / name), SizeIs(stream["frames_written"])) << name;
    EXPECT_EQ(stream["frames_encoded"], stream["frames_written"]);
    ExpectWholeSum(stream);
    EXPECT_LE(stream["encode_time_p50_us"], stream["encode_time_p95_us"]);
    EXPECT_LE(stream["encode_time_p95_us"], stream["latency_max_us"]);
    EXPECT_GT(stream["encode_time_mean_us"], 0);
  }
}

TEST_F(TimesE2e, TheSmallStreamHasExactlyHalfTheRateOfAnySource) {
  for (const auto& [rate, frame_s] :
       {std::pair{"25", 1.0 / 25}, std::pair{"30000/1001", 1001.0 / 30000},
        std::pair{"15", 1.0 / 15}}) {
    const std::string clip = MakeClipAt(rate, 50);
    const ProcessResult result = Run({"--camera", "file:" + clip, "--small", "160x90,small.mp4",
                                      "--force", "--no-contact-sheet"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    const PlayedFile small = Play(directory_ / "out/small.mp4");
    EXPECT_EQ(small.error, "");
    ASSERT_EQ(small.numbers, Numbers(50, 2)) << rate;
    for (std::size_t i = 0; i < small.times_s.size(); ++i) {
      EXPECT_NEAR(small.times_s[i], static_cast<double>(2 * i) * frame_s, 1e-3) << rate;
    }
  }
}

TEST_F(TimesE2e, AFractionalRateIsKeptEvenlyWhereverItIsTyped) {
  const std::string clip = MakeClipAt("50", 150);
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"--big", "@12.5"}, {"--big", "@25/2"}, {"--fps", "12.5"}}) {
    std::vector<std::string> all{"--camera", "file:" + clip, "--small",
                                 "off",      "--force",      "--no-contact-sheet"};
    all.insert(all.end(), words.begin(), words.end());
    const ProcessResult result = Run(all);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(Play(directory_ / "out/big.mp4").numbers, Numbers(150, 4)) << words[1];
  }
}

TEST_F(TimesE2e, AFastSourceHasNoOtherGapAtItsBegin) {
  const std::string clip = MakeClipAt("240", 240);
  const ProcessResult result = Run({"--camera", "file:" + clip, "--no-contact-sheet"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(Play(directory_ / "out/big.mp4").numbers, Numbers(240, 8));
  EXPECT_EQ(Play(directory_ / "out/small.mp4").numbers, Numbers(240, 16));
}

}  // namespace
}  // namespace movra::app
