#include "app/cli.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <variant>
#include <vector>

namespace movra::app {
namespace {

using testing::HasSubstr;
using Words = std::vector<std::string>;

RunOptions RunOf(Words words) {
  words.insert(words.begin(), "run");
  const Result<Command> result = ParseCommandLine(words);
  if (const Failure* const failure = FailureOf(result)) {
    ADD_FAILURE() << failure->text;
    return {};
  }
  return std::get<RunOptions>(ValueOf(result));
}

Failure FailureOfWords(const Words& words) {
  const Result<Command> result = ParseCommandLine(words);
  const Failure* const failure = FailureOf(result);
  return failure == nullptr ? Failure{ExitCode::kSuccess, "accepted"} : *failure;
}

TEST(Cli, ARunWithoutOptionsIsTheTestCameraAndLeavesTheRestToTheSource) {
  const RunOptions options = RunOf({});
  EXPECT_EQ(options.source, "test:");
  EXPECT_FALSE(options.mode);
  EXPECT_EQ(options.big, StreamSpec{});
  EXPECT_EQ(options.small, StreamSpec{});
  EXPECT_FALSE(options.size || options.frame_rate || options.duration || options.out_directory ||
               options.encoder_threads || options.stats);
  EXPECT_TRUE(options.contact_sheet);
  EXPECT_FALSE(options.force || options.quiet || options.log_filter);
  EXPECT_EQ(options.log_level, movra_logging::kLogLevelError);
}

TEST(Cli, EveryOptionOfARunIsRead) {
  const RunOptions options = RunOf({"--source",
                                    "file:a b.mp4",
                                    "--mode",
                                    "1",
                                    "--fps",
                                    "25",
                                    "--big",
                                    "640x360@25",
                                    "--small",
                                    "off",
                                    "--loop",
                                    "--realtime",
                                    "--duration",
                                    "1m30s",
                                    "--out",
                                    "here",
                                    "--force",
                                    "--quiet",
                                    "--stats",
                                    "-",
                                    "--log-level",
                                    "info",
                                    "--log-filter",
                                    "--threads",
                                    "0",
                                    "--no-contact-sheet"});
  EXPECT_EQ(options.source, "file:a b.mp4?loop&realtime");
  EXPECT_EQ(options.mode, video::ProducerMode::kEncodeSize);
  EXPECT_EQ(options.frame_rate, (FrameRate{25, 1}));
  EXPECT_EQ(options.big.size, (video::Size{640, 360}));
  EXPECT_TRUE(options.small.off);
  EXPECT_EQ(options.duration, std::chrono::seconds(90));
  EXPECT_EQ(options.out_directory, "here");
  EXPECT_EQ(options.encoder_threads, 0);
  EXPECT_FALSE(options.contact_sheet);
  EXPECT_TRUE(options.force);
  EXPECT_TRUE(options.quiet);
  EXPECT_EQ(options.stats, "-");
  EXPECT_EQ(options.log_level, movra_logging::kLogLevelInfo);
  EXPECT_TRUE(options.log_filter);
}

TEST(Cli, OnceAndFastAreTheOppositesOfLoopAndRealtime) {
  EXPECT_EQ(RunOf({"--source", "file:a.mp4", "--once", "--fast"}).source, "file:a.mp4");
}

TEST(Cli, ASizeMeansTheModeThatTakesIt) {
  EXPECT_EQ(RunOf({"--size", "720x1280"}).mode, video::ProducerMode::kOwnSize);
  EXPECT_EQ(RunOf({"--size", "720x1280", "--mode", "3"}).size, (video::Size{720, 1280}));
}

TEST(Cli, AValueMayBeginWithADash) {
  EXPECT_EQ(RunOf({"--big", "-"}).big.target->path, "-");
  EXPECT_EQ(RunOf({"--big", "-.mkv"}).big.target->format, media::ContainerFormat::kMkv);
  EXPECT_EQ(RunOf({"--big=-.mkv"}).big.target->format, media::ContainerFormat::kMkv);
}

TEST(Cli, FurtherPlacesAreGivenAnyNumberOfTimes) {
  const RunOptions options =
      RunOf({"--also", "big=a.ts", "--also=small=b.mkv", "--also", "big=-", "--quiet"});
  ASSERT_EQ(options.big.also.size(), 2U);
  EXPECT_EQ(options.big.also[0].path, "a.ts");
  EXPECT_TRUE(options.big.also[1].is_stdout());
  ASSERT_EQ(options.small.also.size(), 1U);
  EXPECT_EQ(options.small.also[0].path, "b.mkv");
}

TEST(Cli, AFurtherPlaceNeedsItsStream) {
  const Failure failure = FailureOfWords({"run", "--small", "off", "--also", "small=b.mkv"});
  EXPECT_EQ(failure.code, ExitCode::kContradiction);
  EXPECT_THAT(failure.text, HasSubstr("--small off leaves nothing for --also small"));
  EXPECT_EQ(FailureOfWords({"run", "--big", "off", "--also", "big=b.mkv"}).code,
            ExitCode::kContradiction);
  EXPECT_EQ(FailureOfWords({"run", "--also", "b.mkv"}).code, ExitCode::kMalformed);
}

TEST(Cli, WhatStandsBehindAFurtherPlaceIsTheSource) {
  const RunOptions options = RunOf({"--also", "big=a.ts", "b.ts"});
  EXPECT_EQ(options.source, "file:b.ts");
  ASSERT_EQ(options.big.also.size(), 1U);
}

TEST(Cli, DevicesTakesOneFlag) {
  EXPECT_FALSE(std::get<DevicesOptions>(ValueOf(ParseCommandLine({"devices"}))).json);
  EXPECT_TRUE(std::get<DevicesOptions>(ValueOf(ParseCommandLine({"devices", "--json"}))).json);
}

TEST(Cli, TheHelpTeaches) {
  const auto run = std::get<PrintText>(ValueOf(ParseCommandLine({"run", "--help"}))).text;
  for (const char* option : {"--source",    "--start",    "--mode",    "--size",
                             "--fps",       "--once",     "--loop",    "--realtime",
                             "--fast",      "--duration", "--big",     "--small",
                             "--also",      "--out",      "--threads", "--no-contact-sheet",
                             "--force",     "--quiet",    "--stats",   "--log-level",
                             "--log-filter"}) {
    EXPECT_THAT(run, HasSubstr(option));
  }
  EXPECT_THAT(run, HasSubstr("file:PATH  a video file or a named pipe"));
  EXPECT_THAT(run, HasSubstr("?loop&realtime&start=T"));
  EXPECT_THAT(run, HasSubstr("Examples:"));
  EXPECT_THAT(run, HasSubstr("  10  no such video file"));
  EXPECT_THAT(run, HasSubstr("1280x720@30,1500k,talk.mp4"));
  EXPECT_EQ(run.find("Examples:"), run.rfind("Examples:"));
  const auto whole = std::get<PrintText>(ValueOf(ParseCommandLine({"--help"}))).text;
  EXPECT_THAT(whole, HasSubstr("movra-producer run talk.mp4"));
  EXPECT_THAT(whole, HasSubstr("devices"));
}

TEST(Cli, NoLineOfTheHelpIsWiderThanAHundredColumns) {
  const auto help = std::get<PrintText>(ValueOf(ParseCommandLine({"run", "--help"}))).text;
  for (std::size_t begin = 0; begin < help.size();) {
    const std::size_t end = std::min(help.find('\n', begin), help.size());
    EXPECT_LE(end - begin, 100U) << help.substr(begin, end - begin);
    begin = end + 1;
  }
}

TEST(Cli, TheVersionNamesTheEncoder) {
  const auto text = std::get<PrintText>(ValueOf(ParseCommandLine({"--version"}))).text;
  EXPECT_THAT(text, testing::MatchesRegex("movra-producer [0-9.]+\nencoder: .+\n"));
}

struct Bad {
  Words words;
  ExitCode code;
  const char* says;
};

class BadWords : public testing::TestWithParam<Bad> {};

TEST_P(BadWords, AreRefusedInOneLineWithTheirCode) {
  const Failure failure = FailureOfWords(GetParam().words);
  EXPECT_EQ(failure.code, GetParam().code) << failure.text;
  EXPECT_THAT(failure.text, HasSubstr(GetParam().says));
  EXPECT_THAT(failure.text, testing::Not(HasSubstr("\n")));
}

INSTANTIATE_TEST_SUITE_P(
    Cli, BadWords,
    testing::Values(
        Bad{{}, ExitCode::kUsage, "a command is missing; use run or devices"},
        Bad{{"walk"}, ExitCode::kUsage, "unknown command 'walk'; use run or devices"},
        Bad{{"--frobnicate"}, ExitCode::kUsage, "unknown option '--frobnicate'"},
        Bad{{"run", "--frobnicate"},
            ExitCode::kUsage,
            "unknown option '--frobnicate'; see movra-producer run --help"},
        Bad{{"run", "a.mp4", "b.mp4"},
            ExitCode::kUsage,
            "unexpected 'b.mp4'; a run has one source"},
        Bad{{"devices", "all"}, ExitCode::kUsage, "unexpected 'all'; see movra-producer devices"},
        Bad{{"devices", "--jsn"}, ExitCode::kUsage, "unknown option '--jsn'"},
        Bad{{"run", "--big"}, ExitCode::kUsage, "--big"},
        Bad{{"run", "--big", "@30", "--big", "@15"}, ExitCode::kUsage, "--big"},
        Bad{{"run", "--loop=maybe"}, ExitCode::kUsage, "--loop"},
        Bad{{"run", "--source", ""}, ExitCode::kUnknownCamera, "--source: the name is empty"},
        Bad{{"run", "--once", "--loop"}, ExitCode::kContradiction, "--once and --loop"},
        Bad{{"run", "--realtime", "--fast"}, ExitCode::kContradiction, "--realtime and --fast"},
        Bad{{"run", "--fast"}, ExitCode::kContradiction, "--fast is for video files; 'test:'"},
        Bad{{"run", "--source", "/dev/video0", "--loop"},
            ExitCode::kContradiction,
            "--loop is for video files; '/dev/video0' is live"},
        Bad{{"run", "--size", "640x360", "--mode", "1"},
            ExitCode::kContradiction,
            "in mode 1 that size follows from the big stream"},
        Bad{{"run", "--big", "off", "--small", "off"}, ExitCode::kContradiction, "nothing to do"},
        Bad{{"run", "--mode", "4"}, ExitCode::kMalformed, "--mode: '4' is not a mode; use 0 to 3"},
        Bad{{"run", "--mode", "-1"}, ExitCode::kMalformed, "'-1' is not a mode"},
        Bad{{"run", "--fps", "fast"}, ExitCode::kMalformed, "--fps: 'fast' is not a rate"},
        Bad{{"run", "--fps", ""}, ExitCode::kMalformed, "--fps: '' is not a rate"},
        Bad{{"run", "--fps", "0"}, ExitCode::kZero, "--fps: the rate is 0"},
        Bad{{"run", "--size", "0x0"}, ExitCode::kZero, "--size: '0x0': the width is 0"},
        Bad{{"run", "--size", "641x360"}, ExitCode::kOutOfRange, "--size: '641x360'"},
        Bad{{"run", "--big", "1280x720@x"}, ExitCode::kMalformed, "--big: 'x' is not a rate"},
        Bad{{"run", "--small", "a.avi"}, ExitCode::kUnknownEnding, "--small: 'a.avi'"},
        Bad{{"run", "--duration", "10"}, ExitCode::kMalformed, "--duration: '10' is not a time"},
        Bad{{"run", "--duration", "0s"}, ExitCode::kZero, "--duration: '0s'"},
        Bad{{"run", "--threads", "many"},
            ExitCode::kMalformed,
            "--threads: 'many' is not a number"},
        Bad{{"run", "--threads", "65"}, ExitCode::kMalformed, "use 0 to 64"},
        Bad{{"run", "--out", ""}, ExitCode::kMalformed, "--out: the name is empty"},
        Bad{{"run", "--log-level", "loud"}, ExitCode::kMalformed, "--log-level: 'loud'"}));

}  // namespace
}  // namespace movra::app
