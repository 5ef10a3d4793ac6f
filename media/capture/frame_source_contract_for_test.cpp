#include "media/capture/frame_source_contract_for_test.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

namespace movra::media {

namespace {

using std::chrono::nanoseconds;
using video::CameraInfo;

constexpr std::size_t kFrames = 10;
// Far more than any of them needs: a source that gives nothing again and again does not wait.
constexpr int kMostReads = 1000;

// What it answers behind nothing; nothing itself if there is no end of that.
SourceItem ReadOn(FrameSource& source) {
  for (int i = 0; i < kMostReads; ++i) {
    SourceItem item = source.Read({});
    if (!std::holds_alternative<std::monostate>(item)) return item;
  }
  return std::monostate();
}

// The next frames, as many as there are up to `count`.
std::vector<SourceFrame> ReadFrames(FrameSource& source, std::size_t count) {
  std::vector<SourceFrame> frames;
  while (frames.size() < count) {
    SourceItem item = ReadOn(source);
    auto* const frame = std::get_if<SourceFrame>(&item);
    if (frame == nullptr) break;
    frames.push_back(std::move(*frame));
  }
  return frames;
}

// Sums up its first row of samples.
std::uint64_t SumOf(const video::PixelFrame& frame) {
  const video::PixelPlane& plane = frame.info().planes[0];
  std::uint64_t sum = 0;
  for (int x = 0; x < frame.info().size.width; ++x) sum = sum * 31 + plane.data[x];
  return sum;
}

void ExpectDescribed(const CameraInfo& info) {
  EXPECT_EQ(info.error_code, 0) << info.error_text;
  EXPECT_EQ(info.error_text, "");
  EXPECT_GT(info.natural_size.width, 0);
  EXPECT_GT(info.natural_size.height, 0);
  EXPECT_GE(info.rate_numerator, 0);
  EXPECT_GT(info.rate_denominator, 0);
  EXPECT_GE(info.duration, nanoseconds(0));
}

TEST_P(FrameSourceContract, SaysWhatItIsWithoutBeingOpened) {
  ExpectDescribed(GetParam().make()->Describe());
}

TEST_P(FrameSourceContract, SaysTheSameWhetherItWasDescribedBeforeOrNot) {
  const auto opened = GetParam().make();
  const CameraInfo info = opened->Open({});
  ExpectDescribed(info);
  const auto described = GetParam().make();
  for (const CameraInfo& other : {described->Describe(), described->Open({})}) {
    EXPECT_EQ(other.error_code, 0) << other.error_text;
    EXPECT_EQ(other.natural_size, info.natural_size);
    EXPECT_EQ(other.rate_numerator, info.rate_numerator);
    EXPECT_EQ(other.rate_denominator, info.rate_denominator);
    EXPECT_EQ(other.duration, info.duration);
    EXPECT_EQ(other.traits, info.traits);
  }
}

TEST_P(FrameSourceContract, IsReadOnAnotherThreadThanItWasDescribedOn) {
  const auto source = GetParam().make();
  std::thread([&] { ExpectDescribed(source->Describe()); }).join();
  std::thread([&] {
    ASSERT_EQ(source->Open({}).error_code, 0);
    EXPECT_EQ(ReadFrames(*source, kFrames).size(), kFrames);
  }).join();
}

TEST_P(FrameSourceContract, ItsTraitsAgreeWithItsPolicy) {
  const auto source = GetParam().make();
  const CameraInfo info = source->Open({});
  ASSERT_EQ(info.error_code, 0) << info.error_text;
  const SourcePolicy policy = source->Policy();
  EXPECT_EQ(info.traits.keeps_time, policy.delivery == video::FrameDelivery::kLive);
  // Whoever is held back by the clock may have to leave frames out.
  if (policy.paced) {
    EXPECT_TRUE(info.traits.keeps_time);
  }
}

TEST_P(FrameSourceContract, ItsFramesAreWholeAndSayHowLargeTheyAreUpright) {
  const auto source = GetParam().make();
  ASSERT_EQ(source->Open({}).error_code, 0);
  const std::vector<SourceFrame> frames = ReadFrames(*source, kFrames);
  ASSERT_EQ(frames.size(), kFrames);
  for (const SourceFrame& frame : frames) {
    ASSERT_TRUE(static_cast<bool>(frame.frame));
    EXPECT_GT(frame.upright_size.width, 0);
    EXPECT_GT(frame.upright_size.height, 0);
    EXPECT_GT(frame.frame.info().size.width, 0);
    EXPECT_GT(frame.frame.info().size.height, 0);
    EXPECT_NE(frame.frame.info().planes[0].data, nullptr);
  }
}

TEST_P(FrameSourceContract, SequenceNumbersAndTimeStampsGrow) {
  const auto source = GetParam().make();
  ASSERT_EQ(source->Open({}).error_code, 0);
  const std::vector<SourceFrame> frames = ReadFrames(*source, kFrames);
  ASSERT_EQ(frames.size(), kFrames);
  EXPECT_GE(frames[0].frame.info().timestamp, nanoseconds(0));
  for (std::size_t i = 1; i < frames.size(); ++i) {
    EXPECT_GT(frames[i].frame.info().sequence, frames[i - 1].frame.info().sequence);
    EXPECT_GT(frames[i].frame.info().timestamp, frames[i - 1].frame.info().timestamp);
  }
}

TEST_P(FrameSourceContract, AnEndComesIfAndOnlyIfItSaysSo) {
  const auto source = GetParam().make();
  const CameraInfo info = source->Open({});
  ASSERT_EQ(info.error_code, 0) << info.error_text;
  ASSERT_EQ(info.traits.has_end, GetParam().frames.has_value());
  if (!info.traits.has_end) {
    EXPECT_EQ(ReadFrames(*source, kFrames).size(), kFrames);
    return;
  }
  const std::vector<SourceFrame> frames = ReadFrames(*source, *GetParam().frames);
  ASSERT_EQ(frames.size(), *GetParam().frames);
  // Nothing was lost, so nothing is missing in the count.
  EXPECT_EQ(frames.back().frame.info().sequence, *GetParam().frames - 1);
  const SourceItem item = ReadOn(*source);
  ASSERT_TRUE(std::holds_alternative<video::StreamEnd>(item));
  const auto& end = std::get<video::StreamEnd>(item);
  EXPECT_EQ(end.error_code, 0) << end.reason;
  EXPECT_EQ(end.damaged_frames, 0U);
}

TEST_P(FrameSourceContract, ItsFramesStayAsTheyAreAndOutliveIt) {
  auto source = GetParam().make();
  ASSERT_EQ(source->Open({}).error_code, 0);
  const std::vector<SourceFrame> frames = ReadFrames(*source, kFrames / 2);
  ASSERT_EQ(frames.size(), kFrames / 2);
  std::vector<std::uint64_t> sums;
  for (const SourceFrame& frame : frames) sums.push_back(SumOf(frame.frame));
  EXPECT_EQ(ReadFrames(*source, kFrames / 2).size(), kFrames / 2);
  source.reset();
  for (std::size_t i = 0; i < frames.size(); ++i) EXPECT_EQ(SumOf(frames[i].frame), sums[i]);
}

TEST_P(FrameSourceContract, MayGoAtAnyPointOfItsLife) {
  GetParam().make().reset();
  const auto described = GetParam().make();
  EXPECT_EQ(described->Describe().error_code, 0);
  const auto opened = GetParam().make();
  EXPECT_EQ(opened->Open({}).error_code, 0);
  const auto read = GetParam().make();
  ASSERT_EQ(read->Open({}).error_code, 0);
  EXPECT_EQ(ReadFrames(*read, 1).size(), 1U);
}

TEST_P(FrameSourceContract, InterruptedBeforeItWasOpenedItDoesNoHarm) {
  const auto source = GetParam().make();
  source->Interrupt();
  source->Interrupt();
  // What they answer is not looked at, but for whether there is anything to be read.
  if (source->Open({}).error_code == 0) static_cast<void>(source->Read({}));
}

TEST_P(FrameSourceContract, InterruptionsComeFromManyThreadsWhileItIsRead) {
  const auto source = GetParam().make();
  ASSERT_EQ(source->Open({}).error_code, 0);
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) threads.emplace_back([&] { source->Interrupt(); });
  for (std::size_t i = 0; i < kFrames; ++i) {
    if (std::holds_alternative<video::StreamEnd>(source->Read({}))) break;
  }
  for (std::thread& thread : threads) thread.join();
}

// Opens it and reads what does not wait; the next operation is the one that waits.
void ReadUpToTheWait(const WaitingSourceCase& source, const WaitingSource& waiting) {
  if (source.waits_in_open) return;
  ASSERT_EQ(waiting.source->Open({}).error_code, 0);
  const auto frames = static_cast<std::size_t>(waiting.frames);
  EXPECT_EQ(ReadFrames(*waiting.source, frames).size(), frames);
}

// True where more can be asked of it.
bool RunWhatWaits(const WaitingSourceCase& source, FrameSource& waiting) {
  if (source.waits_in_open) return waiting.Open({}).error_code == 0;
  return !std::holds_alternative<video::StreamEnd>(waiting.Read({}));
}

TEST_P(WaitingSourceContract, WhatWaitsReturnsWhenItIsInterruptedAndSoDoesWhatFollows) {
  const WaitingSource waiting = GetParam().make();
  ReadUpToTheWait(GetParam(), waiting);
  std::thread waiter([&] {
    if (RunWhatWaits(GetParam(), *waiting.source)) static_cast<void>(waiting.source->Read({}));
  });
  if (waiting.wait_until_waiting) waiting.wait_until_waiting();
  waiting.source->Interrupt();
  waiter.join();
}

TEST_P(WaitingSourceContract, InterruptedBeforeItWaitsItReturnsAtOnce) {
  const WaitingSource waiting = GetParam().make();
  ReadUpToTheWait(GetParam(), waiting);
  waiting.source->Interrupt();
  if (RunWhatWaits(GetParam(), *waiting.source)) static_cast<void>(waiting.source->Read({}));
}

TEST_P(WaitingSourceContract, InterruptedBeforeItWasOpenedItReturnsAtOnce) {
  const WaitingSource waiting = GetParam().make();
  waiting.source->Interrupt();
  if (waiting.source->Open({}).error_code != 0) return;
  for (int i = 0; i <= waiting.frames; ++i) {
    if (std::holds_alternative<video::StreamEnd>(waiting.source->Read({}))) break;
  }
}

void ExpectRefused(const CameraInfo& info) {
  EXPECT_NE(info.error_code, 0);
  EXPECT_NE(info.error_text, "");
}

TEST_P(RefusedSourceContract, DescribedItAnswersACodeAndATextForPeople) {
  ExpectRefused(GetParam().make()->Describe());
}

TEST_P(RefusedSourceContract, OpenedItAnswersACodeAndATextForPeople) {
  ExpectRefused(GetParam().make()->Open({}));
}

TEST_P(RefusedSourceContract, DescribedAndThenOpenedItAnswersTheSame) {
  const auto source = GetParam().make();
  const CameraInfo described = source->Describe();
  const CameraInfo opened = source->Open({});
  EXPECT_EQ(opened.error_code, described.error_code);
  EXPECT_EQ(opened.error_text, described.error_text);
}

TEST_P(RefusedSourceContract, InterruptionsDoItNoHarm) {
  const auto source = GetParam().make();
  source->Interrupt();
  static_cast<void>(source->Open({}));
  source->Interrupt();
}

}  // namespace
}  // namespace movra::media
