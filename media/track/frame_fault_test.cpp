#include "media/track/frame_fault.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "logging/recording_sink_for_test.h"
#include "media/figures/frame_counts.h"
#include "media/track/bounded_track.h"

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using video::FrameDelivery;
using video::PixelFormat;
using video::PixelFrame;
using video::PixelFrameInfo;
using video::TrackWriteResult;

constexpr std::uint8_t kSamples[1] = {0};  // Nobody reads them.

PixelFrameInfo GoodInfo() {
  PixelFrameInfo info;
  info.format = PixelFormat::kNV12;
  info.size = {640, 360};
  info.planes = {{{kSamples, 640}, {kSamples, 640}}};
  return info;
}

PixelFrame Owned(const PixelFrameInfo& info) { return {info, std::make_shared<int>()}; }

struct Fault {
  const char* name;
  std::function<void(PixelFrameInfo&)> make;
  const char* text;
};

// Outside of the macro below, whose own function has an `info`.
const Fault kFaults[] = {
    Fault{"MissingPlane", [](auto& info) { info.planes[1].data = nullptr; },
          "NV12 640x360, plane 1 is null"},
    Fault{"NoFormat", [](auto& info) { info.format = PixelFormat::kNone; },
          "None 640x360, no such format"},
    Fault{"FormatWithoutAName", [](auto& info) { info.format = static_cast<PixelFormat>(99); },
          "PixelFormat(99) 640x360, no such format"},
    Fault{"NoSize", [](auto& info) { info.size = {}; }, "NV12 0x0, no such size"},
    Fault{"NegativeSide", [](auto& info) { info.size.height = -360; },
          "NV12 640x-360, no such size"},
    Fault{"NoSizeInATexture",
          [](auto& info) {
            info.buffer_type = video::BufferType::kTexture;
            info.size.width = 0;
          },
          "NV12 0x360, no such size"},
    Fault{"TooLarge", [](auto& info) { info.size.width = 32769; },
          "NV12 32769x360, sides end at 32768 pixels"},
    Fault{"ShortStride", [](auto& info) { info.planes[1].stride = 320; },
          "NV12 640x360, plane 1 has a stride of 320 bytes, a row has 640"},
    Fault{"UpsideDown", [](auto& info) { info.planes[0].stride = -640; },
          "NV12 640x360, plane 0 has a stride of -640 bytes, a row has 640"},
    Fault{"UnevenStride",
          [](auto& info) {
            info.format = PixelFormat::kI010;
            info.planes = {{{kSamples, 1280}, {kSamples, 641}, {kSamples, 640}}};
          },
          "I010 640x360, plane 1 has a stride of 641 bytes, and samples of 2"}};

class UselessFrame : public ::testing::TestWithParam<Fault> {};

INSTANTIATE_TEST_SUITE_P(EveryKind, UselessFrame, ::testing::ValuesIn(kFaults),
                         [](const auto& test) { return test.param.name; });

TEST_P(UselessFrame, IsFoundAndDescribed) {
  PixelFrameInfo info = GoodInfo();
  GetParam().make(info);
  const FrameFault fault = FindFault(Owned(info));
  ASSERT_TRUE(fault);
  EXPECT_EQ(FaultText(fault, info), std::string("custom frame: ") + GetParam().text);
  info.source_run = 1;
  EXPECT_EQ(FaultText(fault, info), std::string("captured frame: ") + GetParam().text);
}

TEST(FrameFault, AFrameWithoutAnOwnerIsUseless) {
  const PixelFrame frame(GoodInfo(), nullptr);
  EXPECT_EQ(FaultText(FindFault(frame), frame.info()),
            "custom frame: NV12 640x360, nothing owns its samples");
}

TEST(FrameFault, PicturesThatCanBeReadHaveNone) {
  PixelFrameInfo info = GoodInfo();
  EXPECT_FALSE(FindFault(Owned(info)));
  info.size = {639, 359};
  EXPECT_FALSE(FindFault(Owned(info))) << "odd sides, and longer strides than rows";
  info.size = {32768, 2};
  info.planes[0].stride = info.planes[1].stride = 32768;
  EXPECT_FALSE(FindFault(Owned(info)));
  info = GoodInfo();
  info.buffer_type = video::BufferType::kTexture;
  info.planes = {};
  EXPECT_FALSE(FindFault(Owned(info))) << "a texture has no planes in memory";
}

class CheckedTrack : public ::testing::Test {
 protected:
  void Check() {
    CheckFrames(*track_.GetReader(),
                std::make_shared<FrameFaultLog>(video::VideoContext(InstanceTrace(7), "[main]")));
  }

  TrackWriteResult Write(const PixelFrameInfo& info) {
    return track_.GetWriter()->Write(Owned(info));
  }
  TrackWriteResult WriteAt(int milliseconds, FrameDelivery delivery = FrameDelivery::kLive,
                           std::uint64_t source_run = 0) {
    PixelFrameInfo info = GoodInfo();
    info.timestamp = std::chrono::milliseconds(milliseconds);
    info.delivery = delivery;
    info.source_run = source_run;
    return Write(info);
  }

  movra_logging::RecordingSink log_;
  BoundedTrack track_{2};
};

