// What every sink of an encoded stream promises (media/output/encoded_sink.h), wherever it goes.
// The suite for the source that includes this and says with INSTANTIATE_TEST_SUITE_P which sinks it
// is run on.

#ifndef MOVRA_MEDIA_OUTPUT_ENCODED_SINK_CONTRACT_FOR_TEST_H_
#define MOVRA_MEDIA_OUTPUT_ENCODED_SINK_CONTRACT_FOR_TEST_H_

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <thread>

#include "media/output/encoded_sink.h"
#include "media/output/output_for_test.h"

namespace movra::media {

// One sink, and the place that it writes to.
class SinkBench {
 public:
  virtual ~SinkBench() = default;
  // Once. With the callbacks of the request; the rest is the bench's own.
  [[nodiscard]] virtual std::shared_ptr<IEncodedSink> Make(const SinkRequest& request) = 0;
  // Once, instead: a sink that breaks off with one of its first frames, or at their end.
  [[nodiscard]] virtual std::shared_ptr<IEncodedSink> MakeBreaking(const SinkRequest& request) = 0;
  // Whether there is anything at its place.
  [[nodiscard]] virtual bool LeftAnything() const = 0;
};

struct SinkCase {
  std::string name;
  std::function<std::unique_ptr<SinkBench>()> make;
};

inline void PrintTo(const SinkCase& sink, std::ostream* out) { *out << sink.name; }

class EncodedSinkContract : public ::testing::TestWithParam<SinkCase> {
 protected:
  EncodedSinkContract() {
    request_.on_error = [this](const WriteError& error) {
      ++errors_;
      error_text_ = error.text;
    };
    request_.on_end = [this](const video::StreamEnd& /*end*/) { ++ends_; };
  }

  void Make() {
    sink_ = bench_->Make(request_);
    ASSERT_NE(sink_, nullptr);
  }

  // A sink may write them on a thread of its own: what became of them shows behind a Close.
  void WriteFrames(int count) { stream_.WriteMany(*sink_, count); }
  void WriteEnd() { sink_->WriteEnd({}); }
  // What is queued before has all the time there is.
  void Close(std::optional<std::chrono::nanoseconds> end = std::nullopt) {
    sink_->LimitWaits(std::chrono::minutes(10));
    sink_->Close(end);
  }

