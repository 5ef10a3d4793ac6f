#include "testing/track_double.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "testing/environment.h"

// That frames go through it as through any track is held by testing/contract.

namespace movra::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TrackDoubleTest : public ::testing::Test {
 protected:
  void SetUp() override { env_.journal().Clear(); }

  Environment env_;
  std::shared_ptr<video::IPixelFrameTrack> track_ = video::IPixelFrameTrack::Create("track", 3);
  TrackDouble& double_ = env_.world().tracks.Last();
};

TEST_F(TrackDoubleTest, TellsOfItsMakingAndOfItsEnd) {
  const auto second = video::IPixelFrameTrack::Create("track", 1);
  track_.reset();
  EXPECT_THAT(env_.journal().Take(), ElementsAre("IPixelFrameTrack.Create(track, 1)",
                                                 "~track.writer", "~track.reader", "~track"));
  EXPECT_EQ(env_.world().tracks.Last().name(), "track#2");
  EXPECT_EQ(env_.world().tracks.Last().track_name(), "track");
}

TEST_F(TrackDoubleTest, KeepsWhatItWasMadeWith) {
  EXPECT_EQ(double_.track_name(), "track");
  EXPECT_EQ(double_.capacity(), 3);
}

TEST_F(TrackDoubleTest, IsNotMadeWhenTheFactoryFails) {
  env_.world().answers.makes_track = false;
  EXPECT_EQ(video::IPixelFrameTrack::Create("other", 1), nullptr);
  EXPECT_THAT(env_.journal().Take(), ElementsAre("IPixelFrameTrack.Create(other, 1)"));
}

TEST_F(TrackDoubleTest, TellsWhenItIsAskedForAnEndAndWhenItIsReset) {
  EXPECT_EQ(track_->GetReader(), double_.reader());
  EXPECT_EQ(track_->GetWriter(), double_.writer());
  track_->Reset();
  EXPECT_EQ(env_.journal().Count(Journal::kTrackEnd), 2u);
  EXPECT_THAT(env_.journal().Take(),
              ElementsAre("track.GetReader()", "track.GetWriter()", "track.Reset()"));
}

TEST_F(TrackDoubleTest, LookingAtTheEndsForATestTellsNothing) {
  EXPECT_EQ(NameOf(double_.reader().get()), "track.reader");
  EXPECT_EQ(NameOf(double_.writer().get()), "track.writer");
  EXPECT_THAT(env_.journal().Take(), IsEmpty());
}

TEST_F(TrackDoubleTest, ItsEndsTellOfEveryCall) {
  const auto reader = double_.reader();
  const auto writer = double_.writer();
  EXPECT_TRUE(writer->HasRoom());
  writer->SetRoomCallback({});
  static_cast<void>(writer->Write({}));
  writer->WriteEnd({});
  reader->SetReadableCallback({});
  static_cast<void>(reader->Read());
  EXPECT_EQ(reader->GetCaptureStat(), 1u);
  EXPECT_EQ(reader->GetDroppedFrames(), 0u);
  EXPECT_THAT(env_.journal().Take(),
              ElementsAre("track.writer.HasRoom()", "track.writer.SetRoomCallback(false)",
                          "track.writer.Write(no frame)", "track.writer.WriteEnd(end 0)",
                          "track.reader.SetReadableCallback(false)", "track.reader.Read()",
                          "track.reader.GetCaptureStat()", "track.reader.GetDroppedFrames()"));
}

TEST_F(TrackDoubleTest, ItsEndsOutliveItButFramesDoNotPass) {
  const auto writer = double_.writer();
  track_.reset();
  EXPECT_EQ(writer->Write({}), video::TrackWriteResult::kClosed);
}

}  // namespace
}  // namespace movra::testing
