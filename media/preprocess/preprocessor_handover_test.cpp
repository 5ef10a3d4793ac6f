// The world moves between two steps: whatever is changed while an item is in hand, nothing that was
// to arrive is lost, and nothing arrives that is over.

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "media/preprocess/preprocessor_fixture_for_test.h"

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using video::TrackWriteResult;

class PreprocessorHandOver : public PreprocessorTest {
 protected:
  static constexpr video::Size kOtherSize{32, 18};

  PreprocessorHandOver() {
    preprocessor->SetInputTrackReader(reader);
    preprocessor->AddOutputTrack(kEncoder, Params(kSize), witness->GetWriter());
    preprocessor->StartProcessing();
    queue->RunAll();
  }

  // As the producer changes the size of a stream.
  void Resize(const std::shared_ptr<video::IPixelFrameTrack>& track) {
    preprocessor->RemoveOutputTrack(track->GetWriter());
    preprocessor->AddOutputTrack(kEncoder, Params(kOtherSize), track->GetWriter());
  }
  // As the producer stops a capture and starts another one.
  void StopCapture() {
    source->Reset();
    source.reset();
    preprocessor->StopProcessing();
  }
  void StartCapture() {
    preprocessor->StartProcessing();
    preprocessor->SetInputTrackReader(next->GetReader());
  }

  std::vector<std::string> ReadAll(const std::shared_ptr<video::IPixelFrameTrack>& track) {
    std::vector<std::string> items;
    for (;;) {
      queue->RunAll();
      items.push_back(Read(track));
      if (!items.back().empty()) continue;
      items.pop_back();
      return items;
    }
  }

  std::shared_ptr<PausingReader> reader = std::make_shared<PausingReader>(source->GetReader());
  std::shared_ptr<video::IPixelFrameTrack> next = video::IPixelFrameTrack::Create("next", 1);
  std::shared_ptr<video::IPixelFrameTrack> witness = video::IPixelFrameTrack::Create("witness", 1);
};

TEST_F(PreprocessorHandOver, TheEndMarkReachesAnEncoderWhoseSizeChangesMeanwhile) {
  reader->in_the_pause = [&] { Resize(witness); };
  source->GetWriter()->WriteEnd({});
  EXPECT_THAT(ReadAll(witness), ElementsAre("end 0"));
}

TEST_F(PreprocessorHandOver, TheEndMarkReachesAnEncoderWhoseSizeChangesWhileAnotherIsTold) {
  const auto other = std::make_shared<RecordingWriter>();
  preprocessor->RemoveOutputTrack(witness->GetWriter());
  preprocessor->AddOutputTrack(kEncoder, Params(kSize), other);
  preprocessor->AddOutputTrack(kEncoder, Params(kSize), witness->GetWriter());
  other->on_write = [&] { Resize(witness); };
  source->GetWriter()->WriteEnd({});
  EXPECT_THAT(ReadAll(witness), ElementsAre("end 0"));
}

TEST_F(PreprocessorHandOver, ALosslessFrameWaitsForAnEncoderWhoseSizeChangesMeanwhile) {
  ASSERT_EQ(Send(0, kLossless), TrackWriteResult::kAccepted);
  queue->RunAll();
  reader->in_the_pause = [&] { Resize(witness); };
  ASSERT_EQ(Send(1, kLossless), TrackWriteResult::kAccepted);
  queue->RunAll();
  EXPECT_THAT(ReadAll(witness), ElementsAre("0", "1"));
}

TEST_F(PreprocessorHandOver, TheFirstFrameReachesATapThatIsAddedBeforeTheFrameIsWritten) {
  preprocessor->RemoveOutputTrack(witness->GetWriter());
  queue->RunAll();
  reader->in_the_pause = [&] {
    preprocessor->AddOutputTrack(kEncoder, Params(kSize), witness->GetWriter());
  };
  ASSERT_EQ(Send(0, kLive), TrackWriteResult::kAccepted);
  EXPECT_THAT(ReadAll(witness), ElementsAre("0"));
}

// Whether the operations are tasks of the main queue or are called before it runs, as a program
// does that sets everything up first.
class PreprocessorReplacedTap : public PreprocessorHandOver,
                                public ::testing::WithParamInterface<bool> {
 protected:
  PreprocessorReplacedTap() { main_queue->is_current = GetParam(); }
  ~PreprocessorReplacedTap() override { core::SetMainQueue(previous); }

  const std::shared_ptr<ManualQueue> main_queue = std::make_shared<ManualQueue>();
  const std::shared_ptr<core::DispatchQueue> previous = core::SetMainQueue(main_queue);
};

INSTANTIATE_TEST_SUITE_P(InsideAndOutsideTheLoop, PreprocessorReplacedTap, ::testing::Bool());

