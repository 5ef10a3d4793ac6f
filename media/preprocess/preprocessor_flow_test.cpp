// Which frame goes where and when: the order of frames, what holds them back, what ends them.

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "media/preprocess/preprocessor_fixture_for_test.h"

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using video::IPixelFrameTrack;
using video::TrackWriteResult;

class PreprocessorFlow : public PreprocessorTest {};

TEST_F(PreprocessorFlow, FramesAreProcessedOnTheQueueAndNowhereElse) {
  const auto tap = std::make_shared<RecordingWriter>();
  preprocessor->AddOutputTrack(kPreview, Params(kSize), tap);
  preprocessor->StartProcessing();
  ASSERT_EQ(Send(0, kLive), TrackWriteResult::kAccepted);
  EXPECT_THAT(tap->frames, IsEmpty());
  EXPECT_EQ(queue->waiting(), 1U) << "the start and the frame share one task";
  queue->RunAll();
  ASSERT_EQ(tap->frames.size(), 1U);
  EXPECT_EQ(tap->frames[0].info().sequence, 0U);
  EXPECT_EQ(preprocessor->GetStats(), 1U);
}

TEST_F(PreprocessorFlow, FramesAreLeftUnreadBeforeTheStartAndAfterTheStop) {
  ASSERT_EQ(Send(0, kLossless), TrackWriteResult::kAccepted);
  queue->RunAll();
  EXPECT_EQ(Send(1, kLossless), TrackWriteResult::kFull);
  preprocessor->StartProcessing();
  queue->RunAll();
  EXPECT_EQ(preprocessor->GetStats(), 1U);
  preprocessor->StopProcessing();
  ASSERT_EQ(Send(1, kLossless), TrackWriteResult::kAccepted);
  queue->RunAll();
  EXPECT_EQ(Send(2, kLossless), TrackWriteResult::kFull);
  EXPECT_EQ(preprocessor->GetStats(), 1U);
}

TEST_F(PreprocessorFlow, StartingTwiceIsHarmless) {
  const auto tap = std::make_shared<RecordingWriter>();
  preprocessor->AddOutputTrack(kPreview, Params(kSize), tap);
  preprocessor->StartProcessing();
  preprocessor->StartProcessing();
  ASSERT_EQ(Send(0, kLive), TrackWriteResult::kAccepted);
  queue->RunAll();
  EXPECT_EQ(tap->frames.size(), 1U);
}

TEST_F(PreprocessorFlow, ATaskHandlesOneFrameSoThatProducersTakeTurns) {
  const auto other_source = IPixelFrameTrack::Create("other", 3);
  const auto other = video::IVideoPreprocessor2::Create(context, queue);
  source = IPixelFrameTrack::Create("source", 3);
  preprocessor->SetInputTrackReader(source->GetReader());
  other->SetInputTrackReader(other_source->GetReader());
  preprocessor->StartProcessing();
  other->StartProcessing();
  for (std::uint64_t i = 0; i < 3; ++i) {
    ASSERT_EQ(Send(i, kLive), TrackWriteResult::kAccepted);
    ASSERT_EQ(other_source->GetWriter()->Write(MakeFrame(i, kLive)), TrackWriteResult::kAccepted);
  }
  for (std::uint32_t i = 1; i <= 3; ++i) {
    ASSERT_TRUE(queue->RunOne());
    EXPECT_EQ(preprocessor->GetStats(), i);
    ASSERT_TRUE(queue->RunOne());
    EXPECT_EQ(other->GetStats(), i);
  }
}

TEST_F(PreprocessorFlow, ALosslessFrameWaitsForTheEncoderAndNothingIsLost) {
  const auto track = AddTrack(kEncoder);
  preprocessor->StartProcessing();
  std::uint64_t sent = 0;
  std::vector<std::string> received;
  while (received.size() < 10) {
    while (Send(sent, kLossless) == TrackWriteResult::kAccepted) {
      ++sent;
      queue->RunAll();
    }
    EXPECT_LE(sent - received.size(), 3U) << "one at the encoder, one held, one unread";
    received.push_back(Read(track));
    queue->RunAll();
  }
  EXPECT_THAT(received, ElementsAre("0", "1", "2", "3", "4", "5", "6", "7", "8", "9"));
}

