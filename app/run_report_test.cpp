#include "app/run_report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <string>

namespace movra::app {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::HasSubstr;

StreamReport Stream(video::VideoStreamType type, video::Size size, std::uint64_t frames,
                    std::uint64_t bytes, const std::string& path) {
  StreamReport stream;
  stream.plan.type = type;
  stream.plan.size = size;
  stream.plan.frame_rate = 30;
  stream.plan.bitrate_bps = 1'500'000;
  stream.target.path = path;
  stream.figures.frames = frames;
  stream.figures.key_frames = 5;
  stream.figures.bytes = bytes;
  stream.figures.media_time = seconds(20);
  stream.figures.packets = 602;
  stream.figures.latency.p95 = microseconds(7100);
  stream.figures.encode_time.p95 = microseconds(6200);
  stream.figures.road.p95 = microseconds(900);
  stream.figures.pacing_error.max = microseconds(150);
  stream.encoder.frames_dropped_rate = 300;
  return stream;
}

RunReport Report() {
  RunReport report;
  report.camera_id = "file:talk.mp4";
  report.source.is_file = true;
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
            "small   320x180      300  15 fps   150 kb/s  375.0 kB  standard output\n"
            "600 frames in, none lost; 0:20.0 of video in 0:06.2, 3.2x; source ended\n"
            "pictures: out/contact-sheet.png\n");
}

TEST(RunReport, TheTableNamesEveryLossAndLeavesOutAPictureThatWasNotMade) {
  RunReport report = Report();
  report.contact_sheet.clear();
  report.damaged_frames = 3;
  report.streams[0].encoder.frames_dropped_late = 2;
  report.streams[1].encoder.frames_failed = 1;
  report.ending = Ending::kInterrupted;
  const std::string text = SummaryText(report);
  EXPECT_THAT(text, HasSubstr("600 frames in, 3 damaged in the source, 2 too late for big, "
                              "1 failed in small; "));
  EXPECT_THAT(text, testing::EndsWith("; interrupted\n"));
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
  report.streams[0].encoder.frames_failed = 1;
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
  EXPECT_EQ(big["bitrate_bps"], 1'500'000.0);
  EXPECT_EQ(big["frames_written"], 600);
  EXPECT_EQ(big["frames_dropped_rate"], 300);
  EXPECT_EQ(big["bytes_written"], 3'750'000);
  EXPECT_EQ(big["frames_in"], 903) << "packets, and what the encoder dropped or failed";
  EXPECT_EQ(big["latency_p95_us"], 7100);
  EXPECT_EQ(big["encode_time_p95_us"], 6200);
  EXPECT_EQ(big["latency_without_encode_p95_us"], 900);
  EXPECT_FALSE(big.contains("pacing_error_max_us")) << "nothing paces a file as fast as it goes";
  EXPECT_EQ(json["streams"][1]["stream"], "small");
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
  report.camera_id = "file:\xff.mp4";
  EXPECT_TRUE(nlohmann::json::accept(StatsJson(report)));
}

}  // namespace
}  // namespace movra::app
