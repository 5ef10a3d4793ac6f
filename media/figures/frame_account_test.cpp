#include "media/figures/frame_account.h"

#include <memory>
#include <set>
#include <string>

#include "gtest/gtest.h"
#include "media/figures/frame_counter_for_test.h"
#include "media/track/bounded_track.h"

namespace movra::media {
namespace {

using video::FrameDelivery;
using video::TrackWriteResult;
using video::VideoStreamType;

class FrameAccountTest : public ::testing::Test {
 protected:
  TrackWriteResult Write(BoundedTrack& track, FrameDelivery delivery = FrameDelivery::kLive) {
    return track.GetWriter()->Write(frames_.Make(0, delivery));
  }
  [[nodiscard]] FrameCounts Source() const {
    return account_->Totals(VideoStreamType::kBig).source;
  }

  FrameCounter frames_;
  const std::shared_ptr<FrameAccount> account_ = FrameAccount::Of(InstanceTrace(4711));
  const std::shared_ptr<FrameCounters> source_ = FrameAccount::Source(account_);
};

TEST_F(FrameAccountTest, IsOneForATraceAsLongAsSomebodyHoldsIt) {
  auto other = FrameAccount::Of(InstanceTrace(4712));
  EXPECT_NE(other, account_);
  EXPECT_EQ(FrameAccount::Of(InstanceTrace(4711)), account_);
  const auto counters = FrameAccount::Stream(other, VideoStreamType::kSmall);
  counters->Count(FrameFate::kFailed);
  other.reset();
  other = FrameAccount::Of(InstanceTrace(4712));
  EXPECT_EQ(other->Totals(VideoStreamType::kSmall).stream.of(FrameFate::kFailed), 1U);
  EXPECT_EQ(other->Totals(VideoStreamType::kBig).stream.sum(), 0U);
}

TEST_F(FrameAccountTest, NothingIsRememberedThatNobodyHolds) {
  FrameAccount::Source(FrameAccount::Of(InstanceTrace(4713)))->Come();
  EXPECT_EQ(FrameAccount::Of(InstanceTrace(4713))->Totals(VideoStreamType::kBig).source.came, 0U);
}

TEST_F(FrameAccountTest, EveryFrameIsInOneFigureOrOnTheWay) {
  source_->Come(10);
  source_->Count(FrameFate::kDisplaced, 2);
  FrameAccount::Stream(account_, VideoStreamType::kBig)->Count(FrameFate::kEncoded, 5);
  FrameAccount::Stream(account_, VideoStreamType::kBig)->Count(FrameFate::kFailed);
  EXPECT_EQ(account_->Totals(VideoStreamType::kBig).on_the_way(), 2U);
  EXPECT_EQ(account_->Totals(VideoStreamType::kSmall).on_the_way(), 8U);
}

TEST_F(FrameAccountTest, NamesOfFatesDiffer) {
  std::set<std::string> names;
  for (std::size_t i = 0; i < kFrameFates; ++i) {
    names.insert(FrameFateName(static_cast<FrameFate>(i)));
  }
  EXPECT_EQ(names.size(), kFrameFates);
}

TEST_F(FrameAccountTest, ATrackCountsWhatItLoses) {
  BoundedTrack track(1);
  CountInto(*track.GetReader(), source_);
  ASSERT_EQ(Write(track), TrackWriteResult::kAccepted);
  ASSERT_EQ(Write(track), TrackWriteResult::kReplacedOlder);
  ASSERT_EQ(Write(track, FrameDelivery::kLossless), TrackWriteResult::kFull);
  EXPECT_EQ(Source().came, 2U) << "a frame that is refused comes again";
  EXPECT_EQ(Source().of(FrameFate::kDisplaced), 1U);
  track.Reset();
  EXPECT_EQ(Source().of(FrameFate::kStopped), 1U);
  ASSERT_EQ(Write(track, FrameDelivery::kLossless), TrackWriteResult::kAccepted);
  ASSERT_EQ(Write(track), TrackWriteResult::kFull);
  EXPECT_EQ(Source().of(FrameFate::kDisplaced), 2U);
  EXPECT_EQ(Source().came, 4U);
  CountUnwritten(*track.GetWriter(), FrameFate::kDroppedToRate);
  EXPECT_EQ(Source().of(FrameFate::kDroppedToRate), 1U);
  EXPECT_EQ(account_->Totals(VideoStreamType::kBig).on_the_way(), 1U);
}

TEST_F(FrameAccountTest, AClosedTrackCountsWhatItHeldAndWhatComesAfter) {
  auto track = std::make_unique<BoundedTrack>(1);
  const auto writer = track->GetWriter();
  CountInto(*track->GetReader(), source_);
  ASSERT_EQ(Write(*track), TrackWriteResult::kAccepted);
  track.reset();
  ASSERT_EQ(writer->Write(frames_.Make(0, FrameDelivery::kLossless)), TrackWriteResult::kClosed);
  EXPECT_EQ(Source().came, 2U);
  EXPECT_EQ(Source().of(FrameFate::kStopped), 2U);
}

TEST_F(FrameAccountTest, WhatWasCountedBeforeSomebodyAskedIsNotLost) {
  BoundedTrack track(1);
  ASSERT_EQ(Write(track), TrackWriteResult::kAccepted);
  ASSERT_EQ(Write(track), TrackWriteResult::kReplacedOlder);
  CountInto(*track.GetReader(), source_);
  CountInto(*track.GetReader(), source_);
  EXPECT_EQ(Source().came, 2U);
  EXPECT_EQ(Source().of(FrameFate::kDisplaced), 1U);
  EXPECT_TRUE(CountsInto(*track.GetWriter(), *source_));
}

TEST_F(FrameAccountTest, ATrackThatChangesHandsTakesItsWaitingFramesAlong) {
  BoundedTrack track(1);
  CountInto(*track.GetReader(), source_);
  ASSERT_EQ(Write(track), TrackWriteResult::kAccepted);
  ASSERT_EQ(Write(track), TrackWriteResult::kReplacedOlder);
  const auto other = std::make_shared<FrameCounters>();
  CountInto(*track.GetReader(), other);
  EXPECT_FALSE(CountsInto(*track.GetWriter(), *source_));
  EXPECT_EQ(account_->Totals(VideoStreamType::kBig).on_the_way(), 0U);
  EXPECT_EQ(other->Counts().came, 1U);
  EXPECT_EQ(other->Counts().sum(), 0U);
}

}  // namespace
}  // namespace movra::media