TEST_F(PreprocessorFlow, ALosslessFrameWaitsForEveryEncoder) {
  const auto fast = AddTrack(kEncoder);
  const auto slow = AddTrack(kEncoder);
  preprocessor->StartProcessing();
  for (std::uint64_t i = 0; i < 2; ++i) {
    ASSERT_EQ(Send(i, kLossless), TrackWriteResult::kAccepted);
    queue->RunAll();
  }
  EXPECT_EQ(Read(fast), "0");
  queue->RunAll();
  EXPECT_EQ(Read(fast), "");
  EXPECT_EQ(Read(slow), "0");
  queue->RunAll();
  EXPECT_EQ(Read(fast), "1");
  EXPECT_EQ(Read(slow), "1");
}

TEST_F(PreprocessorFlow, AFullEncoderOfOneProducerDoesNotStallAnother) {
  const auto full = AddTrack(kEncoder);
  preprocessor->StartProcessing();
  const auto other_source = IPixelFrameTrack::Create("other", 1);
  const auto other = video::IVideoPreprocessor2::Create(context, queue);
  other->SetInputTrackReader(other_source->GetReader());
  const auto other_tap = std::make_shared<RecordingWriter>();
  other->AddOutputTrack(kEncoder, Params(kSize), other_tap);
  other->StartProcessing();
  for (std::uint64_t i = 0; i < 20; ++i) {
    static_cast<void>(Send(i, kLossless));
    ASSERT_EQ(other_source->GetWriter()->Write(MakeFrame(i, kLossless)),
              TrackWriteResult::kAccepted);
    queue->RunAll();
  }
  EXPECT_EQ(other_tap->frames.size(), 20U);
  EXPECT_EQ(preprocessor->GetStats(), 1U);
  EXPECT_EQ(queue->waiting(), 0U) << "one that waits posts nothing";
}

// Each way in which the encoder that a held frame waits for can cease to be in the way.
class PreprocessorHeldFrame : public PreprocessorTest {
 protected:
  // Leaves frame 1 held because `full_` has frame 0.
  void HoldAFrame() {
    preprocessor->AddOutputTrack(kEncoder, Params(kSize), witness_);
    full_ = AddTrack(kEncoder);
    preprocessor->StartProcessing();
    for (std::uint64_t i = 0; i < 2; ++i) {
      ASSERT_EQ(Send(i, kLossless), TrackWriteResult::kAccepted);
      queue->RunAll();
    }
    ASSERT_EQ(witness_->frames.size(), 1U);
  }
  void ExpectItMovesOn() {
    queue->RunAll();
    ASSERT_EQ(witness_->frames.size(), 2U);
    EXPECT_EQ(witness_->frames[1].info().sequence, 1U);
  }

  std::shared_ptr<RecordingWriter> witness_ = std::make_shared<RecordingWriter>();
  std::shared_ptr<IPixelFrameTrack> full_;
};

TEST_F(PreprocessorHeldFrame, MovesOnWhenTheEncoderReads) {
  HoldAFrame();
  EXPECT_EQ(Read(full_), "0");
  ExpectItMovesOn();
  EXPECT_EQ(Read(full_), "1");
}

TEST_F(PreprocessorHeldFrame, MovesOnWhenTheTrackIsReset) {
  HoldAFrame();
  full_->Reset();
  ExpectItMovesOn();
}

TEST_F(PreprocessorHeldFrame, MovesOnWhenTheTapIsRemoved) {
  HoldAFrame();
  preprocessor->RemoveOutputTrack(full_->GetWriter());
  ExpectItMovesOn();
  EXPECT_EQ(Read(full_), "0");
  EXPECT_EQ(Read(full_), "");
}

TEST_F(PreprocessorHeldFrame, WaitsForTheTapThatIsAddedAnewInTheSameTaskOfTheMainQueue) {
  const auto main_queue = std::make_shared<ManualQueue>();
  const auto previous = core::SetMainQueue(main_queue);
  HoldAFrame();
  preprocessor->RemoveOutputTrack(full_->GetWriter());
  EXPECT_EQ(Read(full_), "0");
  preprocessor->StartProcessing();  // Something wakes it in between.
  queue->RunAll();
  EXPECT_EQ(witness_->frames.size(), 1U);

  preprocessor->AddOutputTrack(kEncoder, Params(kSize), full_->GetWriter());
  main_queue->RunAll();
  ExpectItMovesOn();
  EXPECT_EQ(Read(full_), "1");
  core::SetMainQueue(previous);
}