  const std::unique_ptr<SinkBench> bench_ = GetParam().make();
  SampleStream stream_;
  SinkRequest request_;
  // Written where the callbacks come, read behind a Close, which ends them.
  int errors_ = 0;
  int ends_ = 0;
  std::string error_text_;
  std::shared_ptr<IEncodedSink> sink_;  // Last, because it calls back until it goes.
};

TEST_P(EncodedSinkContract, AStreamWithoutAFrameLeavesNothingBehind) {
  Make();
  WriteEnd();
  Close();
  EXPECT_EQ(sink_->written().frames, 0U);
  EXPECT_EQ(sink_->written().bytes, 0U);
  EXPECT_EQ(sink_->written().file_bytes, 0U);
  EXPECT_FALSE(sink_->failed());
  EXPECT_EQ(ends_, 1);
  EXPECT_EQ(errors_, 0);
  EXPECT_FALSE(bench_->LeftAnything());
}

TEST_P(EncodedSinkContract, ClosedBeforeAnythingCameItLeavesNothingBehindAndTellsNothing) {
  Make();
  Close(std::chrono::seconds(1));
  EXPECT_EQ(sink_->written().frames, 0U);
  EXPECT_FALSE(sink_->failed());
  EXPECT_EQ(ends_, 0);
  EXPECT_EQ(errors_, 0);
  EXPECT_FALSE(bench_->LeftAnything());
}

TEST_P(EncodedSinkContract, CountsWhatItHoldsAndTellsTheEnd) {
  Make();
  WriteFrames(6);
  WriteEnd();
  Close();
  const WrittenFigures figures = sink_->written();
  EXPECT_EQ(figures.frames, 6U);
  EXPECT_EQ(figures.key_frames, 1U);
  EXPECT_GT(figures.bytes, 0U);
  EXPECT_GE(figures.file_bytes, figures.bytes);
  EXPECT_GE(figures.duration, std::chrono::milliseconds(199));
  EXPECT_LE(figures.duration, std::chrono::milliseconds(201));
  EXPECT_FALSE(sink_->failed());
  EXPECT_EQ(ends_, 1);
  EXPECT_EQ(errors_, 0);
  EXPECT_TRUE(bench_->LeftAnything());
}

TEST_P(EncodedSinkContract, ClosedWithoutAnEndItHoldsWhatCameAndTellsNoEnd) {
  Make();
  WriteFrames(6);
  Close();
  EXPECT_EQ(sink_->written().frames, 6U);
  EXPECT_FALSE(sink_->failed());
  EXPECT_EQ(ends_, 0);
  EXPECT_EQ(errors_, 0);
  EXPECT_TRUE(bench_->LeftAnything());
}

TEST_P(EncodedSinkContract, ClosedWithATimeTheLastPictureStandsUntilThen) {
  Make();
  WriteFrames(6);
  Close(std::chrono::seconds(3));
  EXPECT_EQ(sink_->written().frames, 6U);
  EXPECT_EQ(sink_->written().duration, std::chrono::seconds(3));
}

TEST_P(EncodedSinkContract, BehindTheEndATimeChangesNothing) {
  Make();
  WriteFrames(6);
  WriteEnd();
  Close(std::chrono::seconds(3));
  EXPECT_LE(sink_->written().duration, std::chrono::milliseconds(201));
}

TEST_P(EncodedSinkContract, ClosedAgainNothingChanges) {
  Make();
  WriteFrames(6);
  Close();
  const WrittenFigures figures = sink_->written();
  Close(std::chrono::seconds(5));
  Close();
  EXPECT_EQ(sink_->written(), figures);
  EXPECT_FALSE(sink_->failed());
}

TEST_P(EncodedSinkContract, WhatComesBehindTheEndIsIgnored) {
  Make();
  WriteFrames(3);
  WriteEnd();
  WriteFrames(3);
  WriteEnd();
  Close();
  EXPECT_EQ(sink_->written().frames, 3U);
  EXPECT_FALSE(sink_->failed());
  EXPECT_EQ(ends_, 1);
  EXPECT_EQ(errors_, 0);
}

TEST_P(EncodedSinkContract, WhatComesBehindACloseIsIgnoredAndTellsNothing) {
  Make();
  WriteFrames(3);
  Close();
  const WrittenFigures figures = sink_->written();
  WriteFrames(3);
  WriteEnd();
  EXPECT_EQ(sink_->written(), figures);
  EXPECT_FALSE(sink_->failed());
  EXPECT_EQ(ends_, 0);
  EXPECT_EQ(errors_, 0);
}

TEST_P(EncodedSinkContract, BrokenOffItSaysSoOnceAndIgnoresTheRest) {
  sink_ = bench_->MakeBreaking(request_);
  ASSERT_NE(sink_, nullptr);
  WriteFrames(6);
  WriteFrames(6);
  WriteEnd();
  Close();
  EXPECT_TRUE(sink_->failed());
  EXPECT_EQ(errors_, 1);
  EXPECT_NE(error_text_, "");
  EXPECT_LT(sink_->written().frames, 12U);
}

TEST_P(EncodedSinkContract, LimitsHarmNobodyWhoWaitsForNobodyAndMayComeAtAnyTime) {
  Make();
  sink_->LimitWaits(std::chrono::minutes(10));
  WriteFrames(3);
  sink_->LimitWaits(std::chrono::minutes(20));
  WriteFrames(3);
  WriteEnd();
  sink_->LimitWaits(std::chrono::minutes(30));
  Close();
  sink_->LimitWaits(std::chrono::minutes(40));
  EXPECT_EQ(sink_->written().frames, 6U);
  EXPECT_FALSE(sink_->failed());
  EXPECT_FALSE(sink_->waits_for_reader());
}

TEST_P(EncodedSinkContract, IsAskedAndClosedOnAnotherThreadWhileItIsWritten) {
  Make();
  std::thread other([&] {
    while (sink_->written().frames < 2) std::this_thread::yield();
    static_cast<void>(sink_->failed());
    static_cast<void>(sink_->waits_for_reader());
    EXPECT_NE(sink_->name(), "");
    Close();
  });
  WriteFrames(30);
  other.join();
  const WrittenFigures figures = sink_->written();
  WriteFrames(1);
  EXPECT_EQ(sink_->written(), figures);
  EXPECT_GE(figures.frames, 2U);
  EXPECT_LE(figures.frames, 30U);
}

TEST_P(EncodedSinkContract, HasANameForPeopleFromFirstToLast) {
  Make();
  const std::string name = sink_->name();
  EXPECT_NE(name, "");
  WriteFrames(1);
  Close();
  EXPECT_EQ(sink_->name(), name);
}

TEST_P(EncodedSinkContract, MayGoUnclosed) {
  Make();
  WriteFrames(6);
  sink_->LimitWaits(std::chrono::minutes(10));
  sink_.reset();
  EXPECT_TRUE(bench_->LeftAnything());
  EXPECT_EQ(ends_, 0);
  EXPECT_EQ(errors_, 0);
}

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_ENCODED_SINK_CONTRACT_FOR_TEST_H_