TEST_F(CheckedTrack, RefusesAFrameWithAFaultAndTellsEachKindOnce) {
  Check();
  PixelFrameInfo info = GoodInfo();
  info.planes[1].data = nullptr;
  EXPECT_EQ(Write(info), TrackWriteResult::kInvalid);
  info.size = {320, 180};
  EXPECT_EQ(Write(info), TrackWriteResult::kInvalid);
  info.size = {};
  EXPECT_EQ(Write(info), TrackWriteResult::kInvalid);
  EXPECT_THAT(log_.texts(),
              ElementsAre("[trace:7][main] custom frame: NV12 640x360, plane 1 is null",
                          "[trace:7][main] custom frame: NV12 0x0, no such size"));
  EXPECT_EQ(log_.lines().at(0).level, movra_logging::kLogLevelWarning);
  EXPECT_EQ(track_.GetReader()->GetCaptureStat(), 0U);
  EXPECT_EQ(Write(GoodInfo()), TrackWriteResult::kAccepted);
}

TEST_F(CheckedTrack, TellsAnewOnceItIsCheckedAnew) {
  for (int run = 0; run < 2; ++run) {
    Check();
    EXPECT_EQ(Write({}), TrackWriteResult::kInvalid);
  }
  EXPECT_EQ(log_.lines().size(), 2U);
}

TEST_F(CheckedTrack, CountsWhatItRefuses) {
  const auto counters = std::make_shared<FrameCounters>();
  CountInto(*track_.GetReader(), counters);
  Check();
  EXPECT_EQ(Write({}), TrackWriteResult::kInvalid);
  EXPECT_EQ(counters->Counts().came, 1U);
  EXPECT_EQ(counters->Counts().of(FrameFate::kNotMade), 1U);
}

TEST_F(CheckedTrack, TakesEverythingAsLongAsNobodyAsksForACheck) {
  EXPECT_EQ(Write({}), TrackWriteResult::kAccepted);
  EXPECT_EQ(Write({}), TrackWriteResult::kAccepted);
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(CheckedTrack, IsClosedBeforeAnythingElse) {
  auto track = std::make_unique<BoundedTrack>(1);
  const auto writer = track->GetWriter();
  CheckFrames(*track->GetReader(),
              std::make_shared<FrameFaultLog>(video::VideoContext(InstanceTrace(7), "[main]")));
  track.reset();
  EXPECT_EQ(writer->Write({}), TrackWriteResult::kClosed);
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(CheckedTrack, OneLosslessFrameMayStandAtZeroAndASecondMayNot) {
  constexpr auto kLossless = FrameDelivery::kLossless;
  Check();
  EXPECT_EQ(WriteAt(0, kLossless), TrackWriteResult::kAccepted);
  EXPECT_EQ(WriteAt(0, kLossless), TrackWriteResult::kInvalid);
  EXPECT_EQ(WriteAt(0, kLossless), TrackWriteResult::kInvalid);
  EXPECT_THAT(log_.texts(),
              ElementsAre(HasSubstr("custom frame: NV12 640x360, the time stamp 0 "
                                    "ns is that of the frame before: encoders leave it out")));
  EXPECT_EQ(WriteAt(40, kLossless), TrackWriteResult::kAccepted);
  EXPECT_EQ(WriteAt(40, kLossless), TrackWriteResult::kInvalid);
}

TEST_F(CheckedTrack, ALiveFrameWithTheTimeOfTheOneBeforeIsTakenAndToldOnce) {
  Check();
  EXPECT_EQ(WriteAt(0), TrackWriteResult::kAccepted);
  EXPECT_EQ(WriteAt(0), TrackWriteResult::kAccepted);
  EXPECT_EQ(WriteAt(0), TrackWriteResult::kReplacedOlder);
  EXPECT_THAT(log_.texts(), ElementsAre(HasSubstr("is that of the frame before")));
}

TEST_F(CheckedTrack, TimesMayGoBack) {
  Check();
  EXPECT_EQ(WriteAt(40), TrackWriteResult::kAccepted);
  EXPECT_EQ(WriteAt(0), TrackWriteResult::kAccepted);
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(CheckedTrack, ARefusedLosslessFrameComesAgainWithItsTime) {
  Check();
  EXPECT_EQ(WriteAt(0, FrameDelivery::kLossless), TrackWriteResult::kAccepted);
  EXPECT_EQ(WriteAt(40, FrameDelivery::kLossless), TrackWriteResult::kAccepted);
  EXPECT_EQ(WriteAt(80, FrameDelivery::kLossless), TrackWriteResult::kFull);
  static_cast<void>(track_.GetReader()->Read());
  EXPECT_EQ(WriteAt(80, FrameDelivery::kLossless), TrackWriteResult::kAccepted);
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(CheckedTrack, AnotherStreamMayBeginAtTheSameTime) {
  Check();
  EXPECT_EQ(WriteAt(0), TrackWriteResult::kAccepted);
  track_.GetWriter()->WriteEnd({});
  EXPECT_EQ(WriteAt(0), TrackWriteResult::kAccepted);
  track_.Reset();
  EXPECT_EQ(WriteAt(0), TrackWriteResult::kAccepted);
  Check();
  EXPECT_EQ(WriteAt(0), TrackWriteResult::kAccepted);
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(CheckedTrack, WhatASourceOfOursReadsMayHaveEqualTimes) {
  Check();
  EXPECT_EQ(WriteAt(0, FrameDelivery::kLive, 1), TrackWriteResult::kAccepted);
  EXPECT_EQ(WriteAt(0, FrameDelivery::kLive, 1), TrackWriteResult::kAccepted);
  EXPECT_THAT(log_.lines(), IsEmpty());
}

}  // namespace
}  // namespace movra::media