TEST_F(PreprocessorHeldFrame, MovesOnWhenTheTrackDies) {
  HoldAFrame();
  full_.reset();
  ExpectItMovesOn();
}

TEST_F(PreprocessorHeldFrame, MovesOnWhenTheTrackClosesWhileItsWriterLives) {
  HoldAFrame();
  const auto writer = full_->GetWriter();
  full_.reset();
  ExpectItMovesOn();
}

TEST_F(PreprocessorHeldFrame, IsDroppedAndReleasedByAStop) {
  HoldAFrame();
  preprocessor->StopProcessing();
  EXPECT_EQ(pool.idle_buffers(), 1U) << "the other one waits at the encoder";
  preprocessor->StartProcessing();
  EXPECT_EQ(Read(full_), "0");
  ASSERT_EQ(Send(2, kLossless), TrackWriteResult::kAccepted);
  queue->RunAll();
  EXPECT_EQ(Read(full_), "2");
}

TEST_F(PreprocessorHeldFrame, LetsTheEndMarkWaitBehindIt) {
  HoldAFrame();
  video::StreamEnd end;
  end.error_code = 3;
  source->GetWriter()->WriteEnd(end);
  queue->RunAll();
  EXPECT_THAT(witness_->ends, IsEmpty());
  EXPECT_EQ(Read(full_), "0");
  queue->RunAll();
  ASSERT_EQ(witness_->ends.size(), 1U);
  EXPECT_EQ(witness_->frames.size(), 2U);
  EXPECT_EQ(Read(full_), "1");
  EXPECT_EQ(Read(full_), "end 3");
}

TEST_F(PreprocessorFlow, OnlyEncodersReceiveLosslessFramesAndOnlyTheyHoldThemBack) {
  const auto encoder = std::make_shared<RecordingWriter>();
  preprocessor->AddOutputTrack(kEncoder, Params(kSize), encoder);
  std::vector<std::shared_ptr<IPixelFrameTrack>> taps;
  for (const int position : {0, 1, 2, 3, 4}) {
    taps.push_back(AddTrack(static_cast<video::InterceptPosition>(position)));
  }
  preprocessor->StartProcessing();
  for (std::uint64_t i = 0; i < 5; ++i) {
    ASSERT_EQ(Send(i, kLossless), TrackWriteResult::kAccepted);
    queue->RunAll();
  }
  ASSERT_EQ(encoder->frames.size(), 5U);
  EXPECT_EQ(encoder->frames[4].info().delivery, kLossless);
  for (const auto& tap : taps) {
    EXPECT_EQ(tap->GetReader()->GetDroppedFrames(), 4U);
    const auto item = tap->GetReader()->Read();
    ASSERT_TRUE(std::holds_alternative<video::PixelFrame>(item));
    EXPECT_EQ(std::get<video::PixelFrame>(item).info().sequence, 4U);
    EXPECT_EQ(std::get<video::PixelFrame>(item).info().delivery, kLive);
  }
}

TEST_F(PreprocessorFlow, TheSmallestPictureIsWrittenFirst) {
  const auto tap = std::make_shared<RecordingWriter>();
  for (const std::int32_t width : {32, 64, 16}) {
    preprocessor->AddOutputTrack(kEncoder, Params({width, 18}), tap);
  }
  preprocessor->StartProcessing();
  ASSERT_EQ(Send(0, kLossless), TrackWriteResult::kAccepted);
  queue->RunAll();
  std::vector<std::int32_t> widths;
  for (const video::PixelFrame& frame : tap->frames) widths.push_back(frame.info().size.width);
  EXPECT_THAT(widths, ElementsAre(16, 32, 64));
}

