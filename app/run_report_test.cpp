#include "app/run_report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <string>

namespace movra::app {
namespace {

using media::FrameFate;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::HasSubstr;

void Add(media::FrameCounts& counts, FrameFate fate, std::uint64_t frames) {
  counts.by_fate[static_cast<std::size_t>(fate)] += frames;
}

StreamReport Stream(video::VideoStreamType type, video::Size size, std::uint64_t frames,
                    std::uint64_t bytes, const std::string& path) {
  StreamReport stream;
  stream.plan.type = type;
  stream.plan.size = size;
  stream.plan.frame_rate = FrameRate{25, 2};
  stream.plan.bitrate_bps = 1'500'000;
  stream.target.path = path;
  stream.figures.frames = frames;
  stream.figures.key_frames = 5;
  stream.figures.bytes = bytes;
  stream.figures.file_bytes = bytes + 5000;
  stream.figures.media_time = seconds(20);
  stream.figures.packets = frames;
  stream.figures.latency.p95 = microseconds(7100);
  stream.figures.encode_time.p95 = microseconds(6200);
  stream.figures.road.p95 = microseconds(900);
  stream.figures.pacing_error.max = microseconds(150);
  stream.frames.source.came = frames + 301;
  Add(stream.frames.stream, FrameFate::kEncoded, frames);
  Add(stream.frames.stream, FrameFate::kDroppedToRate, 300);
  Add(stream.frames.source, FrameFate::kDroppedToRate, 1);
  return stream;
}

RunReport Report() {
  RunReport report;
  report.source_id = "file:talk.mp4";
  report.source.natural_size = {1920, 1080};
  report.source.rate_numerator = 30000;
  report.source.rate_denominator = 1001;
  report.source.duration = milliseconds(20'020);
  report.wall_time = milliseconds(6250);
  report.time_to_first_frame = milliseconds(40);
  report.frames_captured = 600;
  report.frames_processed = 600;
  report.streams = {
      Stream(video::VideoStreamType::kBig, {1280, 720}, 600, 3'750'000, "out/big.mp4"),
      Stream(video::VideoStreamType::kSmall, {320, 180}, 300, 375'000, "-")};
  report.contact_sheet = "out/contact-sheet.png";
  return report;
}

TEST(RunReport, TheTableHasALinePerStreamAndTheRestBelow) {
  EXPECT_EQ(SummaryText(Report()),
            "stream  size      frames    rate   bit rate     bytes  file\n"
            "big     1280x720     600  30 fps  1500 kb/s    3.8 MB  out/big.mp4\n"
            "small   320x180      300  15 fps   150 kb/s  380.0 kB  standard output\n"
            "600 frames in, none lost; 0:20.0 of video in 0:06.2, 3.2x; source ended\n"
            "pictures: out/contact-sheet.png\n");
}

TEST(RunReport, TheTableWarnsOfALongWaitInATransportStream) {
  RunReport report = Report();
  report.streams[0].figures.longest_wait = seconds(60);
  report.streams[1].figures.longest_wait = milliseconds(10'001);
  report.streams[1].target.format = media::ContainerFormat::kMpegTs;
  EXPECT_THAT(SummaryText(report),
              HasSubstr("source ended\n"
                        "note: in standard output a picture stands for 0:10.0, and many players "
                        "cut out of MPEG-TS what exceeds ten seconds; MP4 and MKV keep it\n"
                        "pictures: "));
  report.streams[1].figures.longest_wait = seconds(10);
  EXPECT_THAT(SummaryText(report), testing::Not(HasSubstr("note")));
}

TEST(RunReport, TheTableSaysWhereTheFiguresAre) {
  RunReport report = Report();
  report.stats = "out/figures.json";
  EXPECT_THAT(SummaryText(report), testing::EndsWith("figures: out/figures.json\n"));
}

TEST(RunReport, TheTableNamesEveryLossAndLeavesOutAPictureThatWasNotMade) {
  RunReport report = Report();
  report.contact_sheet.clear();
  report.damaged_frames = 3;
  for (StreamReport& stream : report.streams) {
    Add(stream.frames.source, FrameFate::kDisplaced, 4);
    Add(stream.frames.source, FrameFate::kNotMade, 5);
  }
  Add(report.streams[0].frames.stream, FrameFate::kDisplaced, 2);
  Add(report.streams[1].frames.stream, FrameFate::kFailed, 1);
  Add(report.streams[1].frames.stream, FrameFate::kIntercepted, 6);
  Add(report.streams[1].frames.stream, FrameFate::kUnwanted, 8);
  for (StreamReport& stream : report.streams) {
    stream.frames.source.came = stream.frames.source.sum() + stream.frames.stream.sum();
  }
  report.ending = Ending::kInterrupted;
  const std::string text = SummaryText(report);
  EXPECT_THAT(text,
              HasSubstr("600 frames in, 3 damaged in the source, 4 too late for every stream, "
                        "5 impossible to make for every stream, 2 too late for big, "
                        "6 intercepted for small, 8 unwanted for small, 1 failed for small; "));
  EXPECT_THAT(text, testing::EndsWith("; interrupted\n"));
}

TEST(RunReport, WhatTheEndCutOffIsNotLostAndIsTold) {
  RunReport report = Report();
  Add(report.streams[0].frames.stream, FrameFate::kStopped, 2);
  report.streams[0].frames.source.came += 3;  // One was on its way.
  report.streams[1].frames.source.came += 3;
  Add(report.streams[1].frames.stream, FrameFate::kStopped, 1);  // Two were on their way.
  EXPECT_THAT(SummaryText(report), HasSubstr("600 frames in, none lost, 3 cut off by the end; "));
}

TEST(RunReport, EveryFrameThatWasDeliveredIsInOneFigure) {
  RunReport report = Report();
  StreamReport& stream = report.streams[0];
  std::uint64_t delivered = 5;  // On their way.
  stream.frames = {};
  for (std::size_t i = 0; i < media::kFrameFates; ++i) {
    Add(stream.frames.source, static_cast<FrameFate>(i), i + 1);
    Add(stream.frames.stream, static_cast<FrameFate>(i), 10 * i);
    delivered += 11 * i + 1;
  }
  stream.frames.source.came = delivered;
  stream.figures.packets = 0;
  const auto json = nlohmann::json::parse(StatsJson(report))["streams"][0];
  EXPECT_EQ(json["frames_delivered"], delivered);
  std::uint64_t sum = 0;
  for (const char* name : {"encoded", "displaced", "dropped_to_rate", "not_made", "intercepted",
                           "unwanted", "failed", "stopped"}) {
    sum += json["frames_" + std::string(name)].get<std::uint64_t>();
  }
  EXPECT_EQ(sum, delivered);
  EXPECT_EQ(json["frames_stopped"], 5 + 8 + 70);
}

TEST(RunReport, WhatStoodBeyondTheDurationIsNotLostAndIsTold) {
  RunReport report = Report();
  for (StreamReport& stream : report.streams) {
    Add(stream.frames.stream, FrameFate::kEncoded, 2);
    Add(stream.frames.stream, FrameFate::kStopped, 1);
    stream.frames.source.came += 3;
    stream.figures.packets += 2;
    stream.figures.packets_beyond_limit = 2;
  }
  EXPECT_THAT(SummaryText(report), HasSubstr("600 frames in, none lost, 3 cut off by the end; "));
  const auto json = nlohmann::json::parse(StatsJson(report))["streams"][0];
  EXPECT_EQ(json["frames_encoded"], 602);
  EXPECT_EQ(json["frames_beyond_duration"], 2);
  EXPECT_EQ(json["frames_not_written"], 0);
}

TEST(RunReport, WhatWasEncodedAndNotWrittenIsLost) {
  RunReport report = Report();
  report.streams[1].figures.frames -= 9;
  EXPECT_THAT(SummaryText(report), HasSubstr("600 frames in, 9 not written for small; "));
  const auto json = nlohmann::json::parse(StatsJson(report));
  EXPECT_EQ(json["streams"][0]["frames_not_written"], 0);
  EXPECT_EQ(json["streams"][1]["frames_not_written"], 9);
  EXPECT_EQ(json["streams"][1]["frames_encoded"], 300);
}

// An output that takes nothing may hold its encoder until all is over.
TEST(RunReport, WhatAnOutputWasBeingHandedIsEncodedAndNotStopped) {
  RunReport report = Report();
  StreamReport& big = report.streams[0];
  big.frames.source.came += 3;
  big.figures.packets += 1;
  const auto json = nlohmann::json::parse(StatsJson(report))["streams"][0];
  EXPECT_EQ(json["frames_encoded"], 601);
  EXPECT_EQ(json["frames_not_written"], 1);
  EXPECT_EQ(json["frames_stopped"], 2);
  EXPECT_THAT(SummaryText(report),
              HasSubstr("600 frames in, 1 not written for big, 2 cut off by the end; "));
}

TEST(RunReport, OneFrameIsNoFrames) {
  RunReport report = Report();
  report.frames_captured = 1;
  EXPECT_THAT(SummaryText(report), HasSubstr("\n1 frame in, none lost; "));
}

TEST(RunReport, TheMediaTimeIsThatOfTheLongestStream) {
  RunReport report = Report();
  report.streams[0].figures.media_time = seconds(25);
  EXPECT_EQ(report.media_time(), seconds(25));
  report.streams[1].figures.media_time = seconds(30);
  EXPECT_EQ(report.media_time(), seconds(30));
}

TEST(RunReport, ARunThatWroteNothingDividesByNothing) {
  RunReport report = Report();
  report.streams[0].figures = {};
  report.streams[1].figures = {};
  report.wall_time = seconds(0);
  EXPECT_THAT(SummaryText(report), HasSubstr("0.0x"));
  EXPECT_THAT(SummaryText(report), HasSubstr("0 kb/s"));
}

TEST(RunReport, TheFiguresAreOneObjectWhoseNamesSayTheirUnits) {
  RunReport report = Report();
  const auto json = nlohmann::json::parse(StatsJson(report));
  EXPECT_EQ(json["ending"], "source ended");
  EXPECT_EQ(json["exit_code"], 0);
  EXPECT_TRUE(json["error"].is_null());
  EXPECT_EQ(json["source"]["camera"], "file:talk.mp4");
  EXPECT_EQ(json["source"]["width_px"], 1920);
  EXPECT_NEAR(json["source"]["frame_rate_fps"], 29.97, 0.001);
  EXPECT_EQ(json["source"]["duration_s"], 20.02);
  EXPECT_EQ(json["wall_time_s"], 6.25);
  EXPECT_EQ(json["media_time_s"], 20.0);
  EXPECT_EQ(json["speed_x"], 3.2);
  EXPECT_EQ(json["time_to_first_frame_s"], 0.04);
  EXPECT_EQ(json["frames_captured"], 600);
  EXPECT_EQ(json["contact_sheet"], "out/contact-sheet.png");
  ASSERT_EQ(json["streams"].size(), 2U);
  const auto& big = json["streams"][0];
  EXPECT_EQ(big["stream"], "big");
  EXPECT_EQ(big["file"], "out/big.mp4");
  EXPECT_EQ(big["width_px"], 1280);
  EXPECT_EQ(big["frame_rate_fps"], 30.0);
  EXPECT_EQ(big["frame_rate_limit_fps"], 12.5);
  EXPECT_EQ(big["bitrate_bps"], 1'500'000.0);
  EXPECT_EQ(big["frames_written"], 600);
  EXPECT_EQ(big["frames_delivered"], 901);
  EXPECT_EQ(big["frames_encoded"], 600);
  EXPECT_EQ(big["frames_beyond_duration"], 0);
  EXPECT_EQ(big["frames_not_written"], 0);
  EXPECT_EQ(big["frames_dropped_to_rate"], 301) << "by the capture or by the encoder";
  EXPECT_EQ(big["bytes_written"], 3'755'000);
  EXPECT_EQ(big["picture_bytes_written"], 3'750'000);
  EXPECT_EQ(big["latency_p95_us"], 7100);
  EXPECT_EQ(big["encode_time_p95_us"], 6200);
  EXPECT_EQ(big["latency_without_encode_p95_us"], 900);
  EXPECT_FALSE(big.contains("pacing_error_max_us")) << "nothing paces a file as fast as it goes";
  EXPECT_EQ(json["streams"][1]["stream"], "small");
}

// The report with two places for the big stream, the second of which lost frames.
RunReport ReportOfTwoPlaces() {
  RunReport report = Report();
  StreamReport& big = report.streams[0];
  SinkReport first;
  first.target = big.target;
  first.figures.handed = first.figures.passed = first.figures.written.frames = 600;
  SinkReport second;
  second.target.path = "out/keep.ts";
  second.target.format = media::ContainerFormat::kMpegTs;
  second.broken_off = true;
  second.figures.handed = 600;
  second.figures.passed = 502;
  second.figures.dropped = {3, 5, 90, 0};
  second.figures.written = {500, 4, 3'000'000, 3'100'000, seconds(25), seconds(11)};
  big.sinks = {first, second};
  return report;
}

TEST(RunReport, TheTableHasALineForEachPlaceOfAStream) {
  const std::string text = SummaryText(ReportOfTwoPlaces());
  EXPECT_THAT(text, HasSubstr("600  30 fps  1500 kb/s    3.8 MB  out/big.mp4\n"
                              "big     1280x720     500  20 fps   960 kb/s    3.1 MB  out/keep.ts\n"
                              "small "));
  EXPECT_THAT(text, HasSubstr("100 not written for big into out/keep.ts"));
  EXPECT_THAT(text, HasSubstr("note: in out/keep.ts a picture stands for 0:11.0"));
  EXPECT_THAT(text, HasSubstr("0:25.0 of video")) << "of the longest";
}

TEST(RunReport, TheFiguresHaveEachPlaceOfAStreamWithItsReasons) {
  const auto json = nlohmann::json::parse(StatsJson(ReportOfTwoPlaces()));
  const auto& sinks = json["streams"][0]["sinks"];
  ASSERT_EQ(sinks.size(), 2U);
  EXPECT_EQ(sinks[0]["target"], "out/big.mp4");
  EXPECT_EQ(sinks[0]["broke_off"], false);
  EXPECT_EQ(sinks[0]["frames_written"], 600);
  const auto& second = sinks[1];
  EXPECT_EQ(second["target"], "out/keep.ts");
  EXPECT_EQ(second["broke_off"], true);
  EXPECT_EQ(second["frames_handed"], 600);
  EXPECT_EQ(second["frames_written"], 500);
  EXPECT_EQ(second["key_frames_written"], 4);
  EXPECT_EQ(second["bytes_written"], 3'100'000);
  EXPECT_EQ(second["picture_bytes_written"], 3'000'000);
  EXPECT_EQ(second["duration_s"], 25.0);
  EXPECT_EQ(second["frames_dropped_queue_full"], 3);
  EXPECT_EQ(second["frames_dropped_no_key_frame"], 5);
  EXPECT_EQ(second["frames_dropped_broken_off"], 90);
  EXPECT_EQ(second["frames_dropped_closed"], 0);
  EXPECT_EQ(second["frames_not_written"], 2);
}

TEST(RunReport, APlaceThatIsNoFileIsShownWithItsScheme) {
  RunReport report = ReportOfTwoPlaces();
  report.streams[0].sinks[1].target.scheme = "net";
  report.streams[0].sinks[1].target.path = "//host/x";
  EXPECT_THAT(SummaryText(report), HasSubstr("  net://host/x\n"));
}

TEST(RunReport, WroteNothingOnlyIfNoPlaceHasAFrame) {
  RunReport report = ReportOfTwoPlaces();
  report.streams.pop_back();
  report.streams[0].figures.frames = 0;
  report.streams[0].sinks[0].figures.written.frames = 0;
  EXPECT_FALSE(report.wrote_nothing());
  report.streams[0].sinks[1].figures.written.frames = 0;
  EXPECT_TRUE(report.wrote_nothing());
  report.streams[0].figures.frames = 1;
  EXPECT_FALSE(report.wrote_nothing());
}

TEST(RunReport, ASourceThatIsPacedHasItsPacingInTheFigures) {
  RunReport report = Report();
  report.paced = true;
  EXPECT_EQ(nlohmann::json::parse(StatsJson(report))["streams"][0]["pacing_error_max_us"], 150);
}

TEST(RunReport, AFailureIsInTheFiguresWithItsCode) {
  RunReport report = Report();
  report.ending = Ending::kFailed;
  report.failure = Failure{ExitCode::kWriteFailed, "the disk is full"};
  const auto json = nlohmann::json::parse(StatsJson(report));
  EXPECT_EQ(json["exit_code"], 22);
  EXPECT_EQ(json["error"], "the disk is full");
  EXPECT_EQ(json["ending"], "failed");
}

TEST(RunReport, ANameThatIsNotUtf8DoesNotBreakTheFigures) {
  RunReport report = Report();
  report.source_id = "file:\xff.mp4";
  EXPECT_TRUE(nlohmann::json::accept(StatsJson(report)));
}

}  // namespace
}  // namespace movra::app
