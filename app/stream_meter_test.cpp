#include "app/stream_meter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
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
  void Write(const video::EncodedFrame& frame) override { written.push_back(frame.sequence); }
  void WriteEnd(const video::StreamEnd& end) override { reasons.push_back(end.reason); }
  std::vector<std::uint64_t> written;
  std::vector<std::string> reasons;
};

class StreamMeterTest : public testing::Test {
 protected:
  std::unique_ptr<StreamMeter> Make(std::optional<nanoseconds> limit) {
    return std::make_unique<StreamMeter>(
        recorder_, limit,
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
  EXPECT_EQ(figures.media_time, milliseconds(80));
  EXPECT_TRUE(figures.first_frame);
  EXPECT_GE(figures.latency_p50, milliseconds(9));
  EXPECT_GE(figures.latency_p95, figures.latency_p50);
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