TEST_F(PreprocessorFlow, ALiveFrameDoesNotWaitForTheEncoder) {
  const auto track = AddTrack(kEncoder);
  preprocessor->StartProcessing();
  for (std::uint64_t i = 0; i < 4; ++i) {
    ASSERT_EQ(Send(i, kLive), TrackWriteResult::kAccepted);
    queue->RunAll();
  }
  EXPECT_EQ(track->GetReader()->GetDroppedFrames(), 3U);
  EXPECT_EQ(Read(track), "3");
}

TEST_F(PreprocessorFlow, TheEndMarkReachesEveryWriterOnceBehindTheLastFrame) {
  const auto encoder = AddTrack(kEncoder);
  const auto twice = std::make_shared<RecordingWriter>();
  preprocessor->AddOutputTrack(kPreview, Params(kSize), twice);
  preprocessor->AddOutputTrack(kEncoder, Params(kSize), twice);
  preprocessor->StartProcessing();
  ASSERT_EQ(Send(0, kLossless), TrackWriteResult::kAccepted);
  source->GetWriter()->WriteEnd({});
  queue->RunAll();
  EXPECT_EQ(Read(encoder), "0");
  EXPECT_EQ(Read(encoder), "end 0");
  EXPECT_EQ(twice->frames.size(), 2U);
  EXPECT_EQ(twice->ends.size(), 1U);
}

TEST_F(PreprocessorFlow, FramesOfANextStreamFollowTheEndMark) {
  source = IPixelFrameTrack::Create("source", 2);
  preprocessor->SetInputTrackReader(source->GetReader());
  const auto tap = std::make_shared<RecordingWriter>();
  preprocessor->AddOutputTrack(kEncoder, Params(kSize), tap);
  ASSERT_EQ(Send(0, kLossless), TrackWriteResult::kAccepted);
  source->GetWriter()->WriteEnd({});
  ASSERT_EQ(Send(0, kLossless), TrackWriteResult::kAccepted);
  preprocessor->StartProcessing();
  queue->RunAll();
  EXPECT_EQ(tap->frames.size(), 2U);
  EXPECT_EQ(tap->ends.size(), 1U);
}

TEST_F(PreprocessorFlow, ANewInputReplacesTheOldOne) {
  const auto tap = std::make_shared<RecordingWriter>();
  preprocessor->AddOutputTrack(kPreview, Params(kSize), tap);
  preprocessor->StartProcessing();
  queue->RunAll();
  const auto next = IPixelFrameTrack::Create("next", 1);
  ASSERT_EQ(next->GetWriter()->Write(MakeFrame(5, kLive)), TrackWriteResult::kAccepted);
  preprocessor->SetInputTrackReader(next->GetReader());
  queue->RunAll();
  ASSERT_EQ(tap->frames.size(), 1U);
  EXPECT_EQ(tap->frames[0].info().sequence, 5U);
  ASSERT_EQ(Send(0, kLive), TrackWriteResult::kAccepted);
  EXPECT_EQ(queue->waiting(), 0U) << "the old input calls nobody any more";
  preprocessor->SetInputTrackReader({});
  ASSERT_EQ(next->GetWriter()->Write(MakeFrame(6, kLive)), TrackWriteResult::kAccepted);
  EXPECT_EQ(queue->waiting(), 0U);
}

TEST_F(PreprocessorFlow, ATapThatDiedOrWasRemovedReceivesNothing) {
  auto dead = std::make_shared<RecordingWriter>();
  const auto removed = std::make_shared<RecordingWriter>();
  const auto kept = std::make_shared<RecordingWriter>();
  for (const auto& writer : {dead, removed, kept}) {
    preprocessor->AddOutputTrack(kPreview, Params(kSize), writer);
    preprocessor->AddOutputTrack(kEncoder, Params(kSize), writer);
  }
  preprocessor->RemoveOutputTrack(removed);
  dead.reset();
  preprocessor->StartProcessing();
  ASSERT_EQ(Send(0, kLive), TrackWriteResult::kAccepted);
  queue->RunAll();
  EXPECT_THAT(removed->frames, IsEmpty());
  EXPECT_EQ(kept->frames.size(), 2U);
}

