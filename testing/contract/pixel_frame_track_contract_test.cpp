// What every pixel frame track promises, whoever made it: linked once with the doubles and once
// with the real collaborators, of which it sees the factory alone.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "video/pixel_frame_track.h"

namespace movra::video {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

PixelFrame Frame(std::uint64_t sequence, FrameDelivery delivery,
                 std::shared_ptr<const void> owner = std::make_shared<int>()) {
  PixelFrameInfo info;
  info.sequence = sequence;
  info.delivery = delivery;
  return {info, std::move(owner)};
}

PixelFrame Live(std::uint64_t sequence) { return Frame(sequence, FrameDelivery::kLive); }
PixelFrame Lossless(std::uint64_t sequence) { return Frame(sequence, FrameDelivery::kLossless); }

StreamEnd End(std::int32_t code) {
  StreamEnd end;
  end.error_code = code;
  return end;
}

// "frame 3", "end 0", or "nothing".
std::string Text(const TrackItem& item) {
  if (const auto* const frame = std::get_if<PixelFrame>(&item)) {
    return "frame " + std::to_string(frame->info().sequence);
  }
  if (const auto* const end = std::get_if<StreamEnd>(&item)) {
    return "end " + std::to_string(end->error_code);
  }
  return "nothing";
}

class PixelFrameTrackContract : public ::testing::Test {
 protected:
  void Make(int capacity) {
    track_ = IPixelFrameTrack::Create("track", capacity);
    writer_ = track_->GetWriter();
    reader_ = track_->GetReader();
  }

  // A track calls back when it closes, and what a test's callback refers to is gone by then.
  void TearDown() override {
    writer_->SetRoomCallback({});
    reader_->SetReadableCallback({});
  }

  std::vector<std::string> ReadAll() {
    std::vector<std::string> texts;
    for (;;) {
      const TrackItem item = reader_->Read();
      if (std::holds_alternative<std::monostate>(item)) return texts;
      texts.push_back(Text(item));
    }
  }