TEST_P(PreprocessorReplacedTap, LosesNoLosslessFrameBetweenItsRemovalAndItsReturn) {
  preprocessor->RemoveOutputTrack(witness->GetWriter());
  ASSERT_EQ(Send(0, kLossless), TrackWriteResult::kAccepted);
  queue->RunAll();
  preprocessor->AddOutputTrack(kEncoder, Params(kOtherSize), witness->GetWriter());
  EXPECT_THAT(ReadAll(witness), ElementsAre("0")) << "without waiting for the main queue";
}

TEST_P(PreprocessorReplacedTap, LosesNoEndMarkBetweenItsRemovalAndItsReturn) {
  const auto other = AddTrack(kEncoder);
  reader->in_the_pause = [&] { preprocessor->RemoveOutputTrack(witness->GetWriter()); };
  source->GetWriter()->WriteEnd({});
  EXPECT_THAT(ReadAll(other), IsEmpty()) << "all are told alike";
  preprocessor->AddOutputTrack(kEncoder, Params(kOtherSize), witness->GetWriter());
  EXPECT_THAT(ReadAll(witness), ElementsAre("end 0"));
  EXPECT_THAT(ReadAll(other), ElementsAre("end 0"));
}

TEST_P(PreprocessorReplacedTap, IsWaitedForUntilTheMainQueueHasRunItsNextTask) {
  const auto other = AddTrack(kEncoder);
  preprocessor->RemoveOutputTrack(witness->GetWriter());
  ASSERT_EQ(Send(0, kLossless), TrackWriteResult::kAccepted);
  EXPECT_THAT(ReadAll(other), IsEmpty());
  main_queue->RunAll();
  EXPECT_THAT(ReadAll(other), ElementsAre("0"));
  EXPECT_THAT(ReadAll(witness), IsEmpty());
}

TEST_P(PreprocessorReplacedTap, IsWaitedForAgainWhenItIsRemovedAgain) {
  Resize(witness);
  preprocessor->RemoveOutputTrack(witness->GetWriter());
  ASSERT_EQ(Send(0, kLossless), TrackWriteResult::kAccepted);
  ASSERT_TRUE(main_queue->RunOne());  // Of the first removal, which is over.
  queue->RunAll();
  preprocessor->AddOutputTrack(kEncoder, Params(kSize), witness->GetWriter());
  EXPECT_THAT(ReadAll(witness), ElementsAre("0"));
}

TEST_P(PreprocessorReplacedTap, LetsNobodyWaitOnceTheMainQueueIsGone) {
  const auto other = AddTrack(kEncoder);
  auto short_lived = std::make_shared<ManualQueue>();
  core::SetMainQueue(short_lived);
  preprocessor->RemoveOutputTrack(witness->GetWriter());
  ASSERT_EQ(Send(0, kLossless), TrackWriteResult::kAccepted);
  queue->RunAll();
  core::SetMainQueue(main_queue);
  short_lived.reset();
  EXPECT_THAT(ReadAll(other), ElementsAre("0"));
}

TEST_P(PreprocessorReplacedTap, HoldsNothingBackThatIsNotForEncoders) {
  const auto preview = AddTrack(kPreview);
  preprocessor->RemoveOutputTrack(preview->GetWriter());
  ASSERT_EQ(Send(0, kLossless), TrackWriteResult::kAccepted);
  EXPECT_THAT(ReadAll(witness), ElementsAre("0"));
}

TEST_F(PreprocessorHandOver, TheEndOfAStoppedCaptureStaysOutOfTheNext) {
  reader->in_the_pause = [&] {
    StopCapture();
    StartCapture();
  };
  source->GetWriter()->WriteEnd({});
  queue->RunAll();
  ASSERT_EQ(next->GetWriter()->Write(MakeFrame(7, kLossless)), TrackWriteResult::kAccepted);
  EXPECT_THAT(ReadAll(witness), ElementsAre("7"));
}

TEST_F(PreprocessorHandOver, AFrameOfAStoppedCaptureStaysOutOfTheNext) {
  reader->in_the_pause = [&] {
    StopCapture();
    StartCapture();
  };
  ASSERT_EQ(Send(0, kLossless), TrackWriteResult::kAccepted);
  queue->RunAll();
  ASSERT_EQ(next->GetWriter()->Write(MakeFrame(7, kLossless)), TrackWriteResult::kAccepted);
  EXPECT_THAT(ReadAll(witness), ElementsAre("7"));
}

TEST_F(PreprocessorHandOver, AnEndThatIsReadWhenTheNextCaptureHasNoInputYetStaysOutOfIt) {
  reader->in_the_pause = [&] {
    StopCapture();
    reader.reset();  // Went with its track.
    preprocessor->StartProcessing();
  };
  source->GetWriter()->WriteEnd({});
  EXPECT_THAT(ReadAll(witness), IsEmpty());
}