TEST_F(PreprocessorFlow, TheRoomOfARemovedTapCallsNobody) {
  const auto track = AddTrack(kEncoder);
  preprocessor->StartProcessing();
  ASSERT_EQ(Send(0, kLossless), TrackWriteResult::kAccepted);
  queue->RunAll();
  preprocessor->RemoveOutputTrack(track->GetWriter());
  queue->RunAll();
  EXPECT_EQ(Read(track), "0");
  EXPECT_EQ(queue->waiting(), 0U);
}

TEST_F(PreprocessorFlow, TheEndOfAFrameThatAStopDropsMayUseThePreprocessor) {
  const auto full = AddTrack(kEncoder);
  preprocessor->StartProcessing();
  ASSERT_EQ(Send(0, kLossless), TrackWriteResult::kAccepted);
  queue->RunAll();
  int ends = 0;
  const video::PixelFrame held = MakeFrame(1, kLossless);
  const auto on_end = [&, owner = held.owner()](const void*) {
    ++ends;
    preprocessor->SetMirror(video::MirrorMode::kEnabled);
    preprocessor->StartProcessing();
  };
  ASSERT_EQ(source->GetWriter()->Write(
                {held.info(), std::shared_ptr<const void>(held.info().planes[0].data, on_end)}),
            TrackWriteResult::kAccepted);
  queue->RunAll();
  EXPECT_EQ(ends, 0);
  preprocessor->StopProcessing();
  EXPECT_EQ(ends, 1);
}

TEST_F(PreprocessorFlow, WritersThatShareAnOwnerAreTakenApart) {
  const auto owner = std::make_shared<std::pair<RecordingWriter, RecordingWriter>>();
  const std::shared_ptr<RecordingWriter> first(owner, &owner->first);
  const std::shared_ptr<RecordingWriter> second(owner, &owner->second);
  preprocessor->AddOutputTrack(kPreview, Params(kSize), first);
  preprocessor->AddOutputTrack(kPreview, Params(kSize), second);
  preprocessor->RemoveOutputTrack(first);
  preprocessor->StartProcessing();
  ASSERT_EQ(Send(0, kLive), TrackWriteResult::kAccepted);
  queue->RunAll();
  EXPECT_THAT(first->frames, IsEmpty());
  EXPECT_EQ(second->frames.size(), 1U);
}

TEST_F(PreprocessorFlow, ItMayBeDestroyedWithTasksAndFramesOnTheirWay) {
  const auto track = AddTrack(kEncoder);
  preprocessor->StartProcessing();
  for (std::uint64_t i = 0; i < 2; ++i) {
    ASSERT_EQ(Send(i, kLossless), TrackWriteResult::kAccepted);
    queue->RunAll();
  }
  ASSERT_EQ(Send(2, kLossless), TrackWriteResult::kAccepted);
  ASSERT_EQ(queue->waiting(), 1U);
  preprocessor.reset();
  queue->RunAll();
  EXPECT_EQ(Read(track), "0");
  source->GetWriter()->WriteEnd({});
  EXPECT_EQ(queue->waiting(), 0U) << "neither the input nor the encoder calls it any more";
}

TEST_F(PreprocessorFlow, MemoryIsSteadyWhileFramesFlow) {
  const auto track = AddTrack(kEncoder, {32, 18});
  preprocessor->StartProcessing();
  std::vector<const std::uint8_t*> memory;
  for (std::uint64_t i = 0; i < 50; ++i) {
    ASSERT_EQ(Send(i, kLossless), TrackWriteResult::kAccepted);
    queue->RunAll();
    const auto item = track->GetReader()->Read();
    memory.push_back(std::get<video::PixelFrame>(item).info().planes[0].data);
  }
  EXPECT_LE(std::set(memory.begin(), memory.end()).size(), 2U);
  EXPECT_LE(pool.allocations(), 2U);
}

TEST_F(PreprocessorFlow, AMissingQueueProcessesNothing) {
  const auto idle = video::IVideoPreprocessor2::Create(context, nullptr);
  idle->SetInputTrackReader(source->GetReader());
  idle->StartProcessing();
  EXPECT_EQ(Send(0, kLive), TrackWriteResult::kAccepted);
  EXPECT_EQ(idle->GetStats(), 0U);
}

}  // namespace
}  // namespace movra::media
