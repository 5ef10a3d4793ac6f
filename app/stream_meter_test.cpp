#include "app/stream_meter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace movra::app {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

struct Recorder : video::IVideoFrameTrackWriter {
  void Write(const video::EncodedFrame& frame) override {
    if (on_write) on_write();
    written.push_back(frame.sequence);
    last_duration = frame.duration;
  }
  void WriteEnd(const video::StreamEnd& end) override {
    reasons.push_back(end.reason);
    end_time = end.end_time;
  }
  std::function<void()> on_write;
  std::vector<std::uint64_t> written;
  std::vector<std::string> reasons;
  nanoseconds last_duration{0};
  std::optional<nanoseconds> end_time;
};

class StreamMeterTest : public testing::Test {
 protected:
  std::unique_ptr<StreamMeter> Make(std::optional<nanoseconds> limit) {
    return std::make_unique<StreamMeter>(
        recorder_, nullptr, limit,
        StreamMeter::Callbacks{[this] { ++first_frames_; }, [this] { ++limits_; }});
  }

  static video::EncodedFrame Frame(std::uint64_t sequence, nanoseconds timestamp,
                                   bool key_frame = false) {
    video::EncodedFrame frame;
    frame.size_bytes = 100;
    frame.sequence = sequence;
    frame.timestamp = timestamp;
    frame.duration = milliseconds(40);
    frame.key_frame = key_frame;
    frame.capture_time = std::chrono::steady_clock::now().time_since_epoch() - milliseconds(10);
    return frame;
  }

  const std::shared_ptr<Recorder> recorder_ = std::make_shared<Recorder>();
  int first_frames_ = 0;
  int limits_ = 0;
};

TEST_F(StreamMeterTest, PassesEverythingOnAndCountsIt) {
  const auto meter = Make(std::nullopt);
  meter->Write(Frame(0, seconds(5), true));
  meter->Write(Frame(1, seconds(5) + milliseconds(40)));
  meter->WriteEnd({0, "done", 0});
  EXPECT_THAT(recorder_->written, ElementsAre(0, 1));
  EXPECT_THAT(recorder_->reasons, ElementsAre("done"));
  const StreamFigures figures = meter->Figures();
  EXPECT_EQ(figures.frames, 2U);
  EXPECT_EQ(figures.key_frames, 1U);
  EXPECT_EQ(figures.bytes, 200U);
  EXPECT_EQ(figures.begin, seconds(5));
  EXPECT_EQ(figures.media_time, milliseconds(80));
  EXPECT_TRUE(figures.first_frame);
}

TEST_F(StreamMeterTest, KnowsTheDamageUpToTheLastFrameThatIsKept) {
  const auto meter = Make(milliseconds(80));
  EXPECT_EQ(meter->Figures().damaged_frames, 0U);
  for (std::uint64_t i = 0; i < 4; ++i) {
    video::EncodedFrame frame = Frame(i, milliseconds(40) * static_cast<int>(i));
    frame.damaged_frames = 3 * i;
    meter->Write(frame);
  }
  EXPECT_EQ(meter->Figures().damaged_frames, 3U);
}

TEST_F(StreamMeterTest, MeasuresTheEncoderTheWholeLatencyAndTheRestOfIt) {
  const auto meter = Make(std::nullopt);
  video::EncodedFrame frame = Frame(0, seconds(0), true);
  frame.capture_time = std::chrono::steady_clock::now().time_since_epoch() - seconds(100);
  frame.encode_time = seconds(40);
  meter->Write(frame);
  const StreamFigures figures = meter->Figures();
  EXPECT_EQ(figures.encode_time.max, seconds(40));
  EXPECT_GE(figures.latency.max, seconds(100));
  EXPECT_LT(figures.latency.max, seconds(130));
  EXPECT_EQ(figures.latency.max - figures.road.max, seconds(40));
}

TEST_F(StreamMeterTest, ThePacingErrorIsTheDistanceOfTheCapturesFromTheirTimeStamps) {
  const auto meter = Make(std::nullopt);
  const nanoseconds begin = std::chrono::steady_clock::now().time_since_epoch();
  const auto write = [&](std::uint64_t sequence, nanoseconds timestamp, nanoseconds captured) {
    video::EncodedFrame frame = Frame(sequence, timestamp);
    frame.capture_time = begin + captured;
    meter->Write(frame);
  };
  write(0, seconds(7), milliseconds(0));
  write(1, seconds(8), milliseconds(1000));
  EXPECT_EQ(meter->Figures().pacing_error.max, milliseconds(0));
  write(2, seconds(9), milliseconds(2003));
  EXPECT_EQ(meter->Figures().pacing_error.max, milliseconds(3));
  write(3, seconds(10), milliseconds(2996));
  EXPECT_EQ(meter->Figures().pacing_error.max, milliseconds(4));
}

TEST_F(StreamMeterTest, AFrameArrivesBeforeItIsWrittenAndCountsAfterwards) {
  const auto meter = Make(std::nullopt);
  std::chrono::steady_clock::time_point written;
  recorder_->on_write = [&] {
    EXPECT_EQ(meter->Figures().frames, 0U);
    EXPECT_EQ(meter->Figures().packets, 1U);
    written = std::chrono::steady_clock::now();
  };
  meter->Write(Frame(0, seconds(0), true));
  EXPECT_EQ(meter->Figures().frames, 1U);
  EXPECT_LE(*meter->Figures().first_frame, written) << "a slow disk is not the encoder's latency";
}