  std::shared_ptr<IPixelFrameTrack> track_;
  std::shared_ptr<IPixelFrameTrackWriter> writer_;
  std::shared_ptr<IPixelFrameTrackReader> reader_;
};

TEST_F(PixelFrameTrackContract, EachCallAnswersTheSameEnd) {
  Make(1);
  EXPECT_EQ(track_->GetReader(), reader_);
  EXPECT_EQ(track_->GetWriter(), writer_);
}

TEST_F(PixelFrameTrackContract, AnEmptyTrackHasRoomAndNothingToRead) {
  Make(1);
  EXPECT_TRUE(writer_->HasRoom());
  EXPECT_EQ(Text(reader_->Read()), "nothing");
}

TEST_F(PixelFrameTrackContract, FramesComeOutInTheOrderOfWriting) {
  Make(3);
  for (std::uint64_t i = 0; i < 3; ++i) {
    EXPECT_EQ(writer_->Write(Live(i)), TrackWriteResult::kAccepted);
  }
  EXPECT_THAT(ReadAll(), ElementsAre("frame 0", "frame 1", "frame 2"));
}

TEST_F(PixelFrameTrackContract, ANewerLiveFrameDisplacesTheOldestWaitingOneAndIsCounted) {
  Make(2);
  EXPECT_EQ(writer_->Write(Live(0)), TrackWriteResult::kAccepted);
  EXPECT_EQ(writer_->Write(Live(1)), TrackWriteResult::kAccepted);
  EXPECT_EQ(writer_->Write(Live(2)), TrackWriteResult::kReplacedOlder);
  EXPECT_EQ(reader_->GetDroppedFrames(), 1U);
  EXPECT_EQ(reader_->GetCaptureStat(), 3U);
  EXPECT_THAT(ReadAll(), ElementsAre("frame 1", "frame 2"));
}

TEST_F(PixelFrameTrackContract, ADisplacedFrameIsReleasedAtOnce) {
  Make(1);
  auto owner = std::make_shared<int>();
  const std::weak_ptr<int> watch = owner;
  ASSERT_EQ(writer_->Write(Frame(0, FrameDelivery::kLive, std::move(owner))),
            TrackWriteResult::kAccepted);
  ASSERT_EQ(writer_->Write(Live(1)), TrackWriteResult::kReplacedOlder);
  EXPECT_TRUE(watch.expired());
}

TEST_F(PixelFrameTrackContract, ALosslessFrameIsRefusedWhileFullAndLosesNothing) {
  Make(1);
  EXPECT_EQ(writer_->Write(Lossless(0)), TrackWriteResult::kAccepted);
  EXPECT_FALSE(writer_->HasRoom());
  EXPECT_EQ(writer_->Write(Lossless(1)), TrackWriteResult::kFull);
  EXPECT_EQ(reader_->GetDroppedFrames(), 0U);
  EXPECT_EQ(reader_->GetCaptureStat(), 1U);
  EXPECT_EQ(Text(reader_->Read()), "frame 0");
  EXPECT_TRUE(writer_->HasRoom());
  EXPECT_EQ(writer_->Write(Lossless(1)), TrackWriteResult::kAccepted);
  EXPECT_EQ(Text(reader_->Read()), "frame 1");
}

TEST_F(PixelFrameTrackContract, TheEndMarkTakesNoRoomAndStandsBehindTheLastFrame) {
  Make(1);
  ASSERT_EQ(writer_->Write(Lossless(0)), TrackWriteResult::kAccepted);
  StreamEnd end = End(7);
  end.reason = "broken";
  end.damaged_frames = 3;
  writer_->WriteEnd(end);
  EXPECT_EQ(Text(reader_->Read()), "frame 0");
  EXPECT_TRUE(writer_->HasRoom());
  const TrackItem item = reader_->Read();
  ASSERT_TRUE(std::holds_alternative<StreamEnd>(item));
  EXPECT_EQ(std::get<StreamEnd>(item).error_code, 7);
  EXPECT_EQ(std::get<StreamEnd>(item).reason, "broken");
  EXPECT_EQ(std::get<StreamEnd>(item).damaged_frames, 3U);
  EXPECT_EQ(reader_->GetCaptureStat(), 1U);
}

TEST_F(PixelFrameTrackContract, AnEndMarkAloneLeavesRoom) {
  Make(1);
  writer_->WriteEnd(End(0));
  EXPECT_TRUE(writer_->HasRoom());
  EXPECT_EQ(writer_->Write(Lossless(0)), TrackWriteResult::kAccepted);
  EXPECT_THAT(ReadAll(), ElementsAre("end 0", "frame 0"));
}

TEST_F(PixelFrameTrackContract, AFrameOfTheNextStreamStaysBehindTheEndMark) {
  Make(2);
  ASSERT_EQ(writer_->Write(Live(0)), TrackWriteResult::kAccepted);
  writer_->WriteEnd(End(0));
  ASSERT_EQ(writer_->Write(Live(1)), TrackWriteResult::kAccepted);
  EXPECT_THAT(ReadAll(), ElementsAre("frame 0", "end 0", "frame 1"));
}

TEST_F(PixelFrameTrackContract, DisplacingAFrameLeavesTheEndMarkBehindIt) {
  Make(1);
  ASSERT_EQ(writer_->Write(Live(0)), TrackWriteResult::kAccepted);
  writer_->WriteEnd(End(4));
  ASSERT_EQ(writer_->Write(Live(1)), TrackWriteResult::kReplacedOlder);
  EXPECT_THAT(ReadAll(), ElementsAre("end 4", "frame 1"));
}

TEST_F(PixelFrameTrackContract, TheReadableCallbackRunsAfterEachFrameAndEndMark) {
  Make(1);
  std::vector<std::string> seen;
  reader_->SetReadableCallback([&] { seen.push_back(Text(reader_->Read())); });
  EXPECT_THAT(seen, IsEmpty());
  ASSERT_EQ(writer_->Write(Live(0)), TrackWriteResult::kAccepted);
  ASSERT_EQ(writer_->Write(Lossless(1)), TrackWriteResult::kAccepted);
  writer_->WriteEnd(End(0));
  EXPECT_THAT(seen, ElementsAre("frame 0", "frame 1", "end 0"));
  reader_->SetReadableCallback({});
  ASSERT_EQ(writer_->Write(Live(2)), TrackWriteResult::kAccepted);
  EXPECT_EQ(seen.size(), 3U);
}

TEST_F(PixelFrameTrackContract, TheReadableCallbackRunsAtOnceIfSomethingWaits) {
  Make(1);
  writer_->WriteEnd(End(0));
  int runs = 0;
  reader_->SetReadableCallback([&] { ++runs; });
  EXPECT_EQ(runs, 1);
}

TEST_F(PixelFrameTrackContract, TheRoomCallbackRunsWhenAFullTrackGetsRoomAndOnlyThen) {
  Make(2);
  int runs = 0;
  writer_->SetRoomCallback([&] { ++runs; });
  ASSERT_EQ(writer_->Write(Lossless(0)), TrackWriteResult::kAccepted);
  EXPECT_EQ(Text(reader_->Read()), "frame 0");
  EXPECT_EQ(runs, 0);
  ASSERT_EQ(writer_->Write(Lossless(1)), TrackWriteResult::kAccepted);
  ASSERT_EQ(writer_->Write(Lossless(2)), TrackWriteResult::kAccepted);
  EXPECT_EQ(Text(reader_->Read()), "frame 1");
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(Text(reader_->Read()), "frame 2");
  EXPECT_EQ(runs, 1);
}

TEST_F(PixelFrameTrackContract, TheRoomCallbackMayWriteAndRemoveItself) {
  Make(1);
  ASSERT_EQ(writer_->Write(Lossless(0)), TrackWriteResult::kAccepted);
  int runs = 0;
  writer_->SetRoomCallback([&] {
    ++runs;
    EXPECT_EQ(writer_->Write(Lossless(1)), TrackWriteResult::kAccepted);
    writer_->SetRoomCallback({});
  });
  EXPECT_EQ(Text(reader_->Read()), "frame 0");
  EXPECT_EQ(Text(reader_->Read()), "frame 1");
  EXPECT_EQ(runs, 1);
}

TEST_F(PixelFrameTrackContract, ResetDropsEverythingWakesTheWaitingWriterAndTheTrackStaysUsable) {
  Make(1);
  auto owner = std::make_shared<int>();
  const std::weak_ptr<int> watch = owner;
  ASSERT_EQ(writer_->Write(Frame(0, FrameDelivery::kLossless, std::move(owner))),
            TrackWriteResult::kAccepted);
  writer_->WriteEnd(End(0));
  bool had_room = false;
  writer_->SetRoomCallback([&] { had_room = writer_->HasRoom(); });
  track_->Reset();
  EXPECT_TRUE(had_room);
  EXPECT_TRUE(watch.expired());
  EXPECT_THAT(ReadAll(), IsEmpty());
  EXPECT_EQ(writer_->Write(Lossless(1)), TrackWriteResult::kAccepted);
  EXPECT_THAT(ReadAll(), ElementsAre("frame 1"));
}

TEST_F(PixelFrameTrackContract, DestroyingTheTrackClosesTheEndsAndWakesTheWaitingWriter) {
  Make(1);
  ASSERT_EQ(writer_->Write(Lossless(0)), TrackWriteResult::kAccepted);
  int runs = 0;
  writer_->SetRoomCallback([&] { ++runs; });
  track_.reset();
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(writer_->Write(Lossless(1)), TrackWriteResult::kClosed);
  EXPECT_EQ(writer_->Write(Live(2)), TrackWriteResult::kClosed);
  writer_->WriteEnd(End(0));
  EXPECT_THAT(ReadAll(), IsEmpty());
}

TEST_F(PixelFrameTrackContract, AClosedTrackMakesNobodyWait) {
  Make(1);
  ASSERT_EQ(writer_->Write(Lossless(0)), TrackWriteResult::kAccepted);
  track_.reset();
  EXPECT_TRUE(writer_->HasRoom());
}

TEST_F(PixelFrameTrackContract, ACapacityBelowOneIsTakenAsOne) {
  for (const int capacity : {0, -1}) {
    Make(capacity);
    EXPECT_EQ(writer_->Write(Lossless(0)), TrackWriteResult::kAccepted);
    EXPECT_EQ(writer_->Write(Lossless(1)), TrackWriteResult::kFull);
  }
}

}  // namespace
}  // namespace movra::video