TEST_F(PreprocessorHandOver, AStopWhileOneIsToldOfTheEndSparesTheOthers) {
  const auto first = std::make_shared<RecordingWriter>();
  preprocessor->RemoveOutputTrack(witness->GetWriter());
  preprocessor->AddOutputTrack(kEncoder, Params(kSize), first);
  preprocessor->AddOutputTrack(kEncoder, Params(kSize), witness->GetWriter());
  first->on_write = [&] {
    StopCapture();
    StartCapture();
  };
  source->GetWriter()->WriteEnd({});
  EXPECT_THAT(ReadAll(witness), IsEmpty());
  EXPECT_EQ(first->ends.size(), 1U);
}

TEST_F(PreprocessorHandOver, AHeldEndMarkGoesWithItsCapture) {
  const auto main_queue = std::make_shared<ManualQueue>();
  const auto previous = core::SetMainQueue(main_queue);
  reader->in_the_pause = [&] { preprocessor->RemoveOutputTrack(witness->GetWriter()); };
  source->GetWriter()->WriteEnd({});
  queue->RunAll();
  StopCapture();
  StartCapture();
  preprocessor->AddOutputTrack(kEncoder, Params(kSize), witness->GetWriter());
  main_queue->RunAll();
  EXPECT_THAT(ReadAll(witness), IsEmpty());
  core::SetMainQueue(previous);
}

TEST_F(PreprocessorHandOver, AnInputThatLivesOnKeepsWhatItHoldsAcrossAStopAndAStart) {
  reader->in_the_pause = [&] {
    preprocessor->StopProcessing();
    preprocessor->StartProcessing();
  };
  ASSERT_EQ(Send(0, kLossless), TrackWriteResult::kAccepted);
  EXPECT_THAT(ReadAll(witness), ElementsAre("0")) << "nobody knows on which side it was read";
}

TEST_F(PreprocessorHandOver, WhatIsInHandAtAStopGoesNoFurther) {
  reader->in_the_pause = [&] { preprocessor->StopProcessing(); };
  ASSERT_EQ(Send(0, kLossless), TrackWriteResult::kAccepted);
  EXPECT_THAT(ReadAll(witness), IsEmpty());
  preprocessor->StartProcessing();
  ASSERT_EQ(Send(1, kLossless), TrackWriteResult::kAccepted);
  EXPECT_THAT(ReadAll(witness), ElementsAre("1"));
}

// An encoder's writer that is asked for room, and meanwhile everything changes.
class AskedWriter final : public video::IPixelFrameTrackWriter {
 public:
  TrackWriteResult Write(video::PixelFrame /*frame*/) override {
    ++written;
    return TrackWriteResult::kAccepted;
  }
  [[nodiscard]] bool HasRoom() const override {
    when_asked();
    return has_room;
  }

  std::function<void()> when_asked = [] {};
  bool has_room = true;
  int written = 0;
};

TEST_F(PreprocessorHandOver, AStopWhileRoomIsAskedHoldsNothing) {
  const auto asked = std::make_shared<AskedWriter>();
  preprocessor->AddOutputTrack(kEncoder, Params(kSize), asked);
  for (const bool has_room : {false, true}) {
    asked->has_room = has_room;
    asked->when_asked = [&] {
      preprocessor->StopProcessing();
      preprocessor->StartProcessing();
    };
    ASSERT_EQ(Send(0, kLossless), TrackWriteResult::kAccepted);
    EXPECT_THAT(ReadAll(witness), IsEmpty());
  }
  EXPECT_EQ(asked->written, 0);
}

TEST_F(PreprocessorHandOver, AnEncoderWhoseSizeChangesWhileAnotherIsAskedForRoomIsAskedToo) {
  const auto asked = std::make_shared<AskedWriter>();
  preprocessor->RemoveOutputTrack(witness->GetWriter());
  preprocessor->AddOutputTrack(kEncoder, Params(kSize), asked);
  preprocessor->AddOutputTrack(kEncoder, Params(kSize), witness->GetWriter());
  ASSERT_EQ(Send(0, kLossless), TrackWriteResult::kAccepted);
  queue->RunAll();
  bool resized = false;
  asked->when_asked = [&] {
    if (!std::exchange(resized, true)) Resize(witness);
  };
  ASSERT_EQ(Send(1, kLossless), TrackWriteResult::kAccepted);
  queue->RunAll();
  EXPECT_THAT(ReadAll(witness), ElementsAre("0", "1"));
}

}  // namespace
}  // namespace movra::media