TEST_F(StreamMeterTest, SaysOnceThatTheFirstFrameIsWritten) {
  const auto meter = Make(std::nullopt);
  EXPECT_FALSE(meter->Figures().first_frame);
  EXPECT_EQ(first_frames_, 0);
  meter->Write(Frame(0, seconds(0)));
  meter->Write(Frame(1, seconds(1)));
  EXPECT_EQ(first_frames_, 1);
}

TEST_F(StreamMeterTest, TheLimitCountsFromTheFirstFrameAndIsExclusive) {
  const auto meter = Make(milliseconds(120));
  for (std::uint64_t i = 0; i < 6; ++i) {
    meter->Write(Frame(i, seconds(7) + milliseconds(40) * static_cast<int>(i)));
  }
  EXPECT_THAT(recorder_->written, ElementsAre(0, 1, 2));
  EXPECT_EQ(meter->Figures().frames, 3U);
  EXPECT_EQ(meter->Figures().packets, 6U);
  EXPECT_EQ(meter->Figures().packets_beyond_limit, 3U);
  EXPECT_EQ(meter->Figures().media_time, milliseconds(120));
  EXPECT_EQ(limits_, 1);
}

TEST_F(StreamMeterTest, AFrameThatWasRoundedBelowTheLimitStandsOnIt) {
  const auto meter = Make(seconds(1));
  meter->Write(Frame(0, seconds(0)));
  meter->Write(Frame(1, seconds(1) - nanoseconds(1)));
  EXPECT_THAT(recorder_->written, ElementsAre(0));
  EXPECT_EQ(limits_, 1);
}

TEST_F(StreamMeterTest, TheLastFrameBeforeTheLimitIsKept) {
  const auto meter = Make(seconds(1));
  meter->Write(Frame(0, seconds(0)));
  meter->Write(Frame(1, milliseconds(999)));
  EXPECT_THAT(recorder_->written, ElementsAre(0, 1));
  EXPECT_EQ(limits_, 0);
}

TEST_F(StreamMeterTest, NoFrameLastsBeyondTheLimit) {
  const auto meter = Make(milliseconds(70));
  meter->Write(Frame(0, seconds(7)));
  EXPECT_EQ(recorder_->last_duration, milliseconds(40));
  meter->Write(Frame(1, seconds(7) + milliseconds(40)));
  EXPECT_EQ(recorder_->last_duration, milliseconds(30));
  EXPECT_EQ(meter->Figures().media_time, milliseconds(70));
}

TEST_F(StreamMeterTest, ASourceThatEndsBeforeTheLimitHasItsOwnEnd) {
  for (const auto end : {std::optional<nanoseconds>(milliseconds(7999)),
                         std::optional<nanoseconds>(seconds(8)), std::optional<nanoseconds>()}) {
    const auto meter = Make(seconds(1));
    meter->Write(Frame(0, seconds(7)));
    meter->WriteEnd({.error_code = 0, .reason = "", .damaged_frames = 0, .end_time = end});
    EXPECT_EQ(recorder_->end_time, end);
    EXPECT_EQ(limits_, 0);
  }
}

TEST_F(StreamMeterTest, ASourceWhoseLastPictureStandsBeyondTheLimitIsCutOffThere) {
  const auto meter = Make(seconds(1));
  meter->Write(Frame(0, seconds(7)));
  meter->WriteEnd({.error_code = 0, .reason = "", .damaged_frames = 0, .end_time = seconds(14)});
  EXPECT_EQ(recorder_->end_time, seconds(8));
  EXPECT_EQ(limits_, 1);
  EXPECT_EQ(meter->Figures().packets_beyond_limit, 0U);
}

TEST_F(StreamMeterTest, AnEndBehindTheLimitIsNotTheStreams) {
  const auto meter = Make(seconds(1));
  meter->Write(Frame(0, seconds(0)));
  meter->Write(Frame(1, seconds(1)));
  meter->WriteEnd({1, "it broke", 3});
  EXPECT_THAT(recorder_->reasons, IsEmpty());
}

TEST_F(StreamMeterTest, WhereTimeJumpsBackTheLimitCountsOn) {
  const auto meter = Make(milliseconds(120));
  meter->Write(Frame(0, seconds(7)));
  meter->Write(Frame(1, seconds(7) + milliseconds(40)));
  meter->Write(Frame(2, seconds(2)));
  meter->Write(Frame(3, seconds(2) + milliseconds(40)));
  EXPECT_THAT(recorder_->written, ElementsAre(0, 1, 2));
  EXPECT_EQ(meter->Figures().media_time, milliseconds(120));
  EXPECT_EQ(limits_, 1);
}

TEST_F(StreamMeterTest, StreamsOfOneOriginReachTheLimitAtOneTime) {
  const auto origin = std::make_shared<media::TimeOrigin>();
  StreamMeter first(recorder_, origin, seconds(1), {});
  StreamMeter second(recorder_, origin, seconds(1), {});
  first.Write(Frame(0, seconds(7)));
  second.Write(Frame(10, seconds(7) + milliseconds(500)));
  second.Write(Frame(11, seconds(8)));
  EXPECT_THAT(recorder_->written, ElementsAre(0, 10));
  EXPECT_EQ(second.Figures().packets_beyond_limit, 1U);
}

// A stream may jump back where a looped file begins again; the limit is reached for good.
TEST_F(StreamMeterTest, NothingIsWrittenAfterTheLimitWhateverItsTimeStamp) {
  const auto meter = Make(seconds(1));
  meter->Write(Frame(0, seconds(0)));
  meter->Write(Frame(1, seconds(2)));
  meter->Write(Frame(2, milliseconds(500)));
  EXPECT_THAT(recorder_->written, ElementsAre(0));
  EXPECT_EQ(limits_, 1);
  EXPECT_THAT(recorder_->reasons, IsEmpty());
}

}  // namespace
}  // namespace movra::app
